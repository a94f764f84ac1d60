#pragma once

#include <QByteArray>
#include <QString>

namespace kivra::test {

/// The path of a file of this name in the sandbox's Documents folder.
QString pathOf(const QString &name);

/// Writes that file, and returns its path. Ends the program if it cannot be written.
QString written(const QString &name, const QByteArray &content);

/// All that the file at \a path has, whatever kind of file it is; empty if it cannot be read.
QByteArray contentOf(const QString &path);

} // namespace kivra::test
