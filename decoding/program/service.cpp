#include "decoding/program/service.h"

#include "decoding/confined/protocol.h"
#include "decoding/confined/sharedmemory.h"
#include "decoding/decoder.h"
#include "decoding/program/jpegpicture.h"

#include <sys/mman.h>
#include <sys/stat.h>

namespace kivra {

using protocol::Kind;
using protocol::Message;

namespace {

// A file mapped into memory, so that only what is looked at is read: of a film, no more than its
// first bytes.
class Content
{
public:
    explicit Content(const Descriptor &file)
    {
        struct stat is = {};
        if (fstat(file.get(), &is) != 0 || is.st_size <= 0)
            return;
        void *const got = mmap(nullptr, size_t(is.st_size), PROT_READ, MAP_PRIVATE, file.get(), 0);
        if (got == MAP_FAILED)
            return;
        first = static_cast<char *>(got);
        length = size_t(is.st_size);
    }
    ~Content()
    {
        if (first)
            munmap(first, length);
    }
    Content(const Content &) = delete;
    Content &operator=(const Content &) = delete;

    QByteArray bytes() const { return QByteArray::fromRawData(first, int(length)); }

private:
    char *first = nullptr;
    size_t length = 0;
};

// The viewer's memory for pixels.
class Canvas
{
public:
    explicit Canvas(int toViewer)
        : socket(toViewer)
    {
    }

    // Asks the viewer, unless this picture has its memory already.
    uchar *ask(const QSize &size, int depth)
    {
        if (size == granted)
            return memory.pixels();
        granted = QSize();
        Message answer = {};
        Descriptor descriptor;
        if (!protocol::send(socket, {Kind::Size, size.width(), size.height(), depth}) ||
            !protocol::await(socket, &answer, &descriptor) || answer.kind != Kind::Memory)
            return nullptr;
        if (descriptor.isOpen())
            memory = SharedMemory::fill(std::move(descriptor), pixelBytes(size));
        if (memory.bytes() != pixelBytes(size))
            return nullptr;
        granted = size;
        return memory.pixels();
    }

    void endPicture()
    {
        granted = QSize();
        if (memory.bytes() > protocol::mostKeptBytes)
            memory = SharedMemory();
    }

private:
    int socket;
    SharedMemory memory;
    QSize granted;
};

QSize decode(const QByteArray &content, const PixelMemory &memory)
{
    const QSize size = decodeJpeg(content, memory);
    return size.isEmpty() ? decodePicture(content, memory) : size;
}

} // namespace

void serve(int socket)
{
    Canvas canvas(socket);
    Message request = {};
    Descriptor file;
    while (protocol::await(socket, &request, &file) && request.kind == Kind::Open) {
        const Content content(file);
        file = Descriptor();
        const QSize size = decode(content.bytes(), [&](const QSize &wanted, int depth) {
            return canvas.ask(wanted, depth);
        });
        canvas.endPicture();
        const Kind kind = size.isEmpty() ? Kind::NoPicture : Kind::Done;
        if (!protocol::send(socket, {kind, 0, 0, 0}))
            return;
    }
}

} // namespace kivra
