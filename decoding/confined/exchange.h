#pragma once

#include "decoding/confined/descriptor.h"
#include "decoding/confined/protocol.h"
#include "decoding/confined/sharedmemory.h"

#include <QImage>

namespace kivra {

/// The viewer's side of the talk with a decoder, picture after picture. It believes nothing: what
/// comes out of turn, has another length or claims what is beyond the limits ends the talk, the
/// memory that is passed out cannot change its size, and the pixels are copied before use.
///
/// Never waits. Whether the decoder takes too long is its owner's affair.
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

    /// Asks for the picture in the regular file that \a file is the descriptor of. It may have at
    /// most \a mostOfIt pixels. False when the decoder is gone: then nothing was asked.
    bool begin(int file, qint64 mostOfIt);
    /// As long as no size was answered, raises what begin() has allowed.
    void allow(qint64 mostOfIt) { allowedPixels = mostOfIt; }

    /// Takes at most one answer, and replies to it.
    void receive();

    State state() const { return current; }
    bool isBusy() const { return current == State::AwaitsSize || current == State::AwaitsPixels; }
    /// The last picture, in Format_RGB32 and opaque, in memory that no decoder sees; null when it
    /// failed.
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
