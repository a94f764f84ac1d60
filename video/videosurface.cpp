#include "video/videosurface.h"

#include "render/kernels/kernels.h"

#include <QVideoSurfaceFormat>
#include <algorithm>

int iFrame = 0;

namespace {

constexpr uint red = 0xff0000;
constexpr uint opaqueBlack = 0xff000000;

// Drivers may report up to this many bytes of their own at the end of the mapped block.
constexpr int trailer = 32;

// When Qt maps a frame of several planes, it divides by the number of rows of the further planes;
// for a frame of one row, that is zero.
bool hasSeveralPlanes(QVideoFrame::PixelFormat format)
{
    switch (format) {
    case QVideoFrame::Format_YUV420P:
    case QVideoFrame::Format_YUV422P:
    case QVideoFrame::Format_YV12:
    case QVideoFrame::Format_NV12:
    case QVideoFrame::Format_NV21:
    case QVideoFrame::Format_IMC1:
    case QVideoFrame::Format_IMC2:
    case QVideoFrame::Format_IMC3:
    case QVideoFrame::Format_IMC4:
        return true;
    default:
        return false;
    }
}

// Copies the block into the picture as one run of words, without regard to rows. True if every
// pixel is opaque.
bool copyBlock(const uchar *bits, int mappedBytes, QImage &picture)
{
    constexpr qsizetype pixelBytes = sizeof(QRgb);
    const qsizetype room = picture.sizeInBytes() / pixelBytes;
    // Only whole words: half a pixel is no colour.
    const qsizetype offered = bits ? (qsizetype(mappedBytes) - trailer) / pixelBytes : 0;
    const auto copied = int(std::clamp<qsizetype>(offered, 0, room));
    auto *const pixels = reinterpret_cast<QRgb *>(picture.bits());
    const auto *const block = reinterpret_cast<const std::byte *>(bits);
    const bool isOpaque = kivra::kernels().copy(block, pixels, copied);
    // Of a whole frame only the trailer is missing. Black there would show as a dash and shift the
    // histogram of a plain page.
    const bool isWhole = mappedBytes >= picture.sizeInBytes() && copied > 0;
    std::fill(pixels + copied, pixels + room, isWhole ? pixels[copied - 1] : opaqueBlack);
    return isOpaque;
}

// The picture that the frame's sender shares; null if it shares none, or another kind.
QImage sharedPicture(const QVideoFrame &frame)
{
    if (frame.handleType() != QAbstractVideoBuffer::NoHandle)
        return {};
    const auto picture = frame.handle().value<QImage>();
    const bool fits = picture.format() == QImage::Format_RGB32 && picture.size() == frame.size();
    return fits ? picture : QImage();
}

} // namespace

VideoSurface::VideoSurface(QObject *parent)
    : QAbstractVideoSurface(parent)
{
    image.fill(red);
}

QList<QVideoFrame::PixelFormat>
VideoSurface::supportedPixelFormats(QAbstractVideoBuffer::HandleType) const
{
    return {QVideoFrame::Format_ARGB32, QVideoFrame::Format_RGB32};
}

bool VideoSurface::start(const QVideoSurfaceFormat &format)
{
    if (isActive()) {
        stop();
        return false;
    }
    if (format.frameSize().isEmpty())
        return false;
    return QAbstractVideoSurface::start(format);
}

void VideoSurface::stop()
{
    image.fill(red);
    opaque = false;
    QAbstractVideoSurface::stop();
}

bool VideoSurface::present(const QVideoFrame &frame)
{
    if (!frame.isValid() || hasSeveralPlanes(frame.pixelFormat()))
        return false;
    const QImage shared = sharedPicture(frame);
    if (shared.isNull())
        return copy(frame);
    keep(shared, true);
    return true;
}

bool VideoSurface::copy(const QVideoFrame &frame)
{
    QVideoFrame mapped(frame);
    if (!mapped.map(QAbstractVideoBuffer::ReadOnly))
        return false;

    QImage picture(frame.size(), QImage::Format_RGB32);
    const bool outOfMemory = picture.isNull() && !frame.size().isEmpty();
    const bool isOpaque =
        !picture.isNull() && copyBlock(mapped.bits(), mapped.mappedBytes(), picture);
    mapped.unmap();
    if (outOfMemory)
        return false;
    keep(picture, isOpaque);
    return true;
}

void VideoSurface::keep(const QImage &picture, bool isOpaque)
{
    image = picture;
    opaque = isOpaque;
    emit frameAvailable();
    ++iFrame;
}
