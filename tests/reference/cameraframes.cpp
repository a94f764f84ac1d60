#include "tests/reference/cameraframes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio> // jpeglib.h needs it but does not include it
#include <cstdlib>
#include <jpeglib.h>

namespace kivra::reference {

namespace {

std::uint32_t level(double value)
{
    return static_cast<std::uint32_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

std::uint32_t word(std::uint32_t red, std::uint32_t green, std::uint32_t blue)
{
    return 0xFF000000U | red << 16U | green << 8U | blue;
}

// Bytes of a frame, by pixel.
class Bytes
{
public:
    explicit Bytes(const CameraFrame &camera)
        : frame(camera)
    {
    }

    int at(std::size_t plane, std::size_t place) const { return frame.planes.at(plane).at(place); }
    int at(std::size_t plane, int row, int column) const
    {
        return at(plane, static_cast<std::size_t>(row) * frame.strides.at(plane) +
                             static_cast<std::size_t>(column));
    }

private:
    const CameraFrame &frame;
};

std::uint32_t packedPixel(const CameraFrame &frame, int x, int y)
{
    const Bytes bytes(frame);
    const int pair = x / 2 * 4;
    const int lumaAt = frame.fourcc == "YUYV" ? 0 : 1;
    const int luma = bytes.at(0, y, pair + lumaAt + x % 2 * 2);
    const int u = bytes.at(0, y, pair + 1 - lumaAt);
    const int v = bytes.at(0, y, pair + 3 - lumaAt);
    return colourOf(luma, u, v, frame.code);
}

std::uint32_t semiPlanarPixel(const CameraFrame &frame, int x, int y)
{
    const Bytes bytes(frame);
    const bool hasTwo = frame.planes.size() == 2;
    const auto stride = frame.strides.at(0);
    // In one plane, chroma has the stride of luma, made even.
    const std::size_t chroma = hasTwo ? 0 : stride * static_cast<std::size_t>(frame.height);
    const std::size_t chromaStride = hasTwo ? frame.strides.at(1) : stride + stride % 2;
    const std::size_t pair = chroma + chromaStride * static_cast<std::size_t>(y / 2) +
                             static_cast<std::size_t>(x / 2 * 2);
    const std::size_t plane = hasTwo ? 1 : 0;
    int u = bytes.at(plane, pair);
    int v = bytes.at(plane, pair + 1);
    if (frame.fourcc == "NV21" || frame.fourcc == "NM21")
        std::swap(u, v);
    return colourOf(bytes.at(0, y, x), u, v, frame.code);
}

std::uint32_t planarPixel(const CameraFrame &frame, int x, int y)
{
    const Bytes bytes(frame);
    std::array<int, 2> chroma{};
    for (std::size_t i = 0; i < 2; ++i) {
        if (frame.planes.size() == 3) {
            chroma.at(i) = bytes.at(i + 1, y / 2, x / 2);
            continue;
        }
        const auto stride = frame.strides.at(0);
        const auto rows = static_cast<std::size_t>(frame.height);
        const std::size_t half = (stride + 1) / 2;
        const std::size_t begin = stride * rows + i * half * ((rows + 1) / 2);
        chroma.at(i) = bytes.at(0, begin + half * static_cast<std::size_t>(y / 2) +
                                       static_cast<std::size_t>(x / 2));
    }
    if (frame.fourcc == "YV12" || frame.fourcc == "YM21")
        std::swap(chroma[0], chroma[1]);
    return colourOf(bytes.at(0, y, x), chroma[0], chroma[1], frame.code);
}

// The letters R, G, B and X as they lie in memory.
std::string orderOf(const std::string &fourcc)
{
    if (fourcc == "BGR3" || fourcc == "RGB3")
        return fourcc.substr(0, 3);
    if (fourcc == "BGR4" || fourcc == "AR24" || fourcc == "XR24")
        return "BGRX";
    if (fourcc == "AB24" || fourcc == "XB24")
        return "RGBX";
    if (fourcc == "RA24" || fourcc == "RX24")
        return "XBGR";
    return "XRGB"; // RGB4, BA24, BX24
}

std::uint32_t rgbPixel(const CameraFrame &frame, int x, int y)
{
    const std::string order = orderOf(frame.fourcc);
    const auto channel = [&](char letter) {
        const auto size = static_cast<int>(order.size());
        const int value = Bytes(frame).at(0, y, x * size + static_cast<int>(order.find(letter)));
        return level(frame.code.isFull ? value : (value - 16) * 255.0 / 219);
    };
    return word(channel('R'), channel('G'), channel('B'));
}

std::uint32_t pixelOf(const CameraFrame &frame, int x, int y)
{
    const std::string &fourcc = frame.fourcc;
    if (fourcc == "YUYV" || fourcc == "UYVY")
        return packedPixel(frame, x, y);
    if (fourcc[0] == 'N')
        return semiPlanarPixel(frame, x, y);
    if (fourcc[0] == 'Y')
        return planarPixel(frame, x, y);
    if (fourcc == "GREY")
        return colourOf(Bytes(frame).at(0, y, x), 128, 128, frame.code);
    return rgbPixel(frame, x, y);
}

CameraPicture quarterTurned(const CameraPicture &picture)
{
    CameraPicture result{picture.height, picture.width, {}};
    for (int y = 0; y < result.height; ++y) {
        for (int x = 0; x < result.width; ++x)
            result.pixels.push_back(picture.at(y, picture.height - 1 - x));
    }
    return result;
}

CameraPicture mirrored(const CameraPicture &picture)
{
    CameraPicture result{picture.width, picture.height, {}};
    for (int y = 0; y < result.height; ++y) {
        for (int x = 0; x < result.width; ++x)
            result.pixels.push_back(picture.at(picture.width - 1 - x, y));
    }
    return result;
}

} // namespace

std::uint32_t colourOf(int y, int u, int v, const ColourCode &code)
{
    const double black = code.isFull ? 0 : 16;
    const double lumaRange = code.isFull ? 255 : 219;
    const double chromaRange = code.isFull ? 255 : 224;
    const double luma = 255 * (y - black) / lumaRange;
    const double blueLessLuma = 255 * (u - 128) / chromaRange * 2 * (1 - code.blue);
    const double redLessLuma = 255 * (v - 128) / chromaRange * 2 * (1 - code.red);
    const double red = luma + redLessLuma;
    const double blue = luma + blueLessLuma;
    const double green = (luma - code.red * red - code.blue * blue) / (1 - code.red - code.blue);
    return word(level(red), level(green), level(blue));
}

CameraPicture cameraPicture(const CameraFrame &frame)
{
    CameraPicture picture{frame.width, frame.height, {}};
    for (int y = 0; y < frame.height; ++y) {
        for (int x = 0; x < frame.width; ++x)
            picture.pixels.push_back(pixelOf(frame, x, y));
    }
    return picture;
}

CameraPicture jpegPicture(const std::vector<std::uint8_t> &jpeg)
{
    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, jpeg.data(), jpeg.size());
    jpeg_read_header(&info, TRUE);
    info.out_color_space = info.jpeg_color_space;
    info.do_fancy_upsampling = FALSE;
    info.dct_method = JDCT_ISLOW;
    jpeg_start_decompress(&info);
    CameraPicture picture{
        static_cast<int>(info.output_width), static_cast<int>(info.output_height), {}};
    const bool isGrey = info.output_components == 1;
    const ColourCode code{0.299, 0.114, true};
    std::vector<std::uint8_t> row(static_cast<std::size_t>(info.output_width) *
                                  static_cast<std::size_t>(info.output_components));
    while (info.output_scanline < info.output_height) {
        JSAMPROW samples = row.data();
        jpeg_read_scanlines(&info, &samples, 1);
        for (std::size_t x = 0; x < info.output_width; ++x)
            picture.pixels.push_back(
                isGrey ? colourOf(row[x], 128, 128, code)
                       : colourOf(row[3 * x], row[3 * x + 1], row[3 * x + 2], code));
    }
    jpeg_destroy_decompress(&info);
    return picture;
}

CameraPicture turned(const CameraPicture &picture, int quarters, bool isMirrored)
{
    CameraPicture result = picture;
    for (int i = 0; i < quarters; ++i)
        result = quarterTurned(result);
    return isMirrored ? mirrored(result) : result;
}

int difference(const CameraPicture &a, const CameraPicture &b)
{
    constexpr int beyond = 256;
    if (a.width != b.width || a.height != b.height || a.pixels.size() != b.pixels.size())
        return beyond;
    int largest = 0;
    for (std::size_t i = 0; i < a.pixels.size(); ++i) {
        if (a.pixels[i] >> 24U != 255 || b.pixels[i] >> 24U != 255)
            return beyond;
        for (const unsigned int shift : {0U, 8U, 16U}) {
            const int one = static_cast<int>(a.pixels[i] >> shift & 0xFFU);
            const int other = static_cast<int>(b.pixels[i] >> shift & 0xFFU);
            largest = std::max(largest, std::abs(one - other));
        }
    }
    return largest;
}

} // namespace kivra::reference
