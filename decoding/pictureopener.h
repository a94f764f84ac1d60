#pragma once

#include "decoding/picturedecoder.h"

#include <QImage>
#include <QObject>
#include <QString>
#include <array>

namespace kivra {

/// Opens stored pictures for a user who looks at one after the other: only the last request counts,
/// and the picture that is likely to be next is decoded ahead of its request.
///
/// Besides the picture opened last, at most two are held: the one before it and the one decoded
/// ahead, neither larger than mostHeldPixels. A picture that is held, or was opened last, is opened
/// from memory as long as its file has not changed.
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

    /// Opens the picture at \a path. opened() tells the outcome: within this call if the picture is
    /// held or there is no such file, otherwise later. Any other picture being opened is given up,
    /// without opened().
    void open(const QString &path);
    /// Gives up the picture being opened, if any; opened() is not emitted.
    void giveUp();
    bool isOpening() const { return !wanted.isEmpty(); }
    /// The path of the picture being opened; empty if there is none.
    QString path() const { return wanted; }
    /// Waits for the picture being opened, without an event loop.
    void wait();

    /// Decodes the picture at \a path in the background, unless it is held already or a picture is
    /// being opened.
    void lookAhead(const QString &path);
    /// Drops all pictures in memory, and stops decoding ahead.
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
    std::size_t active = 0;                   // opens the wanted picture; the other one looks ahead
    QString wanted;
    QString expected; // being decoded ahead
    Held last;
    Held before;
    Held ahead;
};

} // namespace kivra
