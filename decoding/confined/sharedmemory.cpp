#include "decoding/confined/sharedmemory.h"

#include <QRgb>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

namespace kivra {

size_t pixelBytes(const QSize &size)
{
    return size_t(size.width()) * size_t(size.height()) * sizeof(QRgb);
}

SharedMemory::SharedMemory(SharedMemory &&other) noexcept
{
    *this = std::move(other);
}

SharedMemory &SharedMemory::operator=(SharedMemory &&other) noexcept
{
    std::swap(file, other.file);
    std::swap(memory, other.memory);
    std::swap(mapped, other.mapped);
    return *this;
}

SharedMemory::~SharedMemory()
{
    if (memory)
        munmap(memory, mapped);
}

SharedMemory SharedMemory::make(size_t bytes)
{
    constexpr int seals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL;
    SharedMemory made;
    made.file = Descriptor(memfd_create("kivra-picture", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (made.file.isOpen() && ftruncate(made.file.get(), off_t(bytes)) == 0 &&
        fcntl(made.file.get(), F_ADD_SEALS, seals) == 0)
        made.map(PROT_READ, bytes);
    return made;
}

SharedMemory SharedMemory::fill(Descriptor descriptor, size_t bytes)
{
    SharedMemory given;
    given.file = std::move(descriptor);
    struct stat is = {};
    if (fstat(given.file.get(), &is) == 0 && size_t(is.st_size) == bytes)
        given.map(PROT_READ | PROT_WRITE, bytes);
    return given;
}

void SharedMemory::map(int protection, size_t bytes)
{
    void *const got = mmap(nullptr, bytes, protection, MAP_SHARED, file.get(), 0);
    if (got == MAP_FAILED)
        return;
    memory = static_cast<uchar *>(got);
    mapped = bytes;
}

} // namespace kivra
