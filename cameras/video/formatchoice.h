#pragma once

#include "cameras/video/frameformat.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kivra::cameras {

/// Frames a second as a fraction; 0 frames if the driver does not tell.
struct Rate
{
    std::uint32_t frames = 0;
    std::uint32_t seconds = 1;

    double perSecond() const { return seconds == 0 ? 0 : double(frames) / seconds; }
    bool isKnown() const { return frames > 0 && seconds > 0; }
};

/// One of the formats in which a camera can deliver.
struct Offer
{
    std::uint32_t fourcc = 0; ///< V4L2_PIX_FMT_...
    Size size;
    Rate rate;
    bool multiPlanar = false; ///< on the multi-planar interface
};

/// What the user wants of the format: "1280x720@30" or "1280x720".
struct FormatWish
{
    Size size;
    int rate = 0; ///< 0 for any
};

/// \a text as a wish; none if it is not of that form or out of range (16 to 16384 pixels a side, 1
/// to 240 frames a second).
std::optional<FormatWish> parseFormatWish(const std::string &text);

/// Why a format was chosen.
enum class ChoiceReason {
    Wished,
    Fluent,     ///< the largest up to 1920 x 1080 of those with 24 frames a second or more
    Fastest,    ///< the same, and no format reaches 24
    OnlyLarger, ///< the smallest; all are larger than 1920 x 1080
};

struct Choice
{
    Offer offer;
    ChoiceReason reason = ChoiceReason::Fluent;
};

/// The four characters of \a fourcc, "YUYV"; unprintable ones as ".".
std::string fourccName(std::uint32_t fourcc);

/// The readable ones of \a offers, the best first, whatever their order. The wish comes first if it
/// is offered.
std::vector<Choice> rankFormats(const std::vector<Offer> &offers,
                                const std::optional<FormatWish> &wish);

/// The first after \a current in \a ranked that needs less bandwidth; none if there is none.
std::optional<std::size_t> nextSmaller(const std::vector<Choice> &ranked, std::size_t current);

} // namespace kivra::cameras
