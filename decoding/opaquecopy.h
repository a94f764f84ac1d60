#pragma once

#include <QImage>

namespace kivra {

/// The pixels of a picture of this size, row after row without padding, as opaque words of
/// Format_RGB32 in memory of their own; null if there is none. An untrusted process may write to
/// \a words meanwhile: the colours are then arbitrary, but it does no other harm.
///
/// Reuses the memory of an earlier copy of this size that nobody holds any more: faulting in fresh
/// pages costs more than copying. Keeps at most four copies of at most 64 MiB each for this.
QImage opaqueCopy(const uchar *words, const QSize &size);

/// Stops keeping the copies made so far: the memory of each goes back to the system when its last
/// holder releases it.
void forgetCopies();

} // namespace kivra
