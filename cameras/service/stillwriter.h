#pragma once

#include "cameras/service/framesource.h"

#include <QThreadPool>
#include <atomic>
#include <functional>

class QSaveFile;

namespace kivra::cameras {

/// Encodes still pictures and writes their files on a thread of its own.
///
/// A file gets its name when it is complete, and then replaces an old one. The destructor waits for
/// the file being written, so that a picture already taken is not lost.
class StillWriter : public QObject
{
    Q_OBJECT

public:
    StillWriter();
    ~StillWriter() override;

    /// Writes \a picture as \a request says. Answered later by written() or failed().
    void write(const StillRequest &request, const QImage &picture);
    /// Likewise with \a encoded, a file that is complete.
    void write(const StillRequest &request, const QByteArray &encoded);
    /// Drops what is not yet written; it gets no answer.
    void cancel();

signals:
    void written(int id, const QString &path);
    void failed(int id, QCameraImageCapture::Error error, const QString &text);

private:
    struct Outcome
    {
        QCameraImageCapture::Error error = QCameraImageCapture::NoError;
        QString text;
    };

    using Content = std::function<Outcome(QSaveFile &file)>;

    void begin(const StillRequest &request, const Content &content);
    Outcome writeFile(const StillRequest &request, const Content &content, int generation) const;
    static Outcome encode(const StillRequest &request, const QImage &picture, QSaveFile &file);
    static Outcome cannotWrite(const StillRequest &request, const QSaveFile &file);
    void report(const StillRequest &request, const Outcome &outcome, int generation);

    // Read on the writing thread; a picture of an older generation has been cancelled.
    std::atomic<int> currentGeneration{0};
    QThreadPool pool;
};

} // namespace kivra::cameras
