#pragma once

namespace kivra {

/// The decoder's side of the talk (confined/protocol.h): decodes what it is asked for over
/// \a socket, until the viewer is gone or says what it never would.
void serve(int socket);

} // namespace kivra
