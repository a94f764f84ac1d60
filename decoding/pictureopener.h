#pragma once

#include "decoding/picturedecoder.h"

#include <QImage>
#include <QObject>
#include <QString>
#include <array>

namespace kivra {

/// Opens stored pictures for a user who looks at one after the other: the last request counts, and
/// the picture that is likely to be next is decoded ahead of its request.
///
/// Beside the picture that was opened last, two are held at most: the one before it, and the one
/// that is decoded ahead; neither has more than mostHeldPixels. A picture that is held, or was
/// opened last, is opened from memory as long as its file is as it was.
class PictureOpener : public QObject
{
    Q_OBJECT

public:
    /// 50 megapixels.
    static constexpr qint64 mostHeldPixels = 50000000;

    explicit PictureOpener(QObject *parent = nullptr);
    /// With this decoder program and these limits.
    PictureOpener(const QString &program, const DecodingLimits &limits, QObject *parent = nullptr);

    /// Starts a decoder, so that the first picture need not wait for that.
    void prepare();

    /// Opens the picture at \a path. opened() tells the outcome: within the call where the picture
    /// is held or where there is no such file, later otherwise. What was being opened is given up,
    /// without a word.
    void open(const QString &path);
    /// Gives up what is being opened; opened() is not emitted. Nothing happens when nothing is.
    void giveUp();
    bool isOpening() const { return !wanted.isEmpty(); }
    /// What is being opened; empty when nothing is.
    QString path() const { return wanted; }
    /// Waits for what is being opened, without an event loop.
    void wait();

    /// Decodes the picture at \a path in the background, unless it is held or one is being opened.
    void lookAhead(const QString &path);
    /// Drops what is held, and what is decoded ahead.
    void forget();

signals:
    /// \a picture is null when it cannot be opened (PictureDecoder tells what counts as such).
    void opened(const QString &path, const QImage &picture);

private:
    struct Held
    {
        QString path;
        FileState file;
        QImage picture;
    };

    PictureDecoder &opening() { return *decoders[active]; }
    PictureDecoder &spare() { return *decoders[1 - active]; }
    void finish(std::size_t decoder, const QImage &picture);
    void show(Held picture);
    Held takeHeld(const QString &path);
    void stopLookingAhead();

    std::array<PictureDecoder *, 2> decoders; // children of this
    std::size_t active = 0;                   // opens what is wanted; the other one looks ahead
    QString wanted;
    QString expected; // decoded ahead now
    Held last;
    Held before;
    Held ahead;
};

} // namespace kivra
