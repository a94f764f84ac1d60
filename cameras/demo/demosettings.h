#pragma once

#include <QSize>
#include <QString>

namespace kivra::cameras {

/// How the demonstration camera is to be, as the environment says (README.md lists the variables).
struct DemoSettings
{
    QSize frameSize{1280, 720};
    int frameRate = 30; ///< frames per second
    QString folder;     ///< absolute path of a folder of pictures; empty for none
};

/// The settings of the environment as it is now. A value that cannot be used counts as not set and
/// is told in one line of the log, once as long as it stays the same.
DemoSettings demoSettings();

} // namespace kivra::cameras
