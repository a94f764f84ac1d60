#pragma once

#include <QImage>

namespace kivra {

/// The pixels of a picture of this size, row after row without padding, as opaque words of
/// Format_RGB32 in memory of their own; null if there is none. \a words may be written meanwhile by
/// whom nobody trusts: then any colours come out, and no harm.
///
/// The memory of earlier copies of this size that nobody holds any more serves again: fresh pages
/// cost more than the copying. That of at most four pictures of at most 64 MiB each is kept.
QImage opaqueCopy(const uchar *words, const QSize &size);

/// Keeps the memory of none of the copies made so far: it goes back to the system when its last
/// holder lets go.
void forgetCopies();

} // namespace kivra
