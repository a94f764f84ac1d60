#include "cameras/service/stillwriter.h"

#include <QImageWriter>
#include <QSaveFile>

namespace kivra::cameras {

namespace {

/// JPEG quality 0 to 100 for a step of Qt's scale.
int jpegQuality(QMultimedia::EncodingQuality quality)
{
    switch (quality) {
    case QMultimedia::VeryLowQuality:
        return 20;
    case QMultimedia::LowQuality:
        return 45;
    case QMultimedia::NormalQuality:
        return 75;
    case QMultimedia::HighQuality:
        return 90;
    case QMultimedia::VeryHighQuality:
        return 98;
    }
    return 75;
}

QCameraImageCapture::Error fileError(const QSaveFile &file)
{
    // The only resource that a file being written exhausts is the room on its disk.
    return file.error() == QFileDevice::ResourceError ? QCameraImageCapture::OutOfSpaceError
                                                      : QCameraImageCapture::ResourceError;
}

} // namespace

StillWriter::StillWriter()
{
    pool.setMaxThreadCount(1);
}

StillWriter::~StillWriter()
{
    pool.waitForDone();
}

void StillWriter::write(const StillRequest &request, const QImage &picture)
{
    const int generation = currentGeneration;
    // The job may use this object: the destructor waits for it, and an answer that is still on its
    // way then is discarded with the object that it is addressed to.
    pool.start([this, request, picture, generation] {
        const Outcome outcome = encode(request, picture, generation);
        QMetaObject::invokeMethod(
            this, [=] { report(request, outcome, generation); }, Qt::QueuedConnection);
    });
}

void StillWriter::cancel()
{
    ++currentGeneration;
}

StillWriter::Outcome StillWriter::encode(const StillRequest &request, const QImage &picture,
                                         int generation) const
{
    if (generation != currentGeneration)
        return {};
    QSaveFile file(request.path);
    const auto cannotWrite = [&] {
        return Outcome{
            fileError(file),
            tr("Impossible d'écrire l'image « %1 » : %2").arg(request.path, file.errorString())};
    };
    if (!file.open(QIODevice::WriteOnly))
        return cannotWrite();
    QImageWriter writer(&file, request.codec.toLatin1());
    // PNG loses nothing at any quality, and Qt would only make it slower or larger.
    if (request.codec == QLatin1String("jpeg"))
        writer.setQuality(jpegQuality(request.quality));
    if (!writer.write(picture)) {
        if (file.error() != QFileDevice::NoError)
            return cannotWrite();
        return {
            QCameraImageCapture::FormatError,
            tr("Impossible de coder l'image « %1 » : %2").arg(request.path, writer.errorString())};
    }
    if (generation != currentGeneration)
        return {};
    // What a small picture leaves in the buffer would be written by commit(), which does not tell
    // when that fails.
    return file.flush() && file.commit() ? Outcome{} : cannotWrite();
}

void StillWriter::report(const StillRequest &request, const Outcome &outcome, int generation)
{
    if (generation != currentGeneration)
        return;
    if (outcome.error == QCameraImageCapture::NoError)
        emit written(request.id, request.path);
    else
        emit failed(request.id, outcome.error, outcome.text);
}

} // namespace kivra::cameras
