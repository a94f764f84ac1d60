#pragma once

#include "decoding/confined/descriptor.h"

#include <QSize>

namespace kivra {

/// Bytes of the 32-bit words of a picture of this size, which must be decodable (decoder.h).
size_t pixelBytes(const QSize &size);

/// Memory for pixels that viewer and decoder share, mapped while this object lives.
class SharedMemory
{
public:
    SharedMemory() = default;
    SharedMemory(SharedMemory &&other) noexcept;
    SharedMemory &operator=(SharedMemory &&other) noexcept;
    SharedMemory(const SharedMemory &) = delete;
    SharedMemory &operator=(const SharedMemory &) = delete;
    ~SharedMemory();

    /// For the viewer, which only reads: new memory of exactly \a bytes. Whoever holds its
    /// descriptor can neither shrink nor grow it. Not isMapped() if there is no memory.
    static SharedMemory make(size_t bytes);
    /// For the decoder, which writes: the memory behind \a descriptor; not isMapped() unless it has
    /// exactly \a bytes.
    static SharedMemory fill(Descriptor descriptor, size_t bytes);

    bool isMapped() const { return memory; }
    uchar *pixels() const { return memory; } ///< to be written by the decoder alone
    size_t bytes() const { return mapped; }
    int descriptor() const { return file.get(); }

private:
    void map(int protection, size_t bytes);

    Descriptor file;
    uchar *memory = nullptr;
    size_t mapped = 0;
};

} // namespace kivra
