#include "decoding/confined/exchange.h"

#include "decoding/decoder.h"
#include "decoding/opaquecopy.h"

namespace kivra {

using protocol::Kind;
using protocol::Message;
using protocol::Received;

namespace {

constexpr int deepestBits = 64;

// A reader that decodes to another format needs memory for its own pixels besides the picture's.
static_assert(mostPixels * (deepestBits / 8 + qint64(sizeof(QRgb))) <= mostDecodingBytes);

bool isPlausible(const Message &told, qint64 mostOfIt)
{
    return isDecodable({told.width, told.height}) && qint64(told.width) * told.height <= mostOfIt &&
           told.depth >= 0 && told.depth <= deepestBits;
}

} // namespace

Exchange::Exchange(Descriptor socket)
    : connection(std::move(socket))
{
}

bool Exchange::begin(int file, qint64 mostOfIt)
{
    // A message that nobody asked for yet.
    Message early = {};
    if (isBusy() || current == State::Failed ||
        protocol::receive(connection.get(), &early) != Received::Nothing ||
        !protocol::send(connection.get(), {Kind::Open, 0, 0, 0}, file)) {
        current = State::Failed;
        return false;
    }
    picture = QImage();
    size = QSize();
    sizesTold = 0;
    allowedPixels = mostOfIt;
    current = State::AwaitsSize;
    return true;
}

void Exchange::receive()
{
    Message answer = {};
    const Received received = protocol::receive(connection.get(), &answer);
    if (received == Received::Nothing)
        return;
    if (received == Received::Broken || !isBusy() || !accept(answer))
        current = State::Failed;
}

bool Exchange::accept(const Message &answer)
{
    switch (answer.kind) {
    case Kind::Size:
        return passMemory(answer);
    case Kind::Done:
        return current == State::AwaitsPixels && finish();
    default:
        return false;
    }
}

bool Exchange::passMemory(const Message &answer)
{
    constexpr int mostSizes = 2; // the header's, and the true one
    if (++sizesTold > mostSizes || !isPlausible(answer, allowedPixels))
        return false;
    size = QSize(answer.width, answer.height);
    const bool isNew = memory.bytes() != pixelBytes(size);
    if (isNew)
        memory = SharedMemory::make(pixelBytes(size));
    current = State::AwaitsPixels;
    return memory.isMapped() && protocol::send(connection.get(), {Kind::Memory, 0, 0, 0},
                                               isNew ? memory.descriptor() : -1);
}

bool Exchange::finish()
{
    picture = opaqueCopy(memory.pixels(), size);
    if (memory.bytes() > protocol::mostKeptBytes)
        memory = SharedMemory();
    current = State::Finished;
    return !picture.isNull();
}

} // namespace kivra
