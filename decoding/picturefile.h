#pragma once

#include <QImage>
#include <QString>

namespace kivra {

/// The largest file that is opened, in bytes: 512 MiB.
constexpr qint64 mostFileBytes = qint64(512) << 20;

/// How long the decoding of a file's content may take while a user waits, in milliseconds; where
/// other programs keep the processor busy, as much of its time. The reading of the file itself is
/// not limited: a slow disk is no fault of the picture.
constexpr int mostDecodingMs = 1800;

/// How much memory the decoding may take on the way, in bytes: 2 GiB.
constexpr qint64 mostDecodingBytes = qint64(2) << 30;

/// The picture in a file, in Format_RGB32, in any format that Qt's image readers know, which is
/// determined by the content. As QImage::load() does, a name is tried with the suffixes of all
/// formats behind it when there is no file of that name.
///
/// Null when the file cannot be read, is no regular file (a folder, a pipe, a device), is larger
/// than mostFileBytes, is no picture or one of more than mostPixels (decoding/decoder.h), or is one
/// whose decoding crashes or needs more than \a mostMs milliseconds or mostDecodingBytes.
///
/// On Linux the decoding happens in a child process without an own program, which is gone when the
/// call returns: so no file, whatever its content, takes the calling process with it. Elsewhere it
/// happens in the calling process, and only the limits of size hold.
QImage loadPicture(const QString &path, int mostMs = mostDecodingMs);

} // namespace kivra
