#pragma once

#include <QSize>
#include <QString>

namespace kivra::cameras {

/// The settings of the demonstration camera, from the environment (README.md lists the variables).
struct DemoSettings
{
    QSize frameSize{1280, 720};
    int frameRate = 30; ///< frames per second
    QString folder;     ///< absolute path of a folder of pictures; empty for none
};

/// Reads the environment as it is now. A value that cannot be used counts as not set and is logged
/// in one line, once as long as it stays the same.
DemoSettings demoSettings();

} // namespace kivra::cameras
