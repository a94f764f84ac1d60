// Taking pictures: the clipboard, the camera's own still or the picture as shown, and storage that
// is missing, blocked or full.

#include "storage/paths.h"
#include "tests/app/windowtest.h"
#include "tests/support/pictures.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QBuffer>
#include <QClipboard>
#include <QDateTime>
#include <QDir>
#include <QKeyEvent>
#include <QLabel>
#include <QRegularExpression>
#include <QSignalSpy>
#include <csignal>
#include <sys/mount.h>
#include <sys/resource.h>

using kivra::test::filesBelow;
using kivra::test::gradient;
using kivra::test::Sandbox;
using kivra::test::storeSetting;
using kivra::test::TestCamera;
using kivra::test::Window;
using kivra::test::WindowTest;

namespace {

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray asJpeg(const QImage &picture)
{
    QBuffer file;
    picture.save(&file, "jpg");
    return file.data();
}

QImage clipboardPicture()
{
    return QGuiApplication::clipboard()->image();
}

// Counts how often the message is shown after the clipboard has got the picture.
class ShownAfterTheCapture : public QObject
{
public:
    explicit ShownAfterTheCapture(QLabel *message)
    {
        QGuiApplication::clipboard()->clear();
        message->installEventFilter(this);
    }
    int pictures = 0;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Show && !clipboardPicture().isNull())
            ++pictures;
        return false;
    }
};

// A Documents folder that has no room for another byte: a file system of its own where mounting is
// permitted, elsewhere a limit on the size of every file.
class FullDisk
{
public:
    FullDisk()
        : folder(QFile::encodeName(Sandbox::instance().documents()))
        , mounted(mount("tmpfs", folder.constData(), "tmpfs", 0, "size=8k") == 0)
    {
        if (mounted)
            fill();
        else
            forbidWriting();
    }

    ~FullDisk()
    {
        if (mounted) {
            umount2(folder.constData(), MNT_DETACH);
        } else {
            setrlimit(RLIMIT_FSIZE, &before);
            std::signal(SIGXFSZ, SIG_DFL);
        }
    }

    FullDisk(const FullDisk &) = delete;
    FullDisk &operator=(const FullDisk &) = delete;

private:
    void fill() const
    {
        QFile filler(QFile::decodeName(folder) + QStringLiteral("/filler"));
        if (!filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
            qFatal("the disk cannot be filled");
        while (filler.write(QByteArray(4096, 'x')) > 0) {
        }
    }

    void forbidWriting()
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &before);
        rlimit none = before;
        none.rlim_cur = 0;
        setrlimit(RLIMIT_FSIZE, &none);
    }

    QByteArray folder;
    bool mounted;
    rlimit before = {};
};

// What the program writes to its log while this lives.
class LogReader
{
public:
    LogReader() { written.clear(); }
    ~LogReader() { qInstallMessageHandler(before); }
    Q_DISABLE_COPY(LogReader)

    QStringList lines() const { return written; }

private:
    static void read(QtMsgType, const QMessageLogContext &, const QString &line)
    {
        written += line;
    }

    static inline QStringList written;
    QtMessageHandler before = qInstallMessageHandler(read);
};

} // namespace

Q_DECLARE_METATYPE(kivra::test::TestCamera::Answer)

class TestCapture : public WindowTest
{
    Q_OBJECT

private slots:
    void init()
    {
        begin();
        plugInTwo();
        QGuiApplication::clipboard()->clear();
        openWindow();
        QVERIFY(device().pushPicture(gradient({200, 100})));
    }

    void rawStillByDefault()
    {
        device().setStillPicture(gradient({64, 48}));
        takePicture();
        QTRY_COMPARE(device().record().stills.size(), 1);
        const QString path = device().record().stills.constFirst().path;
        const QString month =
            Sandbox::instance().documents() + QStringLiteral("/TablinoQt/tableaux/") + monthDir();
        const QRegularExpression form(QLatin1Char('^') + QRegularExpression::escape(month) +
                                      QStringLiteral("/im\\d{12}\\.jpg$"));
        QVERIFY2(form.match(path).hasMatch(), qPrintable(path));
        QTRY_COMPARE(storedFiles(), QStringList(path));
        QTRY_COMPARE(QImage(path).size(), QSize(64, 48));
    }

    // The stored file is, byte by byte, the view as JPEG: its size, its zoom, its frame.
    void shownPictureWhenAskedFor_data()
    {
        QTest::addColumn<int>("zoom");
        QTest::newRow("whole") << 100;
        QTest::newRow("detail") << 800;
    }

    void shownPictureWhenAskedFor()
    {
        QFETCH(int, zoom);
        storeSetting(QStringLiteral("preferences/rawStore"), false);
        window->trigger("actionNegatif");
        window->call("on_changeCoef", Q_ARG(int, 3), Q_ARG(int, zoom));
        takePicture();
        QCOMPARE(device().record().stills.size(), 0);
        QCOMPARE(storedFiles().size(), 1); // at once
        const QImage shown = window->probe.view()->grab().toImage();
        QCOMPARE(contentOf(storedFiles().constFirst()), asJpeg(shown));
        QCOMPARE(QImage(storedFiles().constFirst()).size(), window->probe.view()->size());
    }

    void settingIsReadAtEachCapture()
    {
        for (const bool raw : {false, true, false}) {
            const int stills = device().record().stills.size();
            storeSetting(QStringLiteral("preferences/rawStore"), raw);
            takePicture();
            QTRY_COMPARE(device().record().stills.size(), stills + int(raw));
            QTRY_VERIFY(window->probe.imageCapture()->isReadyForCapture());
        }
    }

    void clipboardHasWhatTheViewShows_data()
    {
        QTest::addColumn<bool>("raw");
        QTest::newRow("raw") << true;
        QTest::newRow("as shown") << false;
    }

    void clipboardHasWhatTheViewShows()
    {
        QFETCH(bool, raw);
        storeSetting(QStringLiteral("preferences/rawStore"), raw);
        window->trigger("actionBicolore");
        window->call("on_changeCoef", Q_ARG(int, 3), Q_ARG(int, 197));
        takePicture();
        QCOMPARE(clipboardPicture().size(), window->probe.view()->size());
        KIVRA_COMPARE_PICTURES(
            clipboardPicture().convertToFormat(QImage::Format_RGB32),
            window->probe.view()->grab().toImage().convertToFormat(QImage::Format_RGB32));
    }

    void clipboardComesFirst_data() { clipboardHasWhatTheViewShows_data(); }

    void clipboardComesFirst()
    {
        QFETCH(bool, raw);
        storeSetting(QStringLiteral("preferences/rawStore"), raw);
        bool filled = false;
        connect(QGuiApplication::clipboard(), &QClipboard::dataChanged, window.get(), [&] {
            filled = true;
            QVERIFY(device().record().stills.isEmpty());
            QVERIFY(storedFiles().isEmpty());
            QVERIFY(window->probe.captureInProgress());
            QCOMPARE(window->probe.camera()->lockStatus(), QCamera::Searching);
        });
        takePicture();
        QVERIFY(filled);
        QVERIFY(!window->probe.captureInProgress());
    }

    void locksForTheCapture()
    {
        QSignalSpy spy(window->probe.camera(),
                       SIGNAL(lockStatusChanged(QCamera::LockStatus, QCamera::LockChangeReason)));
        window->call("takeImage");
        QVERIFY(!spy.isEmpty());
        QCOMPARE(spy.constFirst().constFirst().value<QCamera::LockStatus>(), QCamera::Searching);
        QCOMPARE(device().record().everSearched, kivra::test::allLocks);
        QCOMPARE(device().record().locks, QCamera::LockTypes());
        QTRY_COMPARE(window->probe.camera()->lockStatus(), QCamera::Unlocked);
    }

    void log_data() { clipboardHasWhatTheViewShows_data(); }

    void log()
    {
        QFETCH(bool, raw);
        storeSetting(QStringLiteral("preferences/rawStore"), raw);
        QStringList expected(QStringLiteral("take image"));
        if (raw)
            expected += QStringLiteral("\"\""); // a raw capture logs this, successful or not
        const LogReader log;
        window->call("takeImage");
        QCOMPARE(log.lines(), expected);
    }

    void messages_data()
    {
        QTest::addColumn<QString>("way");
        QTest::addColumn<bool>("says");
        QTest::newRow("menu") << QStringLiteral("menu") << true;
        QTest::newRow("view") << QStringLiteral("view") << true;
        QTest::newRow("key") << QStringLiteral("key") << false;
    }

    void messages()
    {
        QFETCH(QString, way);
        QFETCH(bool, says);
        storeSetting(QStringLiteral("preferences/displayMsg"), true);
        auto *const message = window->find<QLabel>("msgDisplay");
        const bool before = message->isVisible() && !message->text().isEmpty();
        QVERIFY(!before);
        const ShownAfterTheCapture isLate(message);
        if (way == QLatin1String("menu"))
            window->trigger("actionEnregistrer_image");
        else if (way == QLatin1String("view"))
            emit window->probe.view()->captureImage();
        else
            pressCameraKey();
        QTRY_COMPARE(device().record().stills.size(), 1);
        QCOMPARE(message->text() == QStringLiteral("enregistrement image"), says);
        QCOMPARE(isLate.pictures, says ? 1 : 0);
    }

    void slowStill()
    {
        device().setStillAnswer(TestCamera::Answer::OnCall);
        takePicture();
        QTRY_COMPARE(device().record().stills.size(), 1);
        QVERIFY(storedFiles().isEmpty());
        QVERIFY(device().pushPicture(gradient({64, 48}))); // life goes on
        device().answerStill();
        QTRY_COMPARE(storedFiles(), QStringList(device().record().stills.constFirst().path));
    }

    void refusedStill()
    {
        device().setStillAnswer(TestCamera::Answer::Refuse);
        expectWarning(QStringLiteral("Image Capture Error"));
        takePicture();
        QTRY_COMPARE(boxes->answered(), 1);
        QCOMPARE(boxes->lastText(), QStringLiteral("La caméra d'essai refuse."));
        QVERIFY(storedFiles().isEmpty());
        QVERIFY(!clipboardPicture().isNull());
        QVERIFY(!window->probe.captureInProgress());
    }

    void tenInARow()
    {
        for (int number = 1; number <= 10; ++number) {
            takePicture();
            QTRY_COMPARE(device().record().stills.size(), number);
            QTRY_VERIFY(window->probe.imageCapture()->isReadyForCapture());
        }
        QStringList paths;
        for (const auto &still : device().record().stills)
            paths += still.path;
        paths.removeDuplicates();
        QTRY_COMPARE(storedFiles().size(), paths.size());
    }

    // Faster than the camera: it takes four and refuses each of the rest with an error.
    void tenAtOnce()
    {
        for (int refused = 0; refused < 6; ++refused)
            boxes->expect(QStringLiteral("Image Capture Error"));
        for (int number = 0; number < 10; ++number)
            window->call("takeImage");
        QTRY_COMPARE(boxes->answered(), 6);
        QTRY_COMPARE(device().record().stills.size(), 4);
        QTRY_VERIFY(!storedFiles().isEmpty());
    }

    void sameSecondSamePath_data() { clipboardHasWhatTheViewShows_data(); }

    void sameSecondSamePath()
    {
        QFETCH(bool, raw);
        storeSetting(QStringLiteral("preferences/rawStore"), raw);
        QString first;
        QString second;
        qint64 began = 0;
        int number = 0;
        // Tries again if a new second began in between.
        do {
            QTRY_VERIFY(window->probe.imageCapture()->isReadyForCapture());
            Sandbox::instance().reset();
            storeSetting(QStringLiteral("preferences/rawStore"), raw);
            began = QDateTime::currentSecsSinceEpoch();
            window->call("takeImage");
            first = lastPath(raw, ++number);
            QVERIFY(device().pushPicture(gradient({300, 200})));
            window->call("takeImage");
            second = lastPath(raw, ++number);
        } while (QDateTime::currentSecsSinceEpoch() != began);
        QCOMPARE(second, first);
        QTRY_VERIFY(window->probe.imageCapture()->isReadyForCapture());
        QTRY_COMPARE(storedFiles(), QStringList(first));
        if (!raw)
            QCOMPARE(contentOf(first), asJpeg(window->probe.view()->grab().toImage()));
    }

    void switchWhileAStillIsTaken()
    {
        device().setStillAnswer(TestCamera::Answer::OnCall);
        takePicture();
        chooseDevice(1);
        QTRY_VERIFY(device().isRunning());
        QCOMPARE(device().record().device, QByteArray("deux"));
        device().setStillAnswer(TestCamera::Answer::AtOnce);
        QTRY_VERIFY(window->probe.imageCapture()->isReadyForCapture());
        takePicture();
        QTRY_COMPARE(storedFiles().size(), 1);
    }

    void closeWhileAStillIsTaken_data()
    {
        QTest::addColumn<TestCamera::Answer>("answer");
        QTest::newRow("fast") << TestCamera::Answer::AtOnce;
        QTest::newRow("never") << TestCamera::Answer::OnCall;
        QTest::newRow("failing") << TestCamera::Answer::Refuse;
    }

    void closeWhileAStillIsTaken()
    {
        QFETCH(TestCamera::Answer, answer);
        device().setStillAnswer(answer);
        takePicture();
        QVERIFY(window->close());
        QVERIFY(!window->isVisible());
        window.reset();
        QCoreApplication::processEvents();
        QVERIFY(!clipboardPicture().isNull());
    }

    void withoutACamera()
    {
        window.reset();
        device().setDevices({});
        boxes->expect(QStringLiteral("Camera error"));
        window = std::make_unique<Window>();
        boxes->expect(QStringLiteral("Image Capture Error"));
        takePicture();
        QTRY_COMPARE(boxes->answered(), 2);
        QVERIFY(storedFiles().isEmpty());
        QVERIFY(!clipboardPicture().isNull());
        storeSetting(QStringLiteral("preferences/rawStore"), false);
        takePicture();
        QCOMPARE(storedFiles().size(), 1);
    }

    void withoutADocumentsFolder_data()
    {
        QTest::addColumn<bool>("raw");
        QTest::addColumn<bool>("danglingLink");
        for (const bool raw : {true, false}) {
            for (const bool dangling : {true, false})
                QTest::addRow("raw %d, dangling link %d", int(raw), int(dangling))
                    << raw << dangling;
        }
    }

    // Pictures then go below the current folder.
    void withoutADocumentsFolder()
    {
        QFETCH(bool, raw);
        QFETCH(bool, danglingLink);
        const QString documents = Sandbox::instance().documents();
        QVERIFY(QDir().rmdir(documents));
        if (danglingLink)
            QVERIFY(QFile::link(QStringLiteral("/nowhere/at/all"), documents));
        const QString previous = QDir::currentPath();
        const QTemporaryDir current;
        QVERIFY(QDir::setCurrent(current.path()));
        storeSetting(QStringLiteral("preferences/rawStore"), raw);
        takePicture();
        const QString root = QDir::currentPath() + QStringLiteral("/TablinoQt");
        const bool stored = QTest::qWaitFor([&] { return filesBelow(root).size() == 1; });
        QDir::setCurrent(previous);
        QFile::remove(documents);
        QVERIFY(stored);
    }

    void folderThatCannotBeMade_data() { clipboardHasWhatTheViewShows_data(); }

    void folderThatCannotBeMade()
    {
        QFETCH(bool, raw);
        QFile inTheWay(Sandbox::instance().documents() + QStringLiteral("/TablinoQt"));
        QVERIFY(inTheWay.open(QIODevice::WriteOnly));
        storeSetting(QStringLiteral("preferences/rawStore"), raw);
        if (raw)
            boxes->expect(QStringLiteral("Image Capture Error"));
        takePicture();
        QTRY_COMPARE(boxes->answered(), int(raw));
        QCOMPARE(storedFiles(), QStringList(inTheWay.fileName()));
        expectUsable();
    }

    void fullDisk_data() { clipboardHasWhatTheViewShows_data(); }

    void fullDisk()
    {
        QFETCH(bool, raw);
        storeSetting(QStringLiteral("preferences/rawStore"), raw);
        device().setStillResolutions({QSize(800, 600)});
        device().setStillPicture(gradient({800, 600}));
        {
            const FullDisk disk;
            if (raw)
                boxes->expect(QStringLiteral("Image Capture Error"));
            takePicture();
            QTRY_COMPARE(boxes->answered(), int(raw));
            QVERIFY(storedFiles().filter(QStringLiteral(".jpg")).isEmpty());
            expectUsable();
        }
        takePicture();
        QTRY_VERIFY(!storedFiles().isEmpty() && !QImage(storedFiles().constLast()).isNull());
    }

    // The still is smaller than what is written at once, so nothing fails before the end.
    void fullDiskAndASmallStill()
    {
        device().setStillResolutions({QSize(8, 8)});
        const FullDisk disk;
        boxes->expect(QStringLiteral("Image Capture Error"));
        takePicture();
        QTRY_COMPARE(boxes->answered(), 1);
        QVERIFY(storedFiles().filter(QStringLiteral(".jpg")).isEmpty());
        expectUsable();
    }

private:
    // This key has no character, so QTest::keyClick() does not take it.
    void pressCameraKey() const
    {
        QKeyEvent press(QEvent::KeyPress, Qt::Key_Camera, Qt::NoModifier);
        QCoreApplication::sendEvent(window.get(), &press);
        QVERIFY(press.isAccepted());
    }

    void takePicture() { window->trigger("actionEnregistrer_image"); }

    // The path of the picture just taken. The request reaches the camera only in a later turn of
    // the event loop.
    QString lastPath(bool raw, int number) const
    {
        if (!raw)
            return storedFiles().value(0);
        const bool asked =
            QTest::qWaitFor([&] { return device().record().stills.size() >= number; });
        return asked ? device().record().stills.constLast().path : QString();
    }

    // The clipboard has the picture, and everything still works.
    void expectUsable()
    {
        QVERIFY(!clipboardPicture().isNull());
        QVERIFY(!window->probe.captureInProgress());
        QVERIFY(window->isEnabled());
        QVERIFY(device().pushPicture(gradient({64, 48})));
    }
};

KIVRA_TEST(TestCapture)
#include "test_capture.moc"
