#pragma once

#include <array>

/// The camera that the library kivra_videonode puts into a program which it is preloaded into: the
/// node /dev/video0 with the kernel's calls for video, whatever the machine has.
///
/// The test keeps the list of the machine's devices in the folder that the environment variable
/// KIVRA_TEST_DEVICES names: the camera is plugged in while there is a pipe "video0", and another
/// program has it while there is a file "busy".
namespace kivra::test::videonode {

struct Size
{
    int width;
    int height;
};

struct Colour
{
    int red;
    int green;
    int blue;
};

/// The sizes of its frames.
constexpr std::array<Size, 2> sizes = {{{320, 240}, {640, 480}}};

/// What it sees: a quarter of the picture each, and a square in the middle, an eighth of the height
/// wide, that is black and white by turns.
constexpr Colour topLeft = {200, 40, 40};
constexpr Colour topRight = {40, 180, 60};
constexpr Colour bottomLeft = {50, 60, 190};
constexpr Colour bottomRight = {220, 220, 220};

} // namespace kivra::test::videonode
