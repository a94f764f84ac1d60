#include "rendu/bench.h"

#include "rendu/faults.h"
#include "rendu/orientation.h"

#include <QEventLoop>

namespace kivra::rendu {

Bench::Bench(int threads)
    : renderer(threads)
{
}

// The event loop also ends when the thread is told to quit.
QImage Bench::decode(const QString &source, bool *quits)
{
    QImage picture;
    QEventLoop loop;
    QObject::connect(&decoder, &PictureDecoder::finished, &loop, [&](const QImage &opened) {
        picture = opened;
        loop.quit();
    });
    decoder.open(source);
    loop.exec();
    *quits = decoder.isBusy();
    return picture;
}

QImage Bench::render(const QString &source, const FrameSettings &settings, QString *fault)
{
    *fault = sourceFault(source);
    if (!fault->isEmpty())
        return {};
    const int orientation = orientationOf(source);
    bool quits = false;
    QImage picture = decode(source, &quits);
    if (picture.isNull() && !quits)
        *fault = QStringLiteral("Kivra ne sait pas ouvrir cette image, ou elle est trop grande");
    if (picture.isNull())
        return {};
    picture = upright(picture, orientation);
    QImage rendered = renderer.render({picture, true}, settings).image;
    if (rendered.isNull())
        *fault = QStringLiteral("la mémoire manque pour cette image");
    return rendered;
}

} // namespace kivra::rendu
