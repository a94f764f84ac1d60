#pragma once

#include "rendu/options.h"

#include <QByteArray>
#include <QString>

namespace kivra::rendu {

// Each result has a note of what it was made with, so that a later run knows whether it would come
// out the same. The note is a comment of a PNG or JPEG file, or one after the end of a PDF
// document.

/// The note for the picture at \a source, in ASCII: the options and a digest
/// of the source file's path, size and time of change.
QByteArray markOf(const Options &options, const QString &source);

/// The note for a document of all sources, in their order.
QByteArray documentMarkOf(const Options &options);

/// The PNG or JPEG file \a file, made by QImageWriter, with this note.
QByteArray withMark(const QByteArray &file, const QByteArray &mark);

/// The note as it is written after the end of a document.
QByteArray documentEnd(const QByteArray &mark);

/// Whether the file at \a path has exactly this note in the place where withMark() or documentEnd()
/// puts it. Does not look at the rest of the file.
bool bearsMark(const QString &path, const QByteArray &mark);
bool documentBearsMark(const QString &path, const QByteArray &mark);

} // namespace kivra::rendu
