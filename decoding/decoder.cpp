#include "decoding/decoder.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>
#include <algorithm>
#include <cstring>

namespace kivra {

namespace {

constexpr int wordBytes = int(sizeof(QRgb));
// Small bands: Qt hands twice as much to other threads, which only takes longer.
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

// If a file is truncated, some readers leave the missing rows untouched. The first pixel of such a
// row is then still transparent.
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

// The readers of most photographs decode to Format_RGB32: straight into this memory, without a
// copy.
QImage pictureToFill(QImage::Format format, const QSize &size, uchar *memory)
{
    if (!memory || format != QImage::Format_RGB32)
        return {};
    markRowsMissing(memory, size);
    return wordsAt(memory, size);
}

int depthOf(QImage::Format format)
{
    return format == QImage::Format_Invalid ? 0 : QImage::toPixelFormat(format).bitsPerPixel();
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

QSize decodeBy(QImageReader &reader, const PixelMemory &memory)
{
    const QSize told = reader.size(); // empty for the few formats that tell it only after reading
    const QImage::Format format = told.isValid() ? reader.imageFormat() : QImage::Format_Invalid;
    uchar *const early = isDecodable(told)
                             ? memory(told, format == QImage::Format_RGB32 ? 0 : depthOf(format))
                             : nullptr;
    if (told.isValid() && !early)
        return {};
    QImage picture = pictureToFill(format, told, early);
    if (!reader.read(&picture) || !isDecodable(picture.size()))
        return {};
    uchar *const pixels = picture.size() == told ? early : memory(picture.size(), picture.depth());
    if (!pixels)
        return {};
    if (picture.constBits() == pixels)
        blackenMissingRows(pixels, picture.size());
    else
        convertTo(pixels, picture);
    return picture.size();
}

QSize decodeAs(const QByteArray &format, const QByteArray &content, const PixelMemory &memory)
{
    QBuffer file;
    file.setData(content);
    file.open(QIODevice::ReadOnly);
    QImageReader reader(&file, format);
    return decodeBy(reader, memory);
}

} // namespace

bool isDecodable(const QSize &size)
{
    return !size.isEmpty() && qint64(size.width()) * size.height() <= mostPixels;
}

// Most TGA pictures begin like a cursor file; the reader of cursors takes them and fails.
QSize decodePicture(const QByteArray &content, const PixelMemory &memory)
{
    const QSize size = decodeAs({}, content, memory);
    return size.isEmpty() ? decodeAs("tga", content, memory) : size;
}

} // namespace kivra
