#pragma once

#include <QString>

namespace kivra::rendu {

/// Why no picture can be in the file at \a path, in French; empty when one can.
QString sourceFault(const QString &path);

/// Why \a path cannot be written, by the system's number (errno), in French.
QString writingFault(const QString &path, int error);

} // namespace kivra::rendu
