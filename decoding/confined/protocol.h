#pragma once

#include "decoding/confined/descriptor.h"

#include <QtGlobal>
#include <type_traits>

namespace kivra::protocol {

/// What viewer and decoder tell each other, over a socket that keeps messages apart. One picture:
///
///     viewer                                decoder
///     Open, with the file's descriptor
///                                           Size: width, height, bits of a decoded pixel
///     Memory, with its descriptor, or
///     without one: the last memory again
///                                           Done
///
/// A reader that does not know the size beforehand sends Size after decoding; one whose header was
/// wrong sends it a second time. NoPicture may come at any time; the viewer then ends the decoder.
enum class Kind : quint32 { Open = 1, Size, Memory, Done, NoPicture };

struct Message
{
    Kind kind;
    qint32 width;  ///< of Size, in pixels
    qint32 height; ///< of Size
    qint32 depth;  ///< of Size: bits of a pixel as the reader decodes it, 0 for unknown
};
static_assert(std::is_trivially_copyable_v<Message> && sizeof(Message) == 16);

/// The number under which the decoder finds its socket.
constexpr int decoderSocket = 3;

/// Larger memory for pixels serves only one picture: both sides release it after Done.
constexpr size_t mostKeptBytes = size_t(64) << 20;

/// How receive() went.
enum class Received {
    Message, ///< one of the right length; what is in it may still be nonsense
    Nothing, ///< none has come yet
    Broken,  ///< the other side is gone, or sent something else
};

/// Sends a message, and a descriptor unless it is negative. Never waits and raises no signal; false
/// when the other side is gone or takes nothing.
bool send(int socket, const Message &message, int descriptor = -1);

/// The viewer's side: takes one message if there is one. Descriptors that come along are closed.
Received receive(int socket, Message *message);

/// The decoder's side: waits for a message; the descriptor that came along is in \a descriptor.
/// False when the viewer is gone.
bool await(int socket, Message *message, Descriptor *descriptor);

} // namespace kivra::protocol
