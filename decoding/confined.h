#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

namespace kivra {

/// The content of a regular file of at most mostFileBytes (decoding/picturefile.h); empty for
/// anything else. Never waits at a pipe or a device.
QByteArray contentOfFile(const QString &path);

/// The picture that this content is, in Format_RGB32; null when it is none, or one beyond the
/// limits of loadPicture() (decoding/picturefile.h). confined_linux.cpp keeps to all of them, in a
/// child process, with \a mostMs milliseconds as that of time; confined_portable.cpp to those of
/// size, in the process itself.
QImage decodeConfined(const QByteArray &content, int mostMs);

} // namespace kivra
