#pragma once

#include "cameras/video/camerareport.h"

#include <QByteArray>
#include <QString>
#include <vector>

namespace kivra::cameras {

/// Everything that kivra-cameras reports.
struct MachineReport
{
    std::vector<CameraReport> nodes; ///< in the order in which the program lists cameras
};

/// Whether the program can show this node's picture.
bool isUsable(const CameraReport &report);
/// Whether it can show any.
bool isUsable(const MachineReport &report);

/// For a person, in French, in lines.
QString reportText(const MachineReport &report);

/// The same for programs, as JSON. Numbers stay numbers; what is not known is left out.
QByteArray reportJson(const MachineReport &report);

} // namespace kivra::cameras
