#pragma once

#include <QSize>
#include <QString>
#include <QTemporaryDir>

namespace kivra::benchmarks {

/// A simulated camera of the kernel (tests/videonode). It films a printed page; its JPEG frames are
/// as large as those of document cameras.
class SimulatedCamera
{
public:
    /// \a format is "YUYV" or "MJPG".
    SimulatedCamera(const QString &format, QSize size, int rate);

    /// Sets the environment variables that a program needs to see this camera, for the processes
    /// that this one starts.
    void showToChildren() const;

private:
    QTemporaryDir folder;
};

/// What the camera that this process sees has done so far.
struct CameraFigures
{
    long long frames = 0;         ///< that came at their time, whether anybody took them or not
    double sinceLastMs = 0;       ///< since the frame that was taken last was complete
    double firstFrameDelayMs = 0; ///< from the start of the stream to its first frame
};

/// False, with \a figures left alone, in a process that sees no simulated camera.
bool readCameraFigures(CameraFigures &figures);

} // namespace kivra::benchmarks
