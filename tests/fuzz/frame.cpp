// An input is a picture with its settings. It is rendered, and operated on in place, and each is
// compared with the reference.
//
// The header has 16 bytes (a shorter one is padded with zeros): width and height (a byte each),
// format and padding, mode, effect (a signed byte each), brightness and contrast (4 bytes each,
// little-endian), kind of operation, seed. The pixels are the bytes that follow, repeated, each
// time changed by the seed.

#include "tests/fuzz/target.h"

#include "processing/operations.h"
#include "render/renderer.h"
#include "tests/reference/reference.h"

#include <QImage>
#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

namespace kivra::fuzz {

namespace {

constexpr std::size_t headerSize = 16;
// The reference takes the time: pictures stay small, yet wider than a tile of the product.
constexpr int widest = 600;
constexpr int highest = 64;

struct Input
{
    int width;
    int height;
    bool translucent; // Format_ARGB32 instead of Format_RGB32
    int padding;      // pixels between the rows
    int mode;
    int effect;
    int lumiere;
    int contraste;
    int operation;
    std::uint8_t seed;
};

int signedByte(std::uint8_t byte)
{
    return static_cast<std::int8_t>(byte);
}

int number(const std::uint8_t *bytes)
{
    std::int32_t value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

// Most coefficients lie in the range that the program uses, some anywhere.
int coefficient(const std::uint8_t *bytes, int low, int high)
{
    const int wild = number(bytes);
    if (bytes[3] & 0x40U)
        return wild;
    return low + static_cast<int>(static_cast<unsigned int>(wild) % unsigned(high - low + 1));
}

Input inputOf(const std::array<std::uint8_t, headerSize> &header)
{
    Input input{};
    input.width = (header[0] | (header[2] & 0x03U) << 8) % (widest + 1);
    input.height = header[1] % (highest + 1);
    input.translucent = (header[2] & 0x04U) != 0;
    input.padding = header[2] >> 5;
    input.mode = signedByte(header[3]) % 9;
    input.effect = signedByte(header[4]) % 6;
    input.lumiere = coefficient(header.data() + 5, -100, 100);
    input.contraste = coefficient(header.data() + 9, 10, 1000);
    input.operation = header[13] % 8;
    input.seed = header[14];
    return input;
}

// A picture in memory of the caller, as a driver gives it, with the input's padding.
struct Frame
{
    std::vector<unsigned int> memory;
    QImage image;

    Frame(const Input &input, const std::uint8_t *pixels, std::size_t size)
    {
        const int stride = input.width + input.padding;
        memory.resize(static_cast<std::size_t>(stride) * static_cast<std::size_t>(input.height));
        auto *bytes = reinterpret_cast<std::uint8_t *>(memory.data());
        const std::size_t count = memory.size() * sizeof(unsigned int);
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t round = size ? i / size : i;
            bytes[i] =
                static_cast<std::uint8_t>((size ? pixels[i % size] : 0) + round * input.seed);
        }
        if (!memory.empty())
            image = QImage(bytes, input.width, input.height, stride * 4,
                           input.translucent ? QImage::Format_ARGB32 : QImage::Format_RGB32);
    }
};

void compare(const QImage &actual, const QImage &expected, const char *what)
{
    bool same = actual.size() == expected.size();
    for (int y = 0; same && y < actual.height(); ++y) {
        const auto bytes = static_cast<std::size_t>(actual.width()) * sizeof(unsigned int);
        same = std::memcmp(actual.constScanLine(y), expected.constScanLine(y), bytes) == 0;
    }
    require(same, what);
}

void runOperation(const Input &input, QImage image)
{
    const QImage before = image.copy();
    switch (input.operation) {
    case 0:
        KvPosterize1(&image, input.lumiere);
        compare(image, reference::posterizeChannels(before),
                "KvPosterize1 differs from the reference");
        break;
    case 1:
        KvThreshold(&image, input.contraste / 10, 0);
        compare(image, reference::threshold(before, input.contraste / 10, 0),
                "KvThreshold differs from the reference");
        break;
    case 2:
        fBicolore(&image, static_cast<unsigned int>(input.lumiere),
                  static_cast<unsigned int>(input.contraste));
        compare(image,
                reference::twoColours(before, static_cast<unsigned int>(input.lumiere),
                                      static_cast<unsigned int>(input.contraste)),
                "fBicolore differs from the reference");
        break;
    case 3: {
        reference::Lut lut{};
        CreerLut(lut.data(), 2, input.lumiere, input.contraste);
        AppliquerLut(&image, lut.data());
        compare(image,
                reference::applyLut(before, reference::lineLut(input.lumiere, input.contraste)),
                "CreerLut differs from the reference");
        break;
    }
    default:
        break;
    }
}

} // namespace

std::unique_ptr<Surroundings> prepare(int &, char **)
{
    return nullptr;
}

void run(const std::uint8_t *data, std::size_t size)
{
    std::array<std::uint8_t, headerSize> header{};
    const std::size_t headed = std::min(size, headerSize);
    std::copy_n(data, headed, header.begin());
    const Input input = inputOf(header);
    Frame frame(input, data + headed, size - headed);

    const FrameSettings settings{input.mode, input.effect, input.lumiere, input.contraste};
    const QImage expected =
        reference::frame(frame.image, input.mode, input.effect, input.lumiere, input.contraste);
    compare(Renderer().render({frame.image}, settings).image, expected,
            "the rendered frame differs from the reference");
    runOperation(input, frame.image.copy());
}

} // namespace kivra::fuzz
