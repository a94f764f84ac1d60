#pragma once

#include <QAbstractVideoSurface>
#include <QImage>
#include <QThread>
#include <QVideoSurfaceFormat>

namespace kivra::test {

/// A surface that keeps the last frame and what it was told.
class FrameRecorder : public QAbstractVideoSurface
{
    Q_OBJECT

public:
    QList<QVideoFrame::PixelFormat>
    supportedPixelFormats(QAbstractVideoBuffer::HandleType type) const override
    {
        Q_UNUSED(type)
        return {QVideoFrame::Format_ARGB32, QVideoFrame::Format_RGB32};
    }

    bool start(const QVideoSurfaceFormat &format) override
    {
        ++starts;
        return !refuseStart && QAbstractVideoSurface::start(format);
    }

    void stop() override
    {
        ++stops;
        QAbstractVideoSurface::stop();
    }

    bool present(const QVideoFrame &frame) override
    {
        ++frames;
        onOwnThread = onOwnThread && QThread::currentThread() == thread();
        lastFrame = frame;
        emit presented();
        return true;
    }

    /// A copy of the last frame's picture.
    QImage picture() const { return lastFrame.image(); }

    bool refuseStart = false;
    int starts = 0;
    int stops = 0;
    int frames = 0;
    bool onOwnThread = true;
    QVideoFrame lastFrame;

signals:
    void presented();
};

} // namespace kivra::test
