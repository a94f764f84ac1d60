#include "docs/picturemaker/studio.h"

#include "cameras/demo/democatalogue.h"
#include "display/areascaler.h"
#include "tests/support/sandbox.h"
#include "video/videosurface.h"

#include <QDebug>
#include <QFile>
#include <QPainter>
#include <QTest>
#include <QVideoFrame>
#include <algorithm>
#include <atomic>
#include <cstring>
#include <iterator>

using kivra::test::Desktop;
using kivra::test::patienceMs;
using kivra::test::Sandbox;

namespace kivra::documents {

namespace {

constexpr int looksAlike = 5;
constexpr double moment = 3.4;    // of the scene, in seconds
constexpr int startingView = 662; // points, as wide as the view in the starting window
constexpr QRgb bareScreen = 0xff000000;
const QPoint nowhere(-1, -1);

QImage sceneOf(const QByteArray &device)
{
    const auto pictures = cameras::DemoCatalogue::pictures(device);
    QImage picture(Studio::frameSize, QImage::Format_RGB32);
    const std::atomic<bool> abandoned = false;
    if (!pictures || !pictures->make(picture, moment, 0.0, abandoned))
        qFatal("no scene %s", device.constData());
    return picture;
}

// The window's camera surface replaces the last pixels of a frame.
QImage asReceived(const QImage &frame)
{
    VideoSurface surface(nullptr);
    if (!surface.present(QVideoFrame(frame)))
        qFatal("the frame is not received");
    return surface.frame();
}

bool matches(const QImage &whole, QPoint at, const QImage &part)
{
    const size_t rowBytes = size_t(part.width()) * sizeof(QRgb);
    for (int row = 0; row < part.height(); ++row) {
        const auto *const line =
            reinterpret_cast<const QRgb *>(whole.constScanLine(at.y() + row)) + at.x();
        if (std::memcmp(line, part.constScanLine(row), rowBytes) != 0)
            return false;
    }
    return true;
}

// Where the window shows exactly this picture; nowhere if it does not. The edges are not compared:
// the view draws a frame over them.
QPoint placeOf(const QImage &picture, const QImage &window)
{
    const QImage inner = picture.copy(picture.rect().adjusted(1, 1, -1, -1));
    for (int y = 0; y <= window.height() - inner.height(); ++y) {
        for (int x = 0; x <= window.width() - inner.width(); ++x) {
            if (matches(window, {x, y}, inner))
                return {x - 1, y - 1};
        }
    }
    return nowhere;
}

// The part of the screen that windows cover. The bare screen is black.
QRect coveredPart(const QImage &screen)
{
    QRect covered;
    for (int y = 0; y < screen.height(); ++y) {
        const auto *const line = reinterpret_cast<const QRgb *>(screen.constScanLine(y));
        const auto *const end = line + screen.width();
        const auto isCovered = [](QRgb pixel) { return pixel != bareScreen; };
        const auto *const first = std::find_if(line, end, isCovered);
        if (first == end)
            continue;
        const auto last =
            std::find_if(std::reverse_iterator(end), std::reverse_iterator(first), isCovered);
        covered |= QRect(QPoint(int(first - line), y), QPoint(int(last.base() - line) - 1, y));
    }
    return covered;
}

} // namespace

Studio::Studio(const QDir &folder)
    : target(folder)
{
    qputenv("KIVRA_DEMO_SIZE",
            QByteArray::number(frameSize.width()) + 'x' + QByteArray::number(frameSize.height()));
    desktop = std::make_unique<Desktop>();
}

Studio::~Studio() = default;

void Studio::open(const QByteArray &name)
{
    Sandbox::instance().reset();
    QDir folder(Sandbox::instance().home() + QStringLiteral("/scene"));
    folder.removeRecursively();
    folder.mkpath(QStringLiteral("."));
    const QImage frame = sceneOf(name);
    frame.save(folder.filePath(QStringLiteral("scene.png")));
    scene = asReceived(frame);
    qputenv("KIVRA_DEMO_FOLDER", QFile::encodeName(folder.path()));
    start({});
    // The first of the window sizes has room for the whole picture.
    press("ctrl+z");
    waitForPicture({});
}

void Studio::openFile(const QImage &page)
{
    Sandbox::instance().reset();
    const QString path = Sandbox::instance().home() + QStringLiteral("/page.png");
    page.save(path);
    scene = page;
    start({path});
}

void Studio::start(const QStringList &arguments)
{
    if (!desktop->start(arguments) || !desktop->waitForMainWindow())
        qFatal("the program's window did not come");
}

void Studio::close()
{
    if (desktop->close() != 0)
        qFatal("the program did not end well");
}

void Studio::press(const char *keys) const
{
    desktop->key(QString::fromLatin1(keys));
}

void Studio::pressAndSee(const char *keys) const
{
    for (const QString &key : QString::fromLatin1(keys).split(QLatin1Char(' '))) {
        const QImage before = waitForStandstill();
        desktop->key(key);
        if (!QTest::qWaitFor([&] { return desktop->screen() != before; }, patienceMs))
            qFatal("the key %s changes nothing", qPrintable(key));
    }
}

void Studio::waitForDialog() const
{
    if (!desktop->waitForDialog())
        qFatal("no dialog came");
}

void Studio::waitForMainWindow() const
{
    if (!desktop->waitForMainWindow())
        qFatal("the dialog did not go");
}

void Studio::photographPicture(const char *name, const FrameSettings &settings,
                               const QRect &detail) const
{
    const QPoint place = waitForPicture(settings);
    keep(desktop->windowContent().copy(detail.translated(place)), name);
}

void Studio::photographReduced(const char *reduced, const char *leftOut, const QRect &detail) const
{
    const auto scale =
        double(float(startingView) / float(scene.width())); // in the view's precision
    const ScaledPlace origin{{0, 0}, scale};
    const QImage wanted = scaledByArea(scene, origin, pixelsFilled(scene.size(), origin));
    QPoint place = nowhere;
    const auto shows = [&] {
        place = placeOf(wanted, desktop->windowContent());
        return place != nowhere;
    };
    if (!QTest::qWaitFor(shows, patienceMs))
        qFatal("the window does not show the page");
    keep(desktop->windowContent().copy(detail.translated(place)), reduced);

    QImage plain(wanted.size(), QImage::Format_RGB32);
    QPainter painter(&plain);
    painter.scale(scale, scale);
    painter.drawImage(QPoint(0, 0), scene);
    painter.end();
    keep(plain.copy(detail), leftOut);
}

void Studio::photographWindow(const char *name, const QRect &part) const
{
    const QImage screen = waitForStandstill();
    const QImage window = screen.copy(coveredPart(screen));
    keep(part.isNull() ? window : window.copy(part), name);
}

void Studio::photographDialog(const char *name) const
{
    waitForStandstill();
    keep(desktop->dialogContent(), name);
}

// The place in the window's content where the picture is.
QPoint Studio::waitForPicture(const FrameSettings &settings) const
{
    const QImage wanted = Renderer().render({scene}, settings).image;
    QPoint place = nowhere;
    const auto shows = [&] {
        place = placeOf(wanted, desktop->windowContent());
        return place != nowhere;
    };
    if (!QTest::qWaitFor(shows, patienceMs))
        qFatal("the window does not show mode %d, effect %d", settings.mode, settings.effect);
    return place;
}

// The screen, once several looks in a row have seen the same.
QImage Studio::waitForStandstill() const
{
    QImage seen;
    int alike = 0;
    const auto standsStill = [&] {
        const QImage now = desktop->screen();
        alike = now == seen ? alike + 1 : 0;
        seen = now;
        return alike == looksAlike;
    };
    if (!QTest::qWaitFor(standsStill, patienceMs))
        qFatal("the screen does not stand still");
    return seen;
}

void Studio::keep(const QImage &photograph, const char *name) const
{
    const QString path = target.filePath(QLatin1String(name) + QStringLiteral(".png"));
    if (!photograph.save(path))
        qFatal("cannot write %s", qPrintable(path));
}

} // namespace kivra::documents
