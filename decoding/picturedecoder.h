#pragma once

#include "decoding/decoder.h"
#include "decoding/picturefile.h"

#include <QImage>
#include <QObject>
#include <QString>
#include <memory>

namespace kivra {

/// How long the decoding of one picture may take, in milliseconds.
struct DecodingLimits
{
    qint64 processorMs = 60000; ///< of the decoder's processor time
    qint64 stillMs = 60000;     ///< without an answer and without any processor time used
};

/// Opens picture files of any origin, one at a time; needs no window. Pictures are opaque, in
/// Format_RGB32, in memory that no decoder shares. Several decoders may work at the same time.
///
/// The picture is null if the file cannot be read, is no regular file (a folder, a pipe, a device),
/// is larger than mostFileBytes, is no picture, or is a picture of more than mostPixels
/// (decoding/decoder.h); also if decoding crashes or exceeds a limit or mostDecodingBytes.
///
/// On Linux a separate program (program/) decodes, with access to nothing but the file, libraries
/// and fonts; it stays for later pictures and is replaced after any failure. Elsewhere the calling
/// process decodes: only the limits of size hold, and open() takes as long as the decoding.
///
/// Belongs to the thread that creates it. That thread needs an event loop for open(), but not for
/// load().
class PictureDecoder : public QObject
{
    Q_OBJECT

public:
    /// The decoder program that is installed beside the running program.
    static QString installedProgram();

    explicit PictureDecoder(QObject *parent = nullptr);
    PictureDecoder(const QString &program, const DecodingLimits &limits, QObject *parent = nullptr);
    ~PictureDecoder() override;

    /// Starts the decoder program unless it runs, so that the next picture need not wait for that.
    void prepare();

    /// Begins to open the picture at \a path; if there is no such file, tries the suffixes of all
    /// formats behind the name. Gives up the picture in progress, if any. finished() tells the
    /// outcome, later and never from within this call. A picture of more than \a mostOfIt pixels
    /// counts as none.
    void open(const QString &path, qint64 mostOfIt = mostPixels);
    /// Raises the limit in pixels for the picture in progress, as long as its size is not known.
    void allow(qint64 mostOfIt);
    /// Gives up the picture in progress, if any: finished() is not emitted, and the decoder program
    /// is replaced.
    void cancel();
    /// True from open() until finished() or cancel().
    bool isBusy() const;
    /// The state of the file last opened, as it was then.
    FileState fileState() const;

    /// Waits for the picture in progress, without an event loop, and emits finished(). Does nothing
    /// if there is none.
    void wait();
    /// Opens the picture at \a path and waits for it; finished() is emitted too.
    QImage load(const QString &path);

signals:
    void finished(const QImage &picture);

private:
    class Private;
    std::unique_ptr<Private> d;
};

} // namespace kivra
