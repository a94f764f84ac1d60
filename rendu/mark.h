#pragma once

#include "rendu/options.h"

#include <QByteArray>
#include <QString>

namespace kivra::rendu {

// What a result was made with is noted in it, so that a later run knows whether it would come out
// the same: in a comment of a PNG or JPEG file, and in one behind the end of a PDF document.

/// The note for the picture at \a source, which tells the options and the size of the source's
/// file, in ASCII.
QByteArray markOf(const Options &options, const QString &source);

/// That of a document of all sources, in their order.
QByteArray documentMarkOf(const Options &options);

/// The PNG or JPEG file, as QImageWriter makes it, with this note.
QByteArray withMark(const QByteArray &file, const QByteArray &mark);

/// What is written behind the end of a document.
QByteArray documentEnd(const QByteArray &mark);

/// Whether the file at \a path bears exactly this note where withMark() puts it, or documentEnd().
/// Of the file, nothing else is looked at.
bool bearsMark(const QString &path, const QByteArray &mark);
bool documentBearsMark(const QString &path, const QByteArray &mark);

} // namespace kivra::rendu
