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

bool near(QRgb one, QRgb other)
{
    const auto isNear = [](int a, int b) { return qAbs(a - b) <= 2; };
    return isNear(qRed(one), qRed(other)) && isNear(qGreen(one), qGreen(other)) &&
           isNear(qBlue(one), qBlue(other));
}

} // namespace

Desktop::Desktop(Cameras cameras, const QMargins &margins)
{
    const QString ready = folder.filePath(QStringLiteral("ready"));
    QStringList options{QStringLiteral("--sm-disable"), QStringLiteral("--startup"),
                        QStringLiteral("touch ") + ready};
    if (!margins.isNull())
        options += {QStringLiteral("--config-file"), writeMargins(margins)};
    windowManager.start(QStringLiteral("openbox"), options);
    if (!QTest::qWaitFor([&] { return QFile::exists(ready); }, patienceMs))
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
    const auto shown = [this] { return windowNamed(QStringLiteral("Kivra")); };
    // The server may still have the window of a program that has just ended.
    if (!QTest::qWaitFor([&] { return shown() == 0; }, patienceMs))
        return false;
    program.start(QDir(folder.path()).filePath(QStringLiteral("kivra")), arguments);
    return QTest::qWaitFor(
        [&] {
            window = shown();
            return window != 0;
        },
        patienceMs);
}

int Desktop::close()
{
    key(QStringLiteral("alt+F4"));
    const bool ended =
        program.waitForFinished(patienceMs) && program.exitStatus() == QProcess::NormalExit;
    const int code = ended ? program.exitCode() : -1;
    // Not as a warning: in a silent run, QtTest drops those.
    if (code != 0)
        QTextStream(stderr) << "the program wrote:\n" << log();
    return code;
}

QByteArray Desktop::loadedFiles() const
{
    QFile maps(QStringLiteral("/proc/%1/maps").arg(program.processId()));
    return maps.open(QIODevice::ReadOnly) ? maps.readAll() : QByteArray();
}

QString Desktop::log()
{
    return QString::fromUtf8(program.readAll());
}

bool Desktop::waitForDialog() const
{
    return QTest::qWaitFor(
        [&] {
            const WId active = activeWindow();
            return active != 0 && active != window;
        },
        patienceMs);
}

bool Desktop::waitForMainWindow() const
{
    return QTest::qWaitFor([&] { return activeWindow() == window; }, patienceMs);
}

QImage Desktop::screen() const
{
    return contentOf(0);
}

QImage Desktop::windowContent() const
{
    return contentOf(window);
}

QImage Desktop::windowContent(const QRect &part) const
{
    return contentOf(window, part);
}

QSize Desktop::windowSize() const
{
    return sizeOf(window);
}

QImage Desktop::dialogContent() const
{
    return contentOf(activeWindow());
}

QImage Desktop::contentOf(WId window, const QRect &part)
{
    return QGuiApplication::primaryScreen()
        ->grabWindow(window, part.x(), part.y(), part.width(), part.height())
        .toImage()
        .convertToFormat(QImage::Format_RGB32);
}

QPoint Desktop::contentPosition() const
{
    return positionOf(window);
}

void Desktop::keepScreenshot(const QString &name) const
{
    const QDir pictures(screenshotFolder());
    pictures.mkpath(QStringLiteral("."));
    constexpr int sharp = 95; // quicker than a PNG file
    screen().save(pictures.filePath(name + QStringLiteral(".jpg")), "jpg", sharp);
}

void Desktop::clickInWindow(const QPoint &at) const
{
    click(window, at);
}

void Desktop::clickInDialog(const QPoint &at) const
{
    click(activeWindow(), at);
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
