#pragma once

#include <QPixmap>
#include <QPoint>
#include <QWidget>
#include <memory>

class QTimer;

namespace kivra {
struct ScaledPlace;
}

/// The view in the middle of the window: paints one picture, centred and scaled, which the wheel
/// zooms and the mouse moves. Scaled, each pixel of the screen is the mean of all that it covers.
/// A double left click asks for a capture; every press asks for the tool bar, for three seconds.
class PixmapWidget : public QWidget
{
    Q_OBJECT

public:
    explicit PixmapWidget(QWidget *parent = nullptr);
    ~PixmapWidget() override;

    /// The time after a left press within which a second one asks for a capture.
    static constexpr int doubleClickMs = 400;

    /// True while a mouse button is held on the view and while the window processes a frame: live
    /// frames that arrive meanwhile are dropped. It ends soon after the button is let go, even
    /// where a menu or a modal box that has opened in between takes the release.
    bool busy = false;

signals:
    /// For the window's status bar; so far the view has nothing to say there.
    void displayOnStatusBar(QString text);
    /// A second left press within 400 ms of the first.
    void captureImage();
    /// The tool bar is wanted (true, at each press) or no longer (false, 3 s after the last one).
    void menuGraphique(bool show);

public slots:
    /// Sets the user's zoom, limited to 0.125 .. 8, and repaints at once if it is another one.
    void setZoomFactor(float factor);
    /// Sets the scale that fits the picture to the view; not limited, not repainted.
    void setScaleFactor(float factor);
    /// Sets the scale at which the view shows the whole of a picture of this size, and again at
    /// each resize until another scale is set; not repainted. Nothing happens for an empty size.
    void fitPicture(QSize picture);
    /// Moves the picture back to the middle, at the next painting.
    void resetPos();
    /// Shows this picture, painted before the call returns. A null pixmap shows none.
    void setPixmap(QPixmap picture);
    /// Writes what the view shows (picture, background and frame) to \a fName, in the format of its
    /// suffix. A file that cannot be written whole is not reported, and does not replace one of
    /// that name.
    void saveToFile(QString fName);
    /// The time of the tool bar is over.
    void bTimerSlot();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    struct Placement;
    void forgetLostPress();
    Placement placement() const;
    void paintSurroundings(QPainter &painter, const Placement &at) const;
    void paintPicture(QPainter &painter, const Placement &at, const QRect &exposed);
    void paintScaled(QPainter &painter, const kivra::ScaledPlace &place, const QRect &exposed);

    std::unique_ptr<QPixmap> pixmap;
    float zoomFactor = 1.0F;
    float scaleFactor = 1.0F;
    QSize fitted;        ///< what is fitted at each resize; empty for nothing
    QPoint lastMousePos; ///< on the screen, at the last press or move
    QPoint pos;          ///< pan offset, the sum of all drags
    std::unique_ptr<QTimer> clickTimer;
    std::unique_ptr<QTimer> menuTimer;
    std::unique_ptr<QTimer> heldTimer; ///< until the next look whether a button is still held
};
