#include "decoding/pictureopener.h"

#include "decoding/opaquecopy.h"

#include <utility>

namespace kivra {

PictureOpener::PictureOpener(QObject *parent)
    : PictureOpener(PictureDecoder::installedProgram(), {}, parent)
{
}

PictureOpener::PictureOpener(const QString &program, const DecodingLimits &limits, QObject *parent)
    : QObject(parent)
{
    for (std::size_t number = 0; number < decoders.size(); ++number) {
        decoders[number] = new PictureDecoder(program, limits, this);
        connect(decoders[number], &PictureDecoder::finished, this,
                [this, number](const QImage &picture) { finish(number, picture); });
    }
}

void PictureOpener::prepare()
{
    opening().prepare();
}

void PictureOpener::open(const QString &path)
{
    if (isOpening() && path == wanted)
        return;
    // The decoder of the abandoned picture has to be replaced; the other one is ready.
    if (isOpening()) {
        giveUp();
        active = 1 - active;
    }
    Held held = takeHeld(path);
    if (!held.picture.isNull()) {
        stopLookingAhead();
        show(std::move(held));
        return;
    }
    if (!stateOf(pictureFile(path)).isFile()) {
        show({path, {}, {}});
        return;
    }
    wanted = path;
    if (expected == path) {
        expected = QString();
        active = 1 - active;
        opening().allow(mostPixels);
        return;
    }
    stopLookingAhead();
    opening().open(path);
}

void PictureOpener::giveUp()
{
    if (!isOpening())
        return;
    wanted = QString();
    opening().cancel();
}

void PictureOpener::wait()
{
    while (isOpening())
        opening().wait();
}

void PictureOpener::lookAhead(const QString &path)
{
    if (isOpening() || path.isEmpty() || path == expected || path == last.path ||
        path == ahead.path || path == before.path)
        return;
    stopLookingAhead();
    ahead = Held();
    expected = path;
    spare().open(path, mostHeldPixels);
}

void PictureOpener::forget()
{
    stopLookingAhead();
    last = Held();
    before = Held();
    ahead = Held();
    forgetCopies();
}

void PictureOpener::stopLookingAhead()
{
    if (!expected.isEmpty())
        spare().cancel();
    expected = QString();
}

void PictureOpener::finish(std::size_t decoder, const QImage &picture)
{
    const FileState file = decoders[decoder]->fileState();
    if (decoder == active && isOpening()) {
        show({std::exchange(wanted, QString()), file, picture});
    } else if (!expected.isEmpty()) {
        ahead = {std::exchange(expected, QString()), file, picture};
    }
}

// A slot of opened() may open another picture, or delete this object.
void PictureOpener::show(Held picture)
{
    const bool isTooLarge = qint64(last.picture.width()) * last.picture.height() > mostHeldPixels;
    if (picture.path != last.path) // at either end, a step opens the same picture again
        before = isTooLarge ? Held() : std::move(last);
    last = picture.picture.isNull() ? Held() : picture;
    const Held told = std::move(picture);
    emit opened(told.path, told.picture);
}

PictureOpener::Held PictureOpener::takeHeld(const QString &path)
{
    for (Held *const held : {&last, &ahead, &before}) {
        if (held->path == path && !held->picture.isNull()) {
            Held taken = held == &last ? last : std::exchange(*held, Held());
            return stateOf(pictureFile(path)) == taken.file ? taken : Held();
        }
    }
    return {};
}

} // namespace kivra
