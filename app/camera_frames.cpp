// The path of every picture: frame in, mode, table, effect, picture out; choosing mode and effect.

#include "app/camera.h"

#include "render/renderer.h"
#include "storage/settings.h"
#include "ui_camera.h"
#include "video/videosurface.h"

namespace {

// The centre of the frame, half as wide and half as high.
QRect reducedField(const QSize &frame)
{
    const int left = frame.width() / 4;
    const int top = frame.height() / 4;
    return {left, top, 2 * left, 2 * top};
}

// Shares the pixels and keeps them alive. A part of no width and no height gives the whole picture,
// one of no width or no height a null picture.
QImage partOf(const QImage &picture, const QRect &part)
{
    if (part.isNull())
        return picture;
    if (part.isEmpty())
        return {};
    const auto letGo = [](void *held) { delete static_cast<QImage *>(held); };
    const uchar *first = picture.constScanLine(part.top()) + qsizetype(part.left()) * 4;
    return {first, part.width(),       part.height(), picture.bytesPerLine(), picture.format(),
            letGo, new QImage(picture)};
}

} // namespace

// Drops a frame that arrives while another is processed, while the user holds the picture, while a
// box reports a file that cannot be opened, or when no live picture is wanted.
void Camera::displayImage()
{
    bool &busy = ui->displayWidget->busy;
    if (busy || failureStands || !wantsLivePicture())
        return;
    busy = true;
    const QImage frame = videoSurface->frame();
    lastFrame = smallField ? partOf(frame, reducedField(frame.size())) : frame;
    lastFrameIsOpaque = videoSurface->isOpaque();
    fitLivePicture();
    updateDisplay();
    ++framesDisplayed;
    busy = false;
}

// Fits the first frame after a start, if the settings ask for it; from then on the view fits it
// again at each resize. Otherwise a live picture keeps its scale.
void Camera::fitLivePicture()
{
    if (!isFirstFrame)
        return;
    isFirstFrame = false;
    if (settings::fitLive.stored())
        ui->displayWidget->fitPicture(lastFrame.size());
}

// A frame that cannot be rendered leaves the last picture on the screen.
void Camera::updateDisplay()
{
    QImage picture = lastFrame;
    fProcessing(&picture, imageProcessing, displayMode);
    if (picture.isNull() && !lastFrame.isNull())
        return;
    ui->displayWidget->setPixmap(QPixmap::fromImage(picture));
    update();
}

void Camera::fProcessing(QImage *pImg, int mode, int effect)
{
    const int pixelCount = pImg->width() * pImg->height();
    const kivra::Rendering rendering =
        renderer->render({*pImg, lastFrameIsOpaque}, {mode, effect, lumiere, contraste});
    *pImg = rendering.image;
    if (pImg->isNull() && pixelCount > 0)
        return;

    // An empty picture divides by zero; the results are floating-point and only displayed.
    lastPixelCount = pixelCount;
    constexpr double msPerMpInSecondsPerPixel = 1e9;
    processingTimeMsPerMp = rendering.times.mode * msPerMpInSecondsPerPixel / lastPixelCount;
    displayTimeMsPerMp = rendering.times.effect * msPerMpInSecondsPerPixel / lastPixelCount;
}

std::array<QAction *, 7> Camera::modeActions() const
{
    return {ui->actionTrNormal,        ui->actionAutomatique,     ui->actionEclairage_difficile,
            ui->actionTexte,           ui->actionTexte_manuscrit, ui->actionTableau_vert,
            ui->actionEffet_artistique};
}

std::array<QAction *, 4> Camera::effectActions() const
{
    return {ui->actionNormal, ui->actionNoir_et_blanc, ui->actionNegatif, ui->actionBicolore};
}

// The artistic mode is left out of the cycle: only its own action selects it.
void Camera::on_actionEffet_triggered()
{
    imageProcessing = imageProcessing <= 4 ? imageProcessing + 1 : 0;
    QAction *const action = modeActions()[size_t(imageProcessing)];
    action->setChecked(true);
    displayMsg(action->text());
    updateDisplay();
}

void Camera::on_actionMode_triggered()
{
    displayMode = displayMode <= 2 ? displayMode + 1 : 0;
    QAction *const action = effectActions()[size_t(displayMode)];
    action->setChecked(true);
    displayMsg(action->text());
    updateDisplay();
}

void Camera::on_actionTrNormal_triggered()
{
    imageProcessing = 0;
}

void Camera::on_actionAutomatique_triggered()
{
    imageProcessing = 1;
}

void Camera::on_actionEclairage_difficile_triggered()
{
    imageProcessing = 2;
}

void Camera::on_actionTexte_triggered()
{
    imageProcessing = 3;
}

void Camera::on_actionTexte_manuscrit_triggered()
{
    imageProcessing = 4;
}

void Camera::on_actionTableau_vert_triggered()
{
    imageProcessing = 5;
}

void Camera::on_actionEffet_artistique_triggered()
{
    imageProcessing = 6;
}

void Camera::toggleEffect(int effect)
{
    displayMode = displayMode == effect ? 0 : effect;
}

void Camera::on_actionNormal_triggered()
{
    displayMode = 0;
}

void Camera::on_actionNoir_et_blanc_triggered()
{
    toggleEffect(1);
}

void Camera::on_actionNegatif_triggered()
{
    toggleEffect(2);
}

void Camera::on_actionBicolore_triggered()
{
    toggleEffect(3);
}
