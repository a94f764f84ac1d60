#pragma once

#include "rendu/options.h"

namespace kivra::rendu {

/// Exit statuses of the command.
constexpr int allDone = 0;
constexpr int wrongUse = 1;
constexpr int someFailed = 2;
/// Plus the number of the signal.
constexpr int interrupted = 128;

/// Renders the pictures and reports what becomes of them. Failures go to standard error. Unless it
/// is to be quiet, progress goes there too, and a summary to standard output. Returns the command's
/// exit status. Needs the application object.
int run(const Options &options);

} // namespace kivra::rendu
