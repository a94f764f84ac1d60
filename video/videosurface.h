#pragma once

#include <QAbstractVideoSurface>
#include <QImage>

/// How many frames all surfaces together have presented.
extern int iFrame;

/// The viewfinder of the camera: keeps the last frame and tells when there is a new one.
class VideoSurface : public QAbstractVideoSurface
{
    Q_OBJECT

public:
    explicit VideoSurface(QObject *parent = nullptr);

    /// ARGB32, then RGB32, for any type of handle.
    QList<QVideoFrame::PixelFormat>
    supportedPixelFormats(QAbstractVideoBuffer::HandleType handleType) const override;

    /// Refuses a format without an area. A start while active stops the surface and returns false.
    bool start(const QVideoSurfaceFormat &format) override;

    /// Leaves a plain red picture behind, so that a stopped camera is not taken for a live one.
    void stop() override;

    /// Keeps \a frame and emits frameAvailable(). If the handle of its buffer (of type NoHandle) is
    /// a QImage of its size in Format_RGB32, that picture is kept, and shares its memory. Any other
    /// frame is copied. Returns false, without a signal, for a frame that is invalid or has several
    /// planes, and for one to be copied that cannot be mapped or is too large to hold. If a
    /// frame's rows are padded, or its memory is shorter than its size claims, the part that memory
    /// and picture have in common is copied. The last 32 bytes of the memory are never copied: in a
    /// frame that is whole, its last 8 pixels repeat the one before them. Any other gap is black.
    bool present(const QVideoFrame &frame) override;

    /// The last frame (RGB32; shared, copied on write); null before the first one.
    QImage frame() const { return image; }

    /// True if the alpha of every pixel of frame() is known to be 255.
    bool isOpaque() const { return opaque; }

signals:
    void frameAvailable();

private:
    bool copy(const QVideoFrame &frame);
    void keep(const QImage &picture, bool isOpaque);

    QImage image;
    bool opaque = false;
};
