#include "decoding/opaquecopy.h"
#include "decoding/picturedecoder.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QTimer>

namespace kivra {

namespace {

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    if (!stateOf(path).isFile() || !file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

QImage decodeHere(const QByteArray &content, qint64 mostOfIt)
{
    QImage picture;
    const QSize size = decodePicture(content, [&](const QSize &wanted, int) -> uchar * {
        if (qint64(wanted.width()) * wanted.height() > mostOfIt)
            return nullptr;
        if (picture.size() != wanted)
            picture = QImage(wanted, QImage::Format_RGB32);
        return picture.bits();
    });
    return size.isEmpty() ? QImage() : picture;
}

} // namespace

FileState stateOf(const QString &path)
{
    const QFileInfo is(path);
    if (!is.isFile() || is.size() > mostFileBytes)
        return {};
    constexpr qint64 nsPerMs = 1000000;
    return {0, 0, is.size(), is.lastModified().toMSecsSinceEpoch() * nsPerMs,
            is.metadataChangeTime().toMSecsSinceEpoch() * nsPerMs};
}

class PictureDecoder::Private
{
public:
    QImage picture;
    FileState file;
    QTimer outcome;
};

QString PictureDecoder::installedProgram()
{
    return {};
}

PictureDecoder::PictureDecoder(QObject *parent)
    : PictureDecoder(QString(), {}, parent)
{
}

PictureDecoder::PictureDecoder(const QString &, const DecodingLimits &, QObject *parent)
    : QObject(parent)
    , d(std::make_unique<Private>())
{
    d->outcome.setSingleShot(true);
    connect(&d->outcome, &QTimer::timeout, this, [this] { emit finished(std::move(d->picture)); });
}

PictureDecoder::~PictureDecoder() = default;

void PictureDecoder::prepare() {}

void PictureDecoder::open(const QString &path, qint64 mostOfIt)
{
    const QString file = pictureFile(path);
    d->file = stateOf(file);
    const QByteArray content = contentOf(file);
    d->picture = content.isEmpty() ? QImage() : decodeHere(content, mostOfIt);
    d->outcome.start(0);
}

void PictureDecoder::allow(qint64) {}

void PictureDecoder::cancel()
{
    d->outcome.stop();
    d->picture = QImage();
}

bool PictureDecoder::isBusy() const
{
    return d->outcome.isActive();
}

FileState PictureDecoder::fileState() const
{
    return d->file;
}

void PictureDecoder::wait()
{
    if (!isBusy())
        return;
    d->outcome.stop();
    emit finished(std::move(d->picture));
}

QImage PictureDecoder::load(const QString &path)
{
    open(path);
    QImage loaded = d->picture;
    wait();
    return loaded;
}

} // namespace kivra
