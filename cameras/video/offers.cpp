#include "cameras/video/offers.h"

#include "cameras/video/kernel.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace kivra::cameras {

namespace {

// Real cameras have a tenth of this; the limits stop a driver whose lists never end.
constexpr std::uint32_t mostFormats = 64;
constexpr std::uint32_t mostSizes = 128;
constexpr std::uint32_t mostRates = 32;
constexpr std::size_t mostOffers = 4096;

constexpr std::array<Size, 9> usualSizes{{{640, 480},
                                          {800, 600},
                                          {1024, 768},
                                          {1280, 720},
                                          {1280, 960},
                                          {1600, 1200},
                                          {1920, 1080},
                                          {2592, 1944},
                                          {3840, 2160}}};
constexpr std::array<std::uint32_t, 6> usualRates{60, 30, 25, 15, 10, 5};

template<std::size_t Length>
std::string textOf(const __u8 (&field)[Length])
{
    const auto *const text = reinterpret_cast<const char *>(field);
    return {text, strnlen(text, Length)};
}

bool isPlausible(std::uint32_t width, std::uint32_t height)
{
    return width > 0 && height > 0 && width <= std::uint32_t{longestSide} &&
           height <= std::uint32_t{longestSide};
}

bool isPlausible(const v4l2_fract &interval)
{
    return interval.numerator > 0 && interval.denominator > 0;
}

Rate rateOf(const v4l2_fract &interval)
{
    return {interval.denominator, interval.numerator};
}

bool sameOffer(const Offer &a, const Offer &b)
{
    return a.fourcc == b.fourcc && a.size == b.size && a.rate.frames == b.rate.frames &&
           a.rate.seconds == b.rate.seconds;
}

/// Collects the offers of one node.
class Lister
{
public:
    Lister(Node &asked, bool onPlanes)
        : node(asked)
        , multiPlanar(onPlanes)
    {
    }

    std::vector<Offer> list()
    {
        for (std::uint32_t index = 0; index < mostFormats; ++index) {
            v4l2_fmtdesc format = {};
            format.index = index;
            format.type = bufferType(multiPlanar);
            if (node.control(VIDIOC_ENUM_FMT, &format) != 0)
                break;
            addSizes(format.pixelformat);
        }
        return offers;
    }

private:
    void addSizes(std::uint32_t fourcc)
    {
        for (std::uint32_t index = 0; index < mostSizes; ++index) {
            v4l2_frmsizeenum size = {};
            size.index = index;
            size.pixel_format = fourcc;
            if (node.control(VIDIOC_ENUM_FRAMESIZES, &size) != 0) {
                if (index == 0)
                    addPresentSize(fourcc);
                return;
            }
            if (size.type != V4L2_FRMSIZE_TYPE_DISCRETE) {
                addSizes(fourcc, size.stepwise);
                return;
            }
            addRates(fourcc, size.discrete.width, size.discrete.height);
        }
    }

    void addSizes(std::uint32_t fourcc, const v4l2_frmsize_stepwise &range)
    {
        if (range.min_width > range.max_width || range.min_height > range.max_height)
            return;
        const auto isStep = [](std::uint32_t value, std::uint32_t least, std::uint32_t most,
                               std::uint32_t step) {
            return value >= least && value <= most && (value - least) % std::max(1u, step) == 0;
        };
        for (const Size &usual : usualSizes) {
            const auto width = std::uint32_t(usual.width);
            const auto height = std::uint32_t(usual.height);
            if (isStep(width, range.min_width, range.max_width, range.step_width) &&
                isStep(height, range.min_height, range.max_height, range.step_height))
                addRates(fourcc, width, height);
        }
        addRates(fourcc, range.max_width, range.max_height);
    }

    // A driver that lists no sizes has one: the present one.
    void addPresentSize(std::uint32_t fourcc)
    {
        v4l2_format format = {};
        format.type = bufferType(multiPlanar);
        if (node.control(VIDIOC_G_FMT, &format) != 0)
            return;
        if (multiPlanar)
            addRates(fourcc, format.fmt.pix_mp.width, format.fmt.pix_mp.height);
        else
            addRates(fourcc, format.fmt.pix.width, format.fmt.pix.height);
    }

    void addRates(std::uint32_t fourcc, std::uint32_t width, std::uint32_t height)
    {
        if (!isPlausible(width, height))
            return;
        bool isKnown = false;
        for (std::uint32_t index = 0; index < mostRates; ++index) {
            v4l2_frmivalenum interval = {};
            interval.index = index;
            interval.pixel_format = fourcc;
            interval.width = width;
            interval.height = height;
            if (node.control(VIDIOC_ENUM_FRAMEINTERVALS, &interval) != 0)
                break;
            if (interval.type != V4L2_FRMIVAL_TYPE_DISCRETE) {
                isKnown = addRates(fourcc, width, height, interval.stepwise) || isKnown;
                break;
            }
            if (isPlausible(interval.discrete)) {
                add(fourcc, width, height, rateOf(interval.discrete));
                isKnown = true;
            }
        }
        if (!isKnown)
            add(fourcc, width, height, {});
    }

    bool addRates(std::uint32_t fourcc, std::uint32_t width, std::uint32_t height,
                  const v4l2_frmival_stepwise &range)
    {
        if (!isPlausible(range.min))
            return false;
        const Rate fastest = rateOf(range.min);
        const double slowest = isPlausible(range.max) ? rateOf(range.max).perSecond() : 0;
        for (const std::uint32_t usual : usualRates) {
            if (usual <= fastest.perSecond() && usual >= slowest)
                add(fourcc, width, height, {usual, 1});
        }
        add(fourcc, width, height, fastest);
        return true;
    }

    void add(std::uint32_t fourcc, std::uint32_t width, std::uint32_t height, Rate rate)
    {
        const Offer offer{fourcc, {int(width), int(height)}, rate, multiPlanar};
        const bool isNew = std::none_of(offers.begin(), offers.end(), [&](const Offer &known) {
            return sameOffer(known, offer);
        });
        if (isNew && offers.size() < mostOffers)
            offers.push_back(offer);
    }

    Node &node;
    const bool multiPlanar;
    std::vector<Offer> offers;
};

} // namespace

Capabilities capabilitiesOf(Node &node)
{
    v4l2_capability answer = {};
    Capabilities result;
    result.error = node.control(VIDIOC_QUERYCAP, &answer);
    if (result.error != 0)
        return result;
    // The capabilities of this node, if the driver reports them apart from the device's.
    const std::uint32_t flags = (answer.capabilities & V4L2_CAP_DEVICE_CAPS) != 0
                                    ? answer.device_caps
                                    : answer.capabilities;
    const bool singleIn = (flags & V4L2_CAP_VIDEO_CAPTURE) != 0;
    const bool planesIn = (flags & V4L2_CAP_VIDEO_CAPTURE_MPLANE) != 0;
    const bool planesOut = (flags & V4L2_CAP_VIDEO_OUTPUT_MPLANE) != 0;
    result.driver = textOf(answer.driver);
    result.card = textOf(answer.card);
    result.bus = textOf(answer.bus_info);
    result.captures = singleIn || planesIn;
    result.multiPlanar = !singleIn && planesIn;
    result.streams = (flags & V4L2_CAP_STREAMING) != 0;
    result.outputs = planesOut || (flags & V4L2_CAP_VIDEO_OUTPUT) != 0;
    // Old drivers of converters report both directions. So does a loopback device, which delivers
    // what another program feeds it, but not on the multi-planar interface.
    result.converts =
        (flags & (V4L2_CAP_VIDEO_M2M | V4L2_CAP_VIDEO_M2M_MPLANE)) != 0 || (planesIn && planesOut);
    result.hasMetadata = (flags & (V4L2_CAP_META_CAPTURE | V4L2_CAP_META_OUTPUT)) != 0;
    return result;
}

std::vector<Offer> offersOf(Node &node, bool multiPlanar)
{
    return Lister(node, multiPlanar).list();
}

} // namespace kivra::cameras
