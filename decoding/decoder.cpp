#include "decoding/decoder.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>
#include <algorithm>
#include <cstring>

namespace kivra {

namespace {

constexpr int wordBytes = int(sizeof(QRgb));
// Qt converts twice as much in other threads, and whoever waits for those looks stuck.
constexpr int bandBytes = 1 << 16;

QImage wordsAt(uchar *memory, const QSize &size)
{
    return QImage(memory, size.width(), size.height(), size.width() * wordBytes,
                  QImage::Format_RGB32);
}

QRgb *rowAt(uchar *memory, int y, const QSize &size)
{
    return reinterpret_cast<QRgb *>(memory) + size_t(y) * size_t(size.width());
}

// Some readers leave the rows that a truncated file lacks as they were: such a row is known by a
// first pixel that is still translucent.
void markRowsMissing(uchar *memory, const QSize &size)
{
    for (int y = 0; y < size.height(); ++y)
        *rowAt(memory, y, size) = 0;
}

void blackenMissingRows(uchar *memory, const QSize &size)
{
    for (int y = 0; y < size.height(); ++y) {
        QRgb *const row = rowAt(memory, y, size);
        if (qAlpha(*row) == 0)
            std::fill_n(row, size.width(), qRgb(0, 0, 0));
    }
}

// The readers of most photographs write such words themselves: then no copy is made on the way.
QImage pictureToFill(const QImageReader &reader, const PixelMemory &memory)
{
    const QSize size = reader.size();
    if (!size.isValid() || reader.imageFormat() != QImage::Format_RGB32)
        return {};
    uchar *const pixels = memory(size);
    if (!pixels)
        return {};
    markRowsMissing(pixels, size);
    return wordsAt(pixels, size);
}

// A band at a time, so that a picture of 64 bits a pixel does not need a second whole copy.
void convertTo(uchar *memory, const QImage &picture)
{
    const auto rowBytes = size_t(picture.width()) * wordBytes;
    const int bandRows = std::max(1, bandBytes / picture.bytesPerLine());
    for (int top = 0; top < picture.height(); top += bandRows) {
        const int rows = std::min(bandRows, picture.height() - top);
        const QImage band =
            picture.copy(0, top, picture.width(), rows).convertToFormat(QImage::Format_RGB32);
        for (int y = 0; y < band.height(); ++y)
            std::memcpy(memory + size_t(top + y) * rowBytes, band.constScanLine(y), rowBytes);
    }
}

} // namespace

bool isDecodable(const QSize &size)
{
    return !size.isEmpty() && qint64(size.width()) * size.height() <= mostPixels;
}

QSize decodePicture(const QByteArray &content, const PixelMemory &memory)
{
    QBuffer file;
    file.setData(content);
    file.open(QIODevice::ReadOnly);
    QImageReader reader(&file);
    // A few formats do not say their size before they are read.
    if (reader.size().isValid() && !isDecodable(reader.size()))
        return {};
    QImage picture = pictureToFill(reader, memory);
    if (!reader.read(&picture) || !isDecodable(picture.size()))
        return {};
    uchar *const pixels = memory(picture.size());
    if (!pixels)
        return {};
    if (picture.constBits() == pixels)
        blackenMissingRows(pixels, picture.size());
    else
        convertTo(pixels, picture);
    return picture.size();
}

} // namespace kivra
