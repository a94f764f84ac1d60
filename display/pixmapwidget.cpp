#include "display/pixmapwidget.h"

#include "display/areascaler.h"
#include "storage/wholefile.h"

#include <QBuffer>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QPaintEngine>
#include <QPainter>
#include <QTimer>
#include <algorithm>

namespace {

constexpr float smallestZoom = 0.125F;
constexpr float largestZoom = 8.0F;
constexpr double zoomPerDelta = 0.001;
constexpr int menuMs = 3000;
constexpr int heldButtonMs = 50;
constexpr QSize startSize(640, 480);

float limitedZoom(float factor)
{
    return std::max(std::min(largestZoom, factor), smallestZoom);
}

// Truncates, and clamps: a very long strip, scaled up, leaves the range of int. Nothing so far out
// is visible, and the limit leaves room for the painter's own arithmetic.
int toPixel(double length)
{
    constexpr double limit = 1 << 29;
    return int(std::clamp(length, -limit, limit));
}

// Along one axis: where the picture begins in the view.
int origin(int view, float picture, float panned)
{
    double start = double(float(view) - picture) * 0.5;
    const bool fits = float(view) > picture;
    if (!fits)
        start += double(panned);
    return toPixel(start);
}

// The picture as premultiplied 32-bit words. On a screen of another depth, the pixmap has another
// format.
QImage pixelWords(const QPixmap &pixmap)
{
    const QImage picture = pixmap.toImage(); // shared
    if (pixmap.hasAlpha())
        return picture.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    return picture.convertToFormat(QImage::Format_RGB32);
}

// The image that the painter paints on, if its pixels can be written directly; otherwise null. On a
// large screen, copying them would take as long as computing them.
QImage *canvasOf(const QPainter &painter)
{
    QPaintDevice *const device = painter.paintEngine()->paintDevice();
    const bool isClipped = !painter.paintEngine()->systemClip().isEmpty(); // to this widget
    if (device->devType() != QInternal::Image || !isClipped)
        return nullptr;
    auto *const canvas = static_cast<QImage *>(device);
    const QImage::Format format = canvas->format();
    const bool takesWords =
        format == QImage::Format_RGB32 || format == QImage::Format_ARGB32_Premultiplied;
    return takesWords ? canvas : nullptr;
}

} // namespace

// Where and how large the picture lies in the view.
struct PixmapWidget::Placement
{
    float scale;
    float width;
    float height;
    QPoint origin;
};

PixmapWidget::PixmapWidget(QWidget *parent)
    : QWidget(parent)
    , pixmap(std::make_unique<QPixmap>(startSize))
    , clickTimer(std::make_unique<QTimer>())
    , menuTimer(std::make_unique<QTimer>())
    , heldTimer(std::make_unique<QTimer>())
{
    pixmap->fill(Qt::black);
    clickTimer->setSingleShot(true);
    menuTimer->setSingleShot(true);
    setAttribute(Qt::WA_OpaquePaintEvent);
    heldTimer->setSingleShot(true);
    connect(menuTimer.get(), SIGNAL(timeout()), this, SLOT(bTimerSlot()));
    connect(heldTimer.get(), &QTimer::timeout, this, &PixmapWidget::forgetLostPress);
}

PixmapWidget::~PixmapWidget() = default;

// When a menu or a blocked window takes the release, no widget receives it; so ask the application
// for the state of the buttons.
void PixmapWidget::forgetLostPress()
{
    if (QGuiApplication::mouseButtons() == Qt::NoButton)
        busy = false;
    else
        heldTimer->start(heldButtonMs);
}

void PixmapWidget::setZoomFactor(float factor)
{
    if (factor == zoomFactor)
        return;
    zoomFactor = limitedZoom(factor);
    repaint();
}

void PixmapWidget::setScaleFactor(float factor)
{
    scaleFactor = factor;
    fitted = QSize();
}

void PixmapWidget::fitPicture(QSize picture)
{
    if (picture.isEmpty())
        return;
    scaleFactor = std::min(float(width()) / float(picture.width()),
                           float(height()) / float(picture.height()));
    fitted = picture;
}

void PixmapWidget::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    fitPicture(fitted);
}

void PixmapWidget::resetPos()
{
    pos = QPoint(0, 0);
}

void PixmapWidget::setPixmap(QPixmap picture)
{
    pixmap = std::make_unique<QPixmap>(picture);
    repaint();
}

// The live picture stands still meanwhile, so this does not wait for the disk.
void PixmapWidget::saveToFile(QString fName)
{
    const QImage shown = grab(visibleRegion().boundingRect()).toImage();
    const QByteArray format = QFileInfo(fName).suffix().toLatin1();
    QBuffer content;
    content.open(QIODevice::WriteOnly);
    if (shown.save(&content, format.constData()))
        writeWholeFile(fName, content.data());
}

void PixmapWidget::bTimerSlot()
{
    emit menuGraphique(false);
}

void PixmapWidget::mousePressEvent(QMouseEvent *event)
{
    busy = true;
    if (QGuiApplication::mouseButtons() != Qt::NoButton)
        heldTimer->start(heldButtonMs);
    lastMousePos = event->globalPos();
    if (event->button() == Qt::LeftButton) {
        if (clickTimer->isActive())
            emit captureImage();
        else
            clickTimer->start(doubleClickMs);
    }
    menuTimer->start(menuMs);
    emit menuGraphique(true);
}

void PixmapWidget::mouseReleaseEvent(QMouseEvent *)
{
    busy = false;
}

void PixmapWidget::mouseMoveEvent(QMouseEvent *event)
{
    const QPoint now = event->globalPos();
    pos += now - lastMousePos;
    lastMousePos = now;
    repaint();
}

void PixmapWidget::wheelEvent(QWheelEvent *event)
{
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    const int delta = event->delta(); // of the axis that turned; angleDelta() gives both
    QT_WARNING_POP
    const float turned = limitedZoom(float((delta * zoomPerDelta + 1.0) * double(zoomFactor)));
    if (turned == zoomFactor)
        return;
    zoomFactor = turned;
    repaint();
}

PixmapWidget::Placement PixmapWidget::placement() const
{
    const float scale = zoomFactor * scaleFactor;
    const float pictureWidth = float(pixmap->width()) * scale;
    const float pictureHeight = float(pixmap->height()) * scale;
    return {scale,
            pictureWidth,
            pictureHeight,
            {origin(width(), pictureWidth, zoomFactor * float(pos.x())),
             origin(height(), pictureHeight, zoomFactor * float(pos.y()))}};
}

// Qt would paint the parent's background under the whole picture, which costs as much as the
// picture itself. This paints it beside the picture and one pixel under its edges, where rounding
// may leave a gap.
void PixmapWidget::paintSurroundings(QPainter &painter, const Placement &at) const
{
    constexpr int edge = 1;
    QRegion surroundings(rect());
    if (!pixmap->hasAlpha())
        surroundings -=
            QRect(at.origin, QSize(toPixel(double(at.width)), toPixel(double(at.height))))
                .adjusted(edge, edge, -edge, -edge);
    for (const QRect &part : surroundings)
        painter.fillRect(part, palette().window());
}

void PixmapWidget::paintPicture(QPainter &painter, const Placement &at, const QRect &exposed)
{
    const QTransform toScreen = painter.deviceTransform();
    const kivra::ScaledPlace place{toScreen.map(QPointF(at.origin)),
                                   toScreen.m11() * double(at.scale)};
    painter.save();
    painter.setTransform(toScreen.inverted()); // from here on in pixels of the screen
    if (place.scale == 1)
        painter.drawPixmap(place.origin, *pixmap);
    else
        paintScaled(painter, place, toScreen.mapRect(QRectF(exposed)).toAlignedRect());
    painter.restore();
}

// Computes only the exposed pixels.
void PixmapWidget::paintScaled(QPainter &painter, const kivra::ScaledPlace &place,
                               const QRect &exposed)
{
    const QRect visible = kivra::pixelsFilled(pixmap->size(), place) & exposed;
    if (visible.isEmpty())
        return;
    const QImage picture = pixelWords(*pixmap);
    QImage *const canvas = pixmap->hasAlpha() ? nullptr : canvasOf(painter);
    if (!canvas) {
        painter.drawImage(visible.topLeft(), scaledByArea(picture, place, visible));
        return;
    }
    for (const QRect &part : painter.paintEngine()->systemClip() & visible & canvas->rect())
        drawByArea(picture, place, part, *canvas);
}

void PixmapWidget::paintEvent(QPaintEvent *event)
{
    QWidget::paintEvent(event);
    const Placement at = placement();

    QPainter painter(this);
    paintSurroundings(painter, at);
    paintPicture(painter, at, event->rect());

    const bool backgroundShows = float(width()) > at.width || float(height()) > at.height;
    if (backgroundShows) {
        const QPoint size(toPixel(double(at.width + 1)), toPixel(double(at.height + 1)));
        const QRect frame(at.origin - QPoint(1, 1), at.origin + size - QPoint(2, 2));
        painter.setPen(Qt::black);
        painter.drawRects(&frame, 1);
    }
}
