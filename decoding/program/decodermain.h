#pragma once

namespace kivra {

/// The decoder program: confines itself and decodes for the viewer that started it. With the
/// argument "--check" it only tells which parts of the confinement hold on this system. Returns the
/// exit code.
int decoderMain(int argc, char **argv);

} // namespace kivra
