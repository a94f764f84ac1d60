#pragma once

#include <QString>

namespace kivra::test {

// All that differs between the builds, so that the tests' other files are the same for the
// compiler.

/// The path of a file beside the program as it is built here, such as "kivra-decoder"; without a
/// name, the folder's.
QString besideTheProgram(const QString &name = {});

/// A folder for pictures of the windows that tests open.
QString screenshotFolder();

/// Whether the address sanitizer watches the program. It keeps what is freed for a while, so
/// figures of memory say nothing.
bool isSanitized();

/// Whether a sanitizer or coverage counters are in the program, which then has files and memory of
/// theirs.
bool isInstrumented();

} // namespace kivra::test
