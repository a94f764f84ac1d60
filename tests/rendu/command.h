#pragma once

#include <QImage>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <vector>

namespace kivra::test {

/// The command kivra-rendu, in a folder of the sandbox that is empty at first.
class Command
{
public:
    Command();

    /// Path of a file of this name in the folder; the folder itself for an empty one.
    QString path(const QString &name = {}) const;
    /// Writes a picture there, in the format of its suffix, and returns its path.
    QString picture(const QString &name, const QImage &content) const;
    /// Writes this content there, and returns its path.
    QString file(const QString &name, const QByteArray &content) const;
    /// Names of the files in a folder there, sorted, hidden ones too.
    QStringList filesIn(const QString &folder) const;
    QByteArray contentOf(const QString &name) const;
    /// A result as opaque words of 32 bits; null if it is no picture.
    QImage result(const QString &name) const;
    /// Sets a file's time to \a seconds ago.
    void age(const QString &name, int seconds) const;

    /// Runs the command, waits for it and returns its exit status; -1 if it does not exit.
    int run(const QStringList &arguments, const QByteArray &input = {});
    /// The same by another program, which gets \a before, the command's path and \a arguments.
    int runBy(const QString &program, const QStringList &before, const QStringList &arguments);
    /// Starts the command.
    void start(QProcess *process, const QStringList &arguments) const;

    QString out;        ///< what it printed last
    QString complaints; ///< on the error stream
    int complaintLines() const { return int(complaints.count(QLatin1Char('\n'))); }

    /// What a command of this kind has written to its error stream since the last call. Under the
    /// sanitizers only its own lines: there the decoder's words are not dropped.
    static QString complaintsOf(QProcess *process);
    static QString program();
};

/// A picture that no compression makes small, the same for the same number.
QImage noise(const QSize &size, unsigned int number);

/// The words between the spaces of a line.
QStringList words(const char *line);

} // namespace kivra::test
