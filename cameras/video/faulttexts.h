#pragma once

#include "cameras/video/fault.h"

#include <QString>

namespace kivra::cameras {

/// What is wrong and what to do, in French, for a box in the window and for kivra-cameras.
QString faultText(const FaultReport &report);

} // namespace kivra::cameras
