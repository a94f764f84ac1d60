#include "cameras/video/fault.h"

#include <cerrno>

namespace kivra::cameras {

Fault faultOf(int error)
{
    switch (error) {
    case 0:
        return Fault::None;
    case ENOENT:
    case ENODEV:
    case ENXIO:
        return Fault::Unplugged;
    case EACCES:
    case EPERM:
        return Fault::NoRight;
    case EBUSY:
        return Fault::InUse;
    case ENOSPC:
        return Fault::NoBandwidth;
    default:
        return Fault::DoesNotAnswer;
    }
}

} // namespace kivra::cameras
