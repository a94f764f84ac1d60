#pragma once

#include "decoding/picturedecoder.h"
#include "render/renderer.h"

#include <QImage>
#include <QString>

namespace kivra::rendu {

/// Where one picture after the other is opened and rendered, each as the window shows it after it
/// was turned upright. Belongs to the thread that makes it, a QThread.
class Bench
{
public:
    /// Rendering uses so many threads.
    explicit Bench(int threads);

    /// The rendered picture, opaque, in Format_RGB32. Null when there is none, with the reason in
    /// \a fault, in French; and without a reason when the thread was told to quit meanwhile.
    QImage render(const QString &source, const FrameSettings &settings, QString *fault);

private:
    QImage decode(const QString &source, bool *quits);

    PictureDecoder decoder;
    Renderer renderer;
};

} // namespace kivra::rendu
