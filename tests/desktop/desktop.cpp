#include "tests/desktop/desktop.h"

#include "tests/support/thisbuild.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QLibraryInfo>
#include <QPixmap>
#include <QScreen>
#include <QTest>
#include <QTextStream>
#include <algorithm>
#include <iterator>

namespace kivra::test {

namespace {

bool xdoWorks(const QStringList &words, QString *output)
{
    QProcess xdotool;
    xdotool.start(QStringLiteral("xdotool"), words);
    xdotool.waitForFinished(patienceMs);
    *output = QString::fromUtf8(xdotool.readAllStandardOutput()).trimmed();
    return xdotool.exitStatus() == QProcess::NormalExit && xdotool.exitCode() == 0;
}

bool near(QRgb one, QRgb other)
{
    const auto isNear = [](int a, int b) { return qAbs(a - b) <= 2; };
    return isNear(qRed(one), qRed(other)) && isNear(qGreen(one), qGreen(other)) &&
           isNear(qBlue(one), qBlue(other));
}

} // namespace

Desktop::Desktop(Cameras cameras, const QMargins &margins)
{
    QStringList options{QStringLiteral("--sm-disable")};
    if (!margins.isNull())
        options += {QStringLiteral("--config-file"), writeMargins(margins)};
    windowManager.start(QStringLiteral("openbox"), options);
    QString ignored;
    const bool up = QTest::qWaitFor(
        [&] { return xdoWorks({QStringLiteral("get_num_desktops")}, &ignored); }, patienceMs);
    if (!up)
        qFatal("the window manager did not come up");
    placeProgram(cameras);
    program.setProcessChannelMode(QProcess::MergedChannels);
}

Desktop::~Desktop()
{
    for (QProcess *process : {&program, &windowManager}) {
        process->terminate();
        if (!process->waitForFinished(patienceMs))
            process->kill();
    }
}

// Writes a configuration for the window manager, and returns its path.
QString Desktop::writeMargins(const QMargins &margins) const
{
    QFile file(folder.filePath(QStringLiteral("openbox.xml")));
    file.open(QIODevice::WriteOnly);
    file.write(QStringLiteral("<openbox_config><margins><top>%1</top><bottom>%2</bottom>"
                              "<left>%3</left><right>%4</right></margins></openbox_config>")
                   .arg(margins.top())
                   .arg(margins.bottom())
                   .arg(margins.left())
                   .arg(margins.right())
                   .toUtf8());
    return file.fileName();
}

void Desktop::setVariable(const QString &name, const QString &value)
{
    QProcessEnvironment environment = program.processEnvironment();
    if (environment.isEmpty())
        environment = QProcessEnvironment::systemEnvironment();
    environment.insert(name, value);
    program.setProcessEnvironment(environment);
}

// A qt.conf beside the program names the folders of its plug-ins. What the file does not name, Qt
// looks for beside the program too.
void Desktop::placeProgram(Cameras cameras)
{
    const QDir built(besideTheProgram());
    const QDir placed(folder.path());
    const QString services = QStringLiteral("mediaservice/");
    const auto copy = [&](const QString &name) {
        return QFile::copy(built.filePath(name), placed.filePath(name));
    };
    bool complete = placed.mkdir(services) && copy(QStringLiteral("kivra")) &&
                    copy(QStringLiteral("kivra-decoder"));
    const auto add = [&](const QString &plugin) {
        complete &=
            QFile::link(built.filePath(services + plugin), placed.filePath(services + plugin));
    };
    if (cameras != Cameras::Demonstration)
        add(QStringLiteral("libkivra_v4l2camera.so"));
    if (cameras == Cameras::Demonstration || cameras == Cameras::VideoAndDemonstration)
        add(QStringLiteral("libkivra_democamera.so"));
    const QString plugins = cameras == Cameras::VideoAndMachines
                                ? QLibraryInfo::location(QLibraryInfo::PluginsPath)
                                : QCoreApplication::libraryPaths().constFirst();
    QFile configuration(placed.filePath(QStringLiteral("qt.conf")));
    if (!complete || !configuration.open(QIODevice::WriteOnly))
        qFatal("the program cannot be copied");
    configuration.write("[Paths]\nPlugins = " + QFile::encodeName(plugins) + "\nTranslations = " +
                        QFile::encodeName(QLibraryInfo::location(QLibraryInfo::TranslationsPath)) +
                        '\n');
}

bool Desktop::start(const QStringList &arguments)
{
    program.start(QDir(folder.path()).filePath(QStringLiteral("kivra")), arguments);
    const QStringList search = {QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                                QStringLiteral("--name"), QStringLiteral("^Kivra$")};
    return QTest::qWaitFor([&] { return xdoWorks(search, &windowId) && !windowId.isEmpty(); },
                           patienceMs);
}

int Desktop::close()
{
    xdo(QStringLiteral("key alt+F4"));
    const bool ended =
        program.waitForFinished(patienceMs) && program.exitStatus() == QProcess::NormalExit;
    const int code = ended ? program.exitCode() : -1;
    // Not as a warning: in a silent run, QtTest drops those.
    if (code != 0)
        QTextStream(stderr) << "the program wrote:\n" << log();
    return code;
}

QString Desktop::log()
{
    return QString::fromUtf8(program.readAll());
}

QString Desktop::xdo(const QString &words) const
{
    QString output;
    if (!xdoWorks(words.split(QLatin1Char(' ')), &output))
        qFatal("xdotool %s failed", qPrintable(words));
    return output;
}

void Desktop::moveTo(const QPoint &at) const
{
    xdo(QStringLiteral("mousemove %1 %2").arg(at.x()).arg(at.y()));
}

void Desktop::click(const QPoint &at, int button) const
{
    xdo(QStringLiteral("mousemove %1 %2 click %3").arg(at.x()).arg(at.y()).arg(button));
}

void Desktop::doubleClick(const QPoint &at) const
{
    xdo(QStringLiteral("mousemove %1 %2 click --repeat 2 --delay 100 1").arg(at.x()).arg(at.y()));
}

// Empty while the keyboard goes from one window to another.
QString Desktop::activeWindow() const
{
    QString window;
    return xdoWorks({QStringLiteral("getactivewindow")}, &window) ? window : QString();
}

bool Desktop::waitForDialog() const
{
    return QTest::qWaitFor(
        [&] {
            const QString active = activeWindow();
            return !active.isEmpty() && active != windowId;
        },
        patienceMs);
}

bool Desktop::waitForMainWindow() const
{
    return QTest::qWaitFor([&] { return activeWindow() == windowId; }, patienceMs);
}

QImage Desktop::screen() const
{
    return QGuiApplication::primaryScreen()->grabWindow(0).toImage().convertToFormat(
        QImage::Format_RGB32);
}

QImage Desktop::windowContent() const
{
    return contentOf(windowId);
}

QImage Desktop::dialogContent() const
{
    return contentOf(activeWindow());
}

QImage Desktop::contentOf(const QString &window)
{
    return QGuiApplication::primaryScreen()
        ->grabWindow(window.toULongLong())
        .toImage()
        .convertToFormat(QImage::Format_RGB32);
}

QPoint Desktop::contentPosition() const
{
    // The answer has one value per line: X=<number>, Y=<number>, and others.
    const QStringList lines =
        xdo(QStringLiteral("getwindowgeometry --shell ") + windowId).split(QLatin1Char('\n'));
    QPoint position(-1, -1);
    for (const QString &line : lines) {
        if (line.startsWith(QLatin1String("X=")))
            position.setX(line.mid(2).toInt());
        else if (line.startsWith(QLatin1String("Y=")))
            position.setY(line.mid(2).toInt());
    }
    return position;
}

void Desktop::keepScreenshot(const QString &name) const
{
    const QDir pictures(screenshotFolder());
    pictures.mkpath(QStringLiteral("."));
    constexpr int quick = 90; // compresses little
    screen().save(pictures.filePath(name + QStringLiteral(".png")), "png", quick);
}

void Desktop::clickInWindow(const QPoint &at) const
{
    clickIn(windowId, at);
}

void Desktop::clickInDialog(const QPoint &at) const
{
    clickIn(activeWindow(), at);
}

void Desktop::clickIn(const QString &window, const QPoint &at) const
{
    xdo(QStringLiteral("mousemove --window %1 %2 %3 click 1").arg(window).arg(at.x()).arg(at.y()));
}

QRect extentOf(const QImage &picture, const QColor &colour)
{
    const QRgb wanted = colour.rgb();
    const int width = picture.width();
    QRect extent;
    for (int y = 0; y < picture.height(); ++y) {
        const auto *const line = reinterpret_cast<const QRgb *>(picture.constScanLine(y));
        const auto isWanted = [&](QRgb pixel) { return near(pixel, wanted); };
        const QRgb *const first = std::find_if(line, line + width, isWanted);
        if (first == line + width)
            continue;
        const auto last = std::find_if(std::make_reverse_iterator(line + width),
                                       std::make_reverse_iterator(first), isWanted);
        extent |= QRect(QPoint(int(first - line), y), QPoint(int(last.base() - line) - 1, y));
    }
    return extent;
}

} // namespace kivra::test
