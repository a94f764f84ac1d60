#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace kivra::test {

/// How a JPEG is made.
struct JpegRecipe
{
    struct Sampling
    {
        int across = 1;
        int down = 1;
    };
    enum class Colours {
        YCbCr,
        Grey,
        Rgb,  ///< stored as it is
        Cmyk, ///< likewise
    };

    int width = 0;
    int height = 0;
    std::array<Sampling, 3> sampling{}; ///< factors of the components
    Colours colours = Colours::YCbCr;
    int quality = 95;
    unsigned int restartInterval = 0; ///< in MCUs; 0 for none
    bool isProgressive = false;
    bool hasScanPerFrequency = false; ///< progressive, with a scan for each of a component's 63
    unsigned int seed = 1;            ///< of the picture
};

/// A complete JPEG of a coloured picture with gradients and edges.
std::vector<std::uint8_t> jpegOf(const JpegRecipe &recipe);

/// \a jpeg without its Huffman tables, as many cameras give it.
std::vector<std::uint8_t> withoutHuffmanTables(const std::vector<std::uint8_t> &jpeg);

/// How many segments of this marker, such as 0xC4, stand before the first scan.
int segmentsOf(const std::vector<std::uint8_t> &jpeg, int marker);

} // namespace kivra::test
