#pragma once

namespace kivra {

/// The decoder program: confines itself and decodes for the viewer that started it; with the
/// argument "--check" it tells which parts of the confinement hold on this system instead. Its exit
/// code.
int decoderMain(int argc, char **argv);

} // namespace kivra
