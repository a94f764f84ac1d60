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

/// Opens picture files of any origin, one at a time, without a window: pictures come out in
/// Format_RGB32, opaque, in memory that no decoder sees. Several decoders work at the same time.
///
/// A null picture comes out of a file that cannot be read, is no regular file (a folder, a pipe, a
/// device), is larger than mostFileBytes, is no picture or one of more than mostPixels
/// (decoding/decoder.h), or is one whose decoding crashes or exceeds a limit or mostDecodingBytes.
///
/// On Linux a program of its own decodes (program/), which has no access to anything but the file;
/// it stays for the pictures to come and is replaced after any failure. Elsewhere the calling
/// process decodes, and only the limits of size hold: open() then takes as long as the decoding.
///
/// Belongs to the thread that makes it, which needs an event loop for open(), not for load().
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

    /// Begins to open the picture at \a path, with the suffixes of all formats tried behind a name
    /// that does not exist; finished() tells the outcome, later and never from within this call.
    /// What was under way is given up. Pictures of more than \a mostOfIt pixels count as none.
    void open(const QString &path, qint64 mostOfIt = mostPixels);
    /// Raises the limit in pixels of what is under way, as far as its size is not known yet.
    void allow(qint64 mostOfIt);
    /// Gives up what is under way: finished() is not emitted. The decoder program is replaced.
    void cancel();
    /// True from open() until finished() or cancel().
    bool isBusy() const;
    /// Of the file last opened, as it was then.
    FileState fileState() const;

    /// Waits for what is under way, without an event loop, and emits finished(). Does nothing when
    /// nothing is.
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
