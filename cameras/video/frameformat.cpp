#include "cameras/video/frameformat.h"

#include "cameras/video/framelayout.h"

namespace kivra::cameras {

bool isReadable(std::uint32_t fourcc)
{
    return layoutOf(fourcc) != nullptr;
}

bool isCompressed(std::uint32_t fourcc)
{
    const FrameLayout *layout = layoutOf(fourcc);
    return layout && layout->family == Family::Jpeg;
}

bool isPossible(const FrameFormat &format)
{
    if (isCompressed(format.fourcc))
        return format.planeCount == 1 && isPossible(format.size);
    const auto components = componentsOf(format);
    if (!components)
        return false;
    for (std::size_t i = 0; i < components->count; ++i) {
        const Component &component = components->at.at(i);
        if (component.end() > format.planes.at(component.memoryPlane).size)
            return false;
    }
    return true;
}

} // namespace kivra::cameras
