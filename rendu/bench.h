#pragma once

#include "decoding/picturedecoder.h"
#include "render/renderer.h"

#include <QImage>
#include <QString>

namespace kivra::rendu {

/// Opens one picture after the other, turns it upright and renders it as the window would. Belongs
/// to the thread that creates it, a QThread.
class Bench
{
public:
    /// Rendering uses up to \a threads threads.
    explicit Bench(int threads);

    /// The rendered picture, opaque, in Format_RGB32. If it is null, \a fault gives the reason, in
    /// French; no reason means that the thread was told to quit meanwhile.
    QImage render(const QString &source, const FrameSettings &settings, QString *fault);

private:
    QImage decode(const QString &source, bool *quits);

    PictureDecoder decoder;
    Renderer renderer;
};

} // namespace kivra::rendu
