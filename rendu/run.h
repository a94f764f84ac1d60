#pragma once

#include "rendu/options.h"

namespace kivra::rendu {

/// How the command ends.
constexpr int allDone = 0;
constexpr int wrongUse = 1;
constexpr int someFailed = 2;
/// And the number of the signal.
constexpr int interrupted = 128;

/// Renders the pictures, and tells what becomes of them: failures to the standard error stream, and
/// unless it is to be quiet, how far it is, there, and the sum, to the standard output. Gives the
/// command's exit status. Needs the application object.
int run(const Options &options);

} // namespace kivra::rendu
