#include "cameras/video/yuvrows.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <libyuv/cpu_id.h>
#include <libyuv/row.h>
#include <optional>

// libyuv's functions for whole pictures take no matrix for packed frames, and their blue of BT.709
// is wrong (its factor is limited to 2, so it is up to 15 levels off). Its row functions take a
// matrix for every format, with constants of our own.

namespace kivra::cameras {

namespace {

using Byte = std::uint8_t;

struct RowFunctions
{
    using Packed = void (*)(const Byte *, Byte *, const libyuv::YuvConstants *, int);
    using SemiPlanar = void (*)(const Byte *, const Byte *, Byte *, const libyuv::YuvConstants *,
                                int);
    using Planar = void (*)(const Byte *, const Byte *, const Byte *, Byte *,
                            const libyuv::YuvConstants *, int);

    Packed yuyv;
    Packed uyvy;
    SemiPlanar nv12;
    SemiPlanar nv21;
    Planar i444;
    Planar i422;
    Packed grey;
};

// A version is named after the instruction set that it needs; greys may need a lower one than
// colours.
#define KIVRA_ROWS(colours, greys)                                                                 \
    RowFunctions                                                                                   \
    {                                                                                              \
        libyuv::YUY2ToARGBRow_##colours, libyuv::UYVYToARGBRow_##colours,                          \
            libyuv::NV12ToARGBRow_##colours, libyuv::NV21ToARGBRow_##colours,                      \
            libyuv::I444ToARGBRow_##colours, libyuv::I422ToARGBRow_##colours,                      \
            libyuv::I400ToARGBRow_##greys                                                          \
    }

// The functions for any number of pixels convert one vector more than necessary.
struct Rows
{
    RowFunctions ofAny;
    RowFunctions ofWholeVectors;

    const RowFunctions &forPixels(int n) const
    {
        constexpr int widest = 32;
        return n % widest == 0 ? ofWholeVectors : ofAny;
    }
};

Rows chooseRows()
{
#if defined(HAS_YUY2TOARGBROW_AVX2)
    if (libyuv::TestCpuFlag(libyuv::kCpuHasAVX2))
        return {KIVRA_ROWS(Any_AVX2, Any_AVX2), KIVRA_ROWS(AVX2, AVX2)};
#endif
#if defined(HAS_YUY2TOARGBROW_SSSE3)
    if (libyuv::TestCpuFlag(libyuv::kCpuHasSSSE3))
        return {KIVRA_ROWS(Any_SSSE3, Any_SSE2), KIVRA_ROWS(SSSE3, SSE2)};
#endif
#if defined(HAS_YUY2TOARGBROW_NEON)
    if (libyuv::TestCpuFlag(libyuv::kCpuHasNEON))
        return {KIVRA_ROWS(Any_NEON, Any_NEON), KIVRA_ROWS(NEON, NEON)};
#endif
    return {KIVRA_ROWS(C, C), KIVRA_ROWS(C, C)};
}

// The weights of luma and of the two colour differences in each channel (ITU-R BT.601-7, 2.5;
// BT.709-6, 3; BT.2020-2, table 4).
struct Factors
{
    double luma;
    double blueOfU;
    double greenOfU;
    double greenOfV;
    double redOfV;
    double black;
};

Factors factorsOf(Matrix matrix, Range range)
{
    double red = 0.299;
    double blue = 0.114;
    if (matrix == Matrix::Bt709) {
        red = 0.2126;
        blue = 0.0722;
    } else if (matrix == Matrix::Bt2020) {
        red = 0.2627;
        blue = 0.0593;
    }
    const bool isFull = range == Range::Full;
    const double green = 1 - red - blue;
    const double ofU = 2 * (1 - blue) * (isFull ? 1 : 255.0 / 224);
    const double ofV = 2 * (1 - red) * (isFull ? 1 : 255.0 / 224);
    return {isFull ? 1 : 255.0 / 219, ofU, ofU * blue / green,
            ofV * red / green,        ofV, isFull ? 0.0 : 16.0};
}

template<typename T>
T rounded(double value)
{
    return static_cast<T>(std::lround(value));
}

// In 64ths, as libyuv computes. It multiplies the factor of luma by 257 y and drops 16 bits; the
// bias contains the half that rounds the result.
libyuv::YuvConstants constantsOf(const Factors &factors)
{
    constexpr double one = 64;
    constexpr double half = 32;
    const auto blueOfU = rounded<Byte>(factors.blueOfU * one);
    const auto greenOfU = rounded<Byte>(factors.greenOfU * one);
    const auto greenOfV = rounded<Byte>(factors.greenOfV * one);
    const auto redOfV = rounded<Byte>(factors.redOfV * one);
    const auto luma = rounded<std::int16_t>(factors.luma * one * 65536 / 257);
    const double bias = half - factors.black * factors.luma * one;

    libyuv::YuvConstants constants{};
#if defined(__aarch64__) || defined(__arm__)
    // Here chroma stays unsigned, so the bias contains its zero, 128.
    const std::array<Byte, 4> chroma{blueOfU, redOfV, greenOfU, greenOfV};
    for (int i = 0; i < 4; ++i)
        constants.kUVCoeff[i] = chroma.at(static_cast<std::size_t>(i));
    constants.kRGBCoeffBias[0] = luma;
    constants.kRGBCoeffBias[1] = rounded<std::int16_t>(blueOfU * 128 - bias);
    constants.kRGBCoeffBias[2] = rounded<std::int16_t>((greenOfU + greenOfV) * 128 + bias);
    constants.kRGBCoeffBias[3] = rounded<std::int16_t>(redOfV * 128 - bias);
#else
    for (std::size_t i = 0; i < std::size(constants.kUVToB); i += 2) {
        constants.kUVToB[i] = blueOfU;
        constants.kUVToG[i] = greenOfU;
        constants.kUVToG[i + 1] = greenOfV;
        constants.kUVToR[i + 1] = redOfV;
    }
    std::fill(std::begin(constants.kYToRgb), std::end(constants.kYToRgb), luma);
    std::fill(std::begin(constants.kYBiasToRgb), std::end(constants.kYBiasToRgb),
              rounded<std::int16_t>(bias));
#endif
    return constants;
}

struct Sample
{
    Byte y;
    Byte u;
    Byte v;
};

// The same in 65536ths, pixel by pixel, for full-range BT.2020: in 64ths, both factors of its green
// are rounded up by almost half a 64th, which makes two levels. Hardly any camera uses it.
class FineRows
{
public:
    explicit FineRows(const Factors &factors)
        : luma(fine(factors.luma))
        , blueOfU(fine(factors.blueOfU))
        , greenOfU(fine(factors.greenOfU))
        , greenOfV(fine(factors.greenOfV))
        , redOfV(fine(factors.redOfV))
        , bias(one / 2 - fine(factors.black * factors.luma))
    {
    }

    template<typename SampleAt>
    void row(std::uint32_t *to, int n, const SampleAt &sampleAt) const
    {
        for (int i = 0; i < n; ++i) {
            const Sample sample = sampleAt(i);
            const int light = luma * sample.y + bias;
            const int u = sample.u - 128;
            const int v = sample.v - 128;
            to[i] = 0xFF000000U | level(light + redOfV * v) << 16 |
                    level(light - greenOfU * u - greenOfV * v) << 8 | level(light + blueOfU * u);
        }
    }

private:
    static constexpr int one = 1 << 16;
    static int fine(double factor) { return rounded<int>(factor * one); }
    static std::uint32_t level(int sum)
    {
        return static_cast<std::uint32_t>(std::clamp(sum / one, 0, 255));
    }

    int luma;
    int blueOfU;
    int greenOfU;
    int greenOfV;
    int redOfV;
    int bias;
};

Byte *bytes(std::uint32_t *words)
{
    return reinterpret_cast<Byte *>(words);
}

} // namespace

// The vector code expects the constants to be aligned.
struct alignas(32) YuvRows::Conversion
{
    libyuv::YuvConstants constants;
    Rows rows;
    std::optional<FineRows> fine; // where libyuv is too coarse
};

YuvRows::YuvRows(Matrix matrix, Range range)
    : conversion([=] {
        const Factors factors = factorsOf(matrix, range);
        auto made = std::make_unique<Conversion>(
            Conversion{constantsOf(factors), chooseRows(), std::nullopt});
        if (matrix == Matrix::Bt2020 && range == Range::Full)
            made->fine = FineRows(factors);
        return made;
    }())
{
}

YuvRows::~YuvRows() = default;

void YuvRows::yuyv(const Byte *pairs, std::uint32_t *to, int n) const
{
    if (conversion->fine)
        return conversion->fine->row(to, n, [=](int i) {
            const Byte *const pair = pairs + 4 * (i / 2);
            return Sample{pairs[2 * i], pair[1], pair[3]};
        });
    conversion->rows.forPixels(n).yuyv(pairs, bytes(to), &conversion->constants, n);
}

void YuvRows::uyvy(const Byte *pairs, std::uint32_t *to, int n) const
{
    if (conversion->fine)
        return conversion->fine->row(to, n, [=](int i) {
            const Byte *const pair = pairs + 4 * (i / 2);
            return Sample{pairs[2 * i + 1], pair[0], pair[2]};
        });
    conversion->rows.forPixels(n).uyvy(pairs, bytes(to), &conversion->constants, n);
}

void YuvRows::nv12(const Byte *y, const Byte *uv, std::uint32_t *to, int n) const
{
    if (conversion->fine)
        return conversion->fine->row(to, n, [=](int i) {
            const Byte *const pair = uv + 2 * (i / 2);
            return Sample{y[i], pair[0], pair[1]};
        });
    conversion->rows.forPixels(n).nv12(y, uv, bytes(to), &conversion->constants, n);
}

void YuvRows::nv21(const Byte *y, const Byte *vu, std::uint32_t *to, int n) const
{
    if (conversion->fine)
        return conversion->fine->row(to, n, [=](int i) {
            const Byte *const pair = vu + 2 * (i / 2);
            return Sample{y[i], pair[1], pair[0]};
        });
    conversion->rows.forPixels(n).nv21(y, vu, bytes(to), &conversion->constants, n);
}

void YuvRows::i444(const Byte *y, const Byte *u, const Byte *v, std::uint32_t *to, int n) const
{
    if (conversion->fine)
        return conversion->fine->row(to, n, [=](int i) { return Sample{y[i], u[i], v[i]}; });
    conversion->rows.forPixels(n).i444(y, u, v, bytes(to), &conversion->constants, n);
}

void YuvRows::i422(const Byte *y, const Byte *u, const Byte *v, std::uint32_t *to, int n) const
{
    if (conversion->fine)
        return conversion->fine->row(to, n, [=](int i) {
            return Sample{y[i], u[i / 2], v[i / 2]};
        });
    conversion->rows.forPixels(n).i422(y, u, v, bytes(to), &conversion->constants, n);
}

void YuvRows::grey(const Byte *y, std::uint32_t *to, int n) const
{
    conversion->rows.forPixels(n).grey(y, bytes(to), &conversion->constants, n);
}

} // namespace kivra::cameras
