#include "cameras/video/opencamera.h"

#include "cameras/video/offers.h"

#include <algorithm>

namespace kivra::cameras {

namespace {

// A driver that refuses so many of its formats will refuse the next one too.
constexpr int mostTries = 12;

} // namespace

OpenCamera::OpenCamera(Kernel &system, const VideoSettings &wanted,
                       std::function<void(LockSet, bool)> answer)
    : kernel(system)
    , settings(wanted)
    , onLocks(std::move(answer))
{
}

Fault OpenCamera::fail(Fault fault, int error)
{
    lastError = error;
    return fault;
}

Fault OpenCamera::begin(const VideoDevice &device)
{
    int error = 0;
    node = kernel.open(device.node, error);
    if (!node)
        return fail(faultOf(error), error);
    const Capabilities told = capabilitiesOf(*node);
    if (told.error != 0)
        return fail(faultOf(told.error), told.error);
    if (!told.captures || !told.streams)
        return fail(Fault::NothingReadable);
    ranked = rankFormats(offersOf(*node, told.multiPlanar), settings.format);
    if (ranked.empty())
        return fail(Fault::NothingReadable);
    controls = std::make_unique<DeviceControls>(*node, onLocks);
    controls->setMains(settings.mains);
    capture = std::make_unique<Capture>(*node);
    return tryFormats();
}

/// Tries the formats in order. Without bandwidth, goes on with the next one that needs less; skips
/// a format that the driver lists but refuses. Reports the first fault, that of the best format.
Fault OpenCamera::tryFormats()
{
    Fault first = Fault::None;
    int firstError = 0;
    std::optional<std::size_t> next = 0;
    for (int tries = 0; next && tries < mostTries; ++tries) {
        chosen = *next;
        const Fault fault = capture->begin(ranked[chosen].offer);
        if (fault == Fault::None)
            return fail(Fault::None);
        if (first == Fault::None) {
            first = fault;
            firstError = capture->error();
        }
        if (fault == Fault::NoBandwidth)
            next = nextSmaller(ranked, chosen);
        else if ((fault == Fault::Nonsense || fault == Fault::DoesNotAnswer) &&
                 chosen + 1 < ranked.size())
            next = chosen + 1;
        else
            next = std::nullopt;
    }
    return fail(first, firstError);
}

Fault OpenCamera::beginAgain()
{
    const Fault fault = capture->begin(ranked[chosen].offer);
    return fail(fault, capture->error());
}

Fault OpenCamera::beginLarge(Size size)
{
    const auto offered = std::find_if(ranked.begin(), ranked.end(), [size](const Choice &choice) {
        return choice.offer.size == size;
    });
    if (offered == ranked.end())
        return fail(Fault::NothingReadable);
    const Fault fault = capture->begin(offered->offer);
    return fail(fault, capture->error());
}

std::vector<Size> OpenCamera::largerSizes() const
{
    std::vector<Size> sizes;
    for (const Choice &choice : ranked) {
        const Size size = choice.offer.size;
        if (size.area() > capture->format().size.area() &&
            std::find(sizes.begin(), sizes.end(), size) == sizes.end())
            sizes.push_back(size);
    }
    std::sort(sizes.begin(), sizes.end(), [](Size a, Size b) {
        return std::make_pair(a.area(), a.width) < std::make_pair(b.area(), b.width);
    });
    return sizes;
}

} // namespace kivra::cameras
