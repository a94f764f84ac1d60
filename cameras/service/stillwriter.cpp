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
    // The only resource that writing a file can exhaust is the space on its disk.
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
    begin(request, [request, picture](QSaveFile &file) { return encode(request, picture, file); });
}

void StillWriter::write(const StillRequest &request, const QByteArray &encoded)
{
    begin(request, [request, encoded](QSaveFile &file) {
        return file.write(encoded) == encoded.size() ? Outcome{} : cannotWrite(request, file);
    });
}

void StillWriter::begin(const StillRequest &request, const Content &content)
{
    const int generation = currentGeneration;
    // The job may use this object, because the destructor waits for it. An answer that is queued by
    // then is discarded together with its receiver.
    pool.start([this, request, content, generation] {
        const Outcome outcome = writeFile(request, content, generation);
        QMetaObject::invokeMethod(
            this, [=] { report(request, outcome, generation); }, Qt::QueuedConnection);
    });
}

void StillWriter::cancel()
{
    ++currentGeneration;
}

StillWriter::Outcome StillWriter::writeFile(const StillRequest &request, const Content &content,
                                            int generation) const
{
    if (generation != currentGeneration)
        return {};
    QSaveFile file(request.path);
    if (!file.open(QIODevice::WriteOnly))
        return cannotWrite(request, file);
    Outcome outcome = content(file);
    if (outcome.error != QCameraImageCapture::NoError || generation != currentGeneration)
        return outcome;
    // commit() would write what a small picture leaves in the buffer, but does not report when that
    // fails.
    return file.flush() && file.commit() ? Outcome{} : cannotWrite(request, file);
}

StillWriter::Outcome StillWriter::encode(const StillRequest &request, const QImage &picture,
                                         QSaveFile &file)
{
    QImageWriter writer(&file, request.codec.toLatin1());
    // PNG is lossless at any quality; the setting would only make it slower or larger.
    if (request.codec == QLatin1String("jpeg"))
        writer.setQuality(jpegQuality(request.quality));
    if (writer.write(picture))
        return {};
    if (file.error() != QFileDevice::NoError)
        return cannotWrite(request, file);
    return {QCameraImageCapture::FormatError,
            tr("Impossible de coder l'image « %1 » : %2").arg(request.path, writer.errorString())};
}

StillWriter::Outcome StillWriter::cannotWrite(const StillRequest &request, const QSaveFile &file)
{
    return {fileError(file),
            tr("Impossible d'écrire l'image « %1 » : %2").arg(request.path, file.errorString())};
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
