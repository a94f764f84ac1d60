#pragma once

namespace kivra {

/// The decoder's side of the protocol (confined/protocol.h): decodes what it is asked for over
/// \a socket, until the viewer is gone or breaks the protocol.
void serve(int socket);

} // namespace kivra
