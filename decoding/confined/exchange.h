#pragma once

#include "decoding/confined/descriptor.h"
#include "decoding/confined/protocol.h"
#include "decoding/confined/sharedmemory.h"

#include <QImage>

namespace kivra {

/// The viewer's side of the protocol, picture after picture. It trusts nothing: a message that is
/// out of turn, has another length or claims values beyond the limits ends the exchange; the shared
/// memory cannot change its size; the pixels are copied before use.
///
/// Never blocks. Its owner watches how long the decoder takes.
class Exchange
{
public:
    enum class State {
        Ready,        ///< for begin()
        AwaitsSize,   ///< of the picture
        AwaitsPixels, ///< or another size
        Finished,     ///< picture() has it; ready for the next begin()
        Failed,       ///< for good: this decoder is to be ended
    };

    /// Talks over \a socket, whose other end the decoder has.
    explicit Exchange(Descriptor socket);

    /// Asks for the picture in the regular file of the descriptor \a file. The picture may have at
    /// most \a mostOfIt pixels. False if the decoder is gone or has broken the protocol: then
    /// nothing was asked.
    bool begin(int file, qint64 mostOfIt);
    /// Raises the limit of begin() for sizes that are not answered yet.
    void allow(qint64 mostOfIt) { allowedPixels = mostOfIt; }

    /// Takes at most one answer, and replies to it if need be.
    void receive();

    State state() const { return current; }
    bool isBusy() const { return current == State::AwaitsSize || current == State::AwaitsPixels; }
    /// The last picture, in Format_RGB32 and opaque, in memory that no decoder shares; null if
    /// decoding failed.
    QImage takePicture() { return std::move(picture); }
    int socket() const { return connection.get(); }

private:
    bool accept(const protocol::Message &answer);
    bool passMemory(const protocol::Message &answer);
    bool finish();

    Descriptor connection;
    State current = State::Ready;
    qint64 allowedPixels = 0;
    int sizesTold = 0;
    QSize size;
    SharedMemory memory;
    QImage picture;
};

} // namespace kivra
