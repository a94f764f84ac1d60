#pragma once

#include <QPixmap>
#include <QPoint>
#include <QWidget>
#include <memory>

class QTimer;

namespace kivra {
struct ScaledPlace;
}

/// The view in the middle of the window: paints one picture, centred and scaled; the wheel zooms it
/// and the mouse moves it. When it is scaled, each pixel of the screen is the mean of all that it
/// covers. A double left click asks for a capture; every press asks for the tool bar, for three
/// seconds.
class PixmapWidget : public QWidget
{
    Q_OBJECT

public:
    explicit PixmapWidget(QWidget *parent = nullptr);
    ~PixmapWidget() override;

    /// The time after a left press within which a second one asks for a capture.
    static constexpr int doubleClickMs = 400;

    /// True while a mouse button is held on the view and while the window processes a frame: live
    /// frames that arrive meanwhile are dropped. False soon after the button is released, even if a
    /// menu or a modal box that opened in between took the release.
    bool busy = false;

signals:
    /// For the window's status bar; the view never emits it so far.
    void displayOnStatusBar(QString text);
    /// A second left press within 400 ms of the first.
    void captureImage();
    /// Show the tool bar (true, at each press) or hide it (false, 3 s after the last press).
    void menuGraphique(bool show);

public slots:
    /// Sets the user's zoom, limited to 0.125 .. 8, and repaints at once if it changes.
    void setZoomFactor(float factor);
    /// Sets the scale that fits the picture to the view; has no limits and does not repaint.
    void setScaleFactor(float factor);
    /// Sets the scale at which the view shows all of a picture of this size, and again at each
    /// resize until another scale is set; does not repaint. An empty size changes nothing.
    void fitPicture(QSize picture);
    /// Moves the picture back to the middle; seen at the next repaint.
    void resetPos();
    /// Shows this picture, painted before the call returns. A null pixmap shows none.
    void setPixmap(QPixmap picture);
    /// Writes what the view shows (picture, background and frame) to \a fName, in the format of its
    /// suffix. If the file cannot be written whole, that is not reported, and an old file of that
    /// name stays.
    void saveToFile(QString fName);
    /// Asks for the tool bar to be hidden: its time is over.
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
    std::unique_ptr<QTimer> heldTimer; ///< until the next check whether a button is still held
};
