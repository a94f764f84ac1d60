// An input is what a decoder says after a picture has taken it over: messages of any length and
// content, with and without descriptors, at any time. It must not hurt the viewer, which trusts
// nothing and never blocks.
//
// The first byte of each step says what is done; the rest of the step is a message.

#include "decoding/confined/exchange.h"
#include "decoding/decoder.h"
#include "tests/fuzz/target.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>

namespace kivra::fuzz {

namespace {

using protocol::Message;

// With larger pictures, filling memory would take most of the time.
constexpr qint64 mostFuzzedPixels = 1 << 16;

struct Input
{
    const std::uint8_t *data;
    std::size_t left;

    std::uint8_t next()
    {
        if (left == 0)
            return 0;
        --left;
        return *data++;
    }

    std::size_t take(void *to, std::size_t most)
    {
        const std::size_t taken = std::min(most, left);
        std::memcpy(to, data, taken);
        data += taken;
        left -= taken;
        return taken;
    }
};

// The decoder's side, which does as the input says.
class Decoder
{
public:
    explicit Decoder(Descriptor end)
        : socket(std::move(end))
    {
    }

    void say(Input *input)
    {
        char bytes[2 * sizeof(Message)] = {};
        const std::size_t length = input->take(bytes, input->next() % sizeof bytes);
        ::send(socket.get(), bytes, length, MSG_DONTWAIT | MSG_NOSIGNAL);
    }

    // Says kinds and sizes that are likely to be accepted, so that the exchange goes on.
    void saySensibly(Input *input)
    {
        const Message message = {protocol::Kind(input->next() % 7), input->next() - 8,
                                 input->next() - 8, input->next() - 8};
        protocol::send(socket.get(), message, input->next() % 4 == 0 ? socket.get() : -1);
    }

    // Takes what the viewer says, and plays with the memory that comes along.
    void listen()
    {
        Message message = {};
        if (recv(socket.get(), nullptr, 0, MSG_PEEK | MSG_DONTWAIT) < 0)
            return;
        Descriptor given;
        protocol::await(socket.get(), &message, &given);
        if (given.isOpen() && message.kind == protocol::Kind::Memory)
            memory = std::move(given);
    }

    void playWithMemory(Input *input) const
    {
        if (!memory.isOpen())
            return;
        const off_t size = lseek(memory.get(), 0, SEEK_END);
        const off_t wanted = input->next();
        if (ftruncate(memory.get(), wanted) == 0)
            require(wanted == size, "the memory has changed its size");
        const char word[] = {1, 2, 3, 0};
        const bool isWritten = pwrite(memory.get(), word, sizeof word, 0) == ssize_t(sizeof word);
        require(isWritten, "the memory cannot be written");
    }

private:
    Descriptor socket;
    Descriptor memory;
};

bool isWhole(const QImage &picture)
{
    if (picture.isNull() || picture.format() != QImage::Format_RGB32 ||
        qint64(picture.width()) * picture.height() > mostFuzzedPixels)
        return false;
    for (int y = 0; y < picture.height(); ++y) {
        const auto *const row = reinterpret_cast<const QRgb *>(picture.constScanLine(y));
        if (std::any_of(row, row + picture.width(), [](QRgb word) { return qAlpha(word) != 255; }))
            return false;
    }
    return true;
}

} // namespace

std::unique_ptr<Surroundings> prepare(int &, char **)
{
    return nullptr;
}

void run(const std::uint8_t *data, std::size_t size)
{
    int ends[2] = {-1, -1};
    require(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) == 0, "no sockets");
    Exchange viewer{Descriptor(ends[0])};
    Decoder decoder{Descriptor(ends[1])};
    const Descriptor file(open("/dev/null", O_RDONLY | O_CLOEXEC));
    Input input{data, size};
    while (input.left > 0 && viewer.state() != Exchange::State::Failed) {
        switch (input.next() % 6) {
        case 0:
            if (!viewer.isBusy())
                viewer.begin(file.get(), mostFuzzedPixels);
            break;
        case 1:
            decoder.say(&input);
            break;
        case 2:
            decoder.saySensibly(&input);
            break;
        case 3:
            decoder.listen();
            break;
        case 4:
            decoder.playWithMemory(&input);
            break;
        default:
            break;
        }
        viewer.receive();
        if (viewer.state() == Exchange::State::Finished) {
            const QImage picture = viewer.takePicture();
            require(picture.isNull() || isWhole(picture), "the picture is not what is promised");
        }
    }
}

} // namespace kivra::fuzz
