#include "cameras/video/formatchoice.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <linux/videodev2.h>
#include <string_view>
#include <tuple>

namespace kivra::cameras {

namespace {

// Below this, writing under the camera visibly jerks.
constexpr double fluentRate = 24;
// Nominal 24 or 30 frames a second may be 23.976 or 29.97.
constexpr double rateTolerance = 0.97;
// More than this costs time without a visible gain.
constexpr double usualRate = 30;
constexpr Size fullHd{1920, 1080};
// The limits of a wish.
constexpr int shortestSide = 16;
constexpr int highestRate = 240;
// Bytes a pixel of a camera's JPEG, on a busy page.
constexpr double jpegBytesPerPixel = 0.4;

// The order of offers that are equal otherwise: the cheapest to convert first.
constexpr std::array<std::uint32_t, 8> cheapest{
    V4L2_PIX_FMT_YUYV, V4L2_PIX_FMT_UYVY,   V4L2_PIX_FMT_NV12,   V4L2_PIX_FMT_YUV420,
    V4L2_PIX_FMT_GREY, V4L2_PIX_FMT_XBGR32, V4L2_PIX_FMT_XRGB32, V4L2_PIX_FMT_BGR24};

int costOf(std::uint32_t fourcc)
{
    return int(std::find(cheapest.begin(), cheapest.end(), fourcc) - cheapest.begin());
}

bool fits(Size size, Size into)
{
    return size.width <= into.width && size.height <= into.height;
}

// If the driver does not tell the rate of a size, assume a usual one.
double rateOf(const Offer &offer)
{
    return offer.rate.isKnown() ? offer.rate.perSecond() : usualRate;
}

double bytesPerPixel(std::uint32_t fourcc)
{
    switch (fourcc) {
    case V4L2_PIX_FMT_GREY:
        return 1;
    case V4L2_PIX_FMT_NV12:
    case V4L2_PIX_FMT_NV21:
    case V4L2_PIX_FMT_NV12M:
    case V4L2_PIX_FMT_NV21M:
    case V4L2_PIX_FMT_YUV420:
    case V4L2_PIX_FMT_YVU420:
    case V4L2_PIX_FMT_YUV420M:
    case V4L2_PIX_FMT_YVU420M:
        return 1.5;
    case V4L2_PIX_FMT_RGB24:
    case V4L2_PIX_FMT_BGR24:
        return 3;
    case V4L2_PIX_FMT_BGR32:
    case V4L2_PIX_FMT_ABGR32:
    case V4L2_PIX_FMT_XBGR32:
    case V4L2_PIX_FMT_RGB32:
    case V4L2_PIX_FMT_ARGB32:
    case V4L2_PIX_FMT_XRGB32:
        return 4;
    default:
        return isCompressed(fourcc) ? jpegBytesPerPixel : 2;
    }
}

double bytesPerSecond(const Offer &offer)
{
    return double(offer.size.area()) * bytesPerPixel(offer.fourcc) * rateOf(offer);
}

/// Smaller is better: rates up to the usual one come first, then by distance from it.
std::pair<int, double> distanceFromUsual(const Offer &offer)
{
    const double rate = rateOf(offer);
    const bool above = rate > usualRate / rateTolerance;
    return {above ? 1 : 0, std::abs(rate - usualRate)};
}

/// The order among offers of equal size and rate: uncompressed first, then by cost. The last
/// members only make the order complete.
auto rankBelowSize(const Offer &offer)
{
    return std::make_tuple(isCompressed(offer.fourcc) ? 1 : 0, costOf(offer.fourcc), offer.fourcc,
                           offer.multiPlanar, offer.rate.frames, offer.rate.seconds);
}

auto rankByRule(const Offer &offer, double fastest)
{
    const double enough = std::min(fluentRate, fastest) * rateTolerance;
    const bool larger = !fits(offer.size, fullHd);
    const long long pixels = offer.size.area();
    return std::make_tuple(rateOf(offer) < enough, larger, larger ? pixels : -pixels,
                           -offer.size.width, distanceFromUsual(offer), rankBelowSize(offer));
}

auto rankByWish(const Offer &offer, const FormatWish &wish)
{
    const double off = wish.rate > 0 ? std::abs(rateOf(offer) - wish.rate) : 0;
    // 29.97 is as good as 30.
    const bool otherRate = off > wish.rate * (1 - rateTolerance);
    return std::make_tuple(offer.size != wish.size, otherRate, otherRate ? off : 0);
}

bool isWished(const Offer &offer, const std::optional<FormatWish> &wish)
{
    return wish && offer.size == wish->size;
}

Choice explained(const Offer &offer, const std::optional<FormatWish> &wish)
{
    if (isWished(offer, wish))
        return {offer, ChoiceReason::Wished};
    if (!fits(offer.size, fullHd))
        return {offer, ChoiceReason::OnlyLarger};
    const bool fluent = rateOf(offer) >= fluentRate * rateTolerance;
    return {offer, fluent ? ChoiceReason::Fluent : ChoiceReason::Fastest};
}

/// Takes a number up to \a most off the front of \a text; none if there is no such number.
std::optional<int> takeNumber(std::string_view &text, int most)
{
    int number = 0;
    std::size_t digits = 0;
    for (; digits < text.size() && text[digits] >= '0' && text[digits] <= '9'; ++digits) {
        number = number * 10 + (text[digits] - '0');
        if (number > most)
            return std::nullopt;
    }
    text.remove_prefix(digits);
    return digits > 0 ? std::optional<int>(number) : std::nullopt;
}

bool takeLetter(std::string_view &text, char letter)
{
    const bool isThere = !text.empty() && text.front() == letter;
    text.remove_prefix(isThere ? 1 : 0);
    return isThere;
}

} // namespace

std::optional<FormatWish> parseFormatWish(const std::string &text)
{
    std::string_view rest = text;
    const std::optional<int> width = takeNumber(rest, longestSide);
    const bool hasHeight = takeLetter(rest, 'x');
    const std::optional<int> height = takeNumber(rest, longestSide);
    const bool hasRate = takeLetter(rest, '@');
    const std::optional<int> rate = hasRate ? takeNumber(rest, highestRate) : 0;
    if (!hasHeight || !width || !height || !rate || !rest.empty())
        return std::nullopt;
    if (*width < shortestSide || *height < shortestSide || (hasRate && *rate < 1))
        return std::nullopt;
    return FormatWish{{*width, *height}, *rate};
}

std::string fourccName(std::uint32_t fourcc)
{
    std::string name;
    for (int byte = 0; byte < 4; ++byte) {
        const auto letter = static_cast<unsigned char>(fourcc >> (8 * byte));
        name += letter >= 0x20 && letter < 0x7f ? static_cast<char>(letter) : '.';
    }
    return name;
}

std::vector<Choice> rankFormats(const std::vector<Offer> &offers,
                                const std::optional<FormatWish> &wish)
{
    std::vector<Offer> readable;
    double fastest = 0;
    for (const Offer &offer : offers) {
        if (!isReadable(offer.fourcc))
            continue;
        readable.push_back(offer);
        fastest = std::max(fastest, rateOf(offer));
    }
    std::sort(readable.begin(), readable.end(), [&](const Offer &a, const Offer &b) {
        if (isWished(a, wish) || isWished(b, wish)) {
            const auto left = rankByWish(a, *wish);
            const auto right = rankByWish(b, *wish);
            if (left != right)
                return left < right;
        }
        return rankByRule(a, fastest) < rankByRule(b, fastest);
    });
    std::vector<Choice> ranked;
    ranked.reserve(readable.size());
    for (const Offer &offer : readable)
        ranked.push_back(explained(offer, wish));
    return ranked;
}

std::optional<std::size_t> nextSmaller(const std::vector<Choice> &ranked, std::size_t current)
{
    const double refused = bytesPerSecond(ranked.at(current).offer);
    for (std::size_t next = current + 1; next < ranked.size(); ++next) {
        if (bytesPerSecond(ranked[next].offer) < refused)
            return next;
    }
    return std::nullopt;
}

} // namespace kivra::cameras
