#pragma once

#include <QAbstractVideoBuffer>
#include <QByteArray>
#include <QList>

namespace kivra::test {

/// A frame's memory as a driver may report it: any length, any stride, mappable or not. A
/// QVideoFrame must own it.
class DriverBuffer : public QAbstractVideoBuffer
{
public:
    /// \a reported is the length in bytes that map() gives, whatever the length of \a content;
    /// \a rowBytes is the stride.
    DriverBuffer(QByteArray content, int reported, int rowBytes, bool canBeMapped)
        : QAbstractVideoBuffer(NoHandle)
        , memory(std::move(content))
        , reportedBytes(reported)
        , stride(rowBytes)
        , mappable(canBeMapped)
    {
    }

    MapMode mapMode() const override { return mode; }
    uchar *map(MapMode wanted, int *numBytes, int *bytesPerLine) override
    {
        if (!mappable)
            return nullptr;
        mode = wanted;
        mappings += wanted;
        *numBytes = reportedBytes;
        *bytesPerLine = stride;
        return reinterpret_cast<uchar *>(memory.data());
    }
    void unmap() override { mode = NotMapped; }

    QList<MapMode> mappings; ///< all that were asked for

private:
    QByteArray memory;
    int reportedBytes;
    int stride;
    bool mappable;
    MapMode mode = NotMapped;
};

} // namespace kivra::test
