// While a slow picture is being opened: the window goes on, and the user may give up or want
// something else.

#include "storage/paths.h"
#include "tests/app/windowtest.h"
#include "tests/decoding/faultyformat.h"
#include "tests/support/patience.h"
#include "tests/support/pictures.h"
#include "tests/support/testmain.h"

#include <QDialog>
#include <QDir>
#include <QFile>
#include <QMenu>
#include <QSignalSpy>
#include <QTimer>

using kivra::test::faultyPicture;
using kivra::test::gradient;
using kivra::test::openFailure;
using kivra::test::openFailureText;
using kivra::test::patienceMs;
using kivra::test::Window;
using kivra::test::WindowTest;

namespace {

QString stored(const QString &name, const QByteArray &content)
{
    const QDir folder(storageRoot() + QStringLiteral("/tableaux/2026-01"));
    folder.mkpath(QStringLiteral("."));
    QFile file(folder.filePath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(name));
    return file.fileName();
}

QString storedPicture(const QString &name, const QSize &size)
{
    QString path = stored(name, {});
    if (!gradient(size).save(path, "png"))
        qFatal("cannot write %s", qPrintable(name));
    return path;
}

} // namespace

class TestOpening : public WindowTest
{
    Q_OBJECT

private slots:
    void init() { begin(); }

    // However long it takes: this one first uses 600 ms of processor time.
    void slowPictureOpens()
    {
        openWindow();
        window->probe.displayFile(stored(QStringLiteral("a.jpg"), faultyPicture("work 600")));
        QVERIFY(window->probe.isOpening());
        QTRY_COMPARE_WITH_TIMEOUT(window->cursor().shape(), Qt::BusyCursor, patienceMs);
        QTRY_VERIFY_WITH_TIMEOUT(!window->probe.isOpening(), patienceMs);
        QCOMPARE(window->probe.lastFrame().size(), QSize(1, 1));
        QCOMPARE(window->cursor().shape(), Qt::ArrowCursor);
    }

    void livePictureGoesOn()
    {
        openWindow();
        openEndless();
        for (const QSize size : {QSize(64, 48), QSize(32, 24)}) {
            QVERIFY(device().pushPicture(gradient(size)));
            QCOMPARE(window->probe.lastFrame().size(), size);
            window->trigger("actionEffet");
        }
        QVERIFY(device().isRunning());
    }

    void timersGoOn()
    {
        openWindow();
        openEndless();
        QSignalSpy figures(const_cast<QTimer *>(window->probe.figuresTimer()), &QTimer::timeout);
        QTRY_VERIFY_WITH_TIMEOUT(figures.count() >= 1, patienceMs);
        QVERIFY(window->probe.isOpening());
    }

    void escapeGivesUp()
    {
        openWindow();
        QVERIFY(device().pushPicture(gradient({64, 48})));
        const QString path = openEndless();
        expectWarning(openFailure);
        QTest::keyClick(window.get(), Qt::Key_Escape);
        QCOMPARE(boxes->lastText(), openFailureText + path);
        QVERIFY(!window->probe.isOpening());
        QVERIFY(window->probe.lastFrame().isNull());
        QCOMPARE(window->cursor().shape(), Qt::ArrowCursor);
        QVERIFY(device().isRunning());
        QVERIFY(device().pushPicture(gradient({64, 48})));
        QCOMPARE(window->probe.lastFrame().size(), QSize(64, 48));
    }

    void escapeAloneDoesNothing()
    {
        openWindow();
        QTest::keyClick(window.get(), Qt::Key_Escape);
        QCOMPARE(boxes->answered(), 0);
    }

    // The camera goes on delivering frames meanwhile.
    void noFrameEntersBehindTheFailureBox()
    {
        openWindow();
        boxes->expect(openFailure, [this](QDialog *box) {
            QVERIFY(window->probe.failureStands());
            QVERIFY(device().pushPicture(gradient({64, 48})));
            QVERIFY(window->probe.lastFrame().isNull());
            QTest::keyClick(box, Qt::Key_Return);
        });
        window->open(stored(QStringLiteral("a.jpg"), "no picture"));
        QVERIFY(window->probe.lastFrame().isNull());
        QVERIFY(device().pushPicture(gradient({64, 48})));
        QCOMPARE(window->probe.lastFrame().size(), QSize(64, 48));
    }

    void stepReplacesWhatIsOpening()
    {
        const QString good = storedPicture(QStringLiteral("a.png"), {30, 20});
        stored(QStringLiteral("b.png"), faultyPicture("work"));
        openWindow();
        QTest::keyClick(window.get(), Qt::Key_Space); // b, the newest
        QVERIFY(window->probe.isOpening());
        window->pressAndWait(Qt::Key_Backspace);
        QCOMPARE(window->statusText(), good);
        QCOMPARE(window->probe.lastFrame().size(), QSize(30, 20));
    }

    // Otherwise each repeat would give up the picture that is being opened, and none would be
    // shown.
    void heldKeyWaits()
    {
        storedPicture(QStringLiteral("a.png"), {30, 20});
        const QString slow = stored(QStringLiteral("b.png"), faultyPicture("work 300"));
        openWindow();
        hold(Qt::Key_Space);
        QVERIFY(window->probe.isOpening());
        hold(Qt::Key_Backspace, Qt::NoModifier, 0); // pressed anew: that counts
        QTRY_VERIFY(!window->probe.isOpening());
        QCOMPARE(window->probe.lastFrame().size(), QSize(30, 20));
        hold(Qt::Key_Space, Qt::NoModifier, 3);
        QTRY_COMPARE_WITH_TIMEOUT(window->statusText(), slow, patienceMs);
    }

    void closingGivesUpWithoutABox()
    {
        openWindow();
        openEndless();
        window->close();
        QVERIFY(!window->isVisible());
        QVERIFY(!window->probe.isOpening());
    }

    void destructionGivesUp()
    {
        openWindow();
        openEndless();
        window.reset();
    }

    // The later wish counts, as if the picture had been there already.
    void startingTheCameraIsTheLaterWish()
    {
        openWindow();
        window->trigger("actionStopCamera");
        openEndless();
        window->trigger("actionStartCamera");
        QVERIFY(!window->probe.isOpening());
        QTRY_VERIFY(device().isRunning());
        openEndless();
        chooseDevice(0);
        QVERIFY(!window->probe.isOpening());
    }

    void cameraErrorMeanwhile()
    {
        openWindow();
        window->probe.displayFile(stored(QStringLiteral("a.jpg"), faultyPicture("work 300")));
        boxes->expect(QStringLiteral("Camera error"), [this](QDialog *box) {
            QTRY_VERIFY_WITH_TIMEOUT(!window->probe.isOpening(), patienceMs);
            QCOMPARE(window->probe.lastFrame().size(), QSize(1, 1)); // behind the box
            QTest::keyClick(box, Qt::Key_Return);
        });
        device().raiseError(QCamera::CameraError, QStringLiteral("défaut"));
        QTRY_COMPARE_WITH_TIMEOUT(boxes->answered(), 1, patienceMs);
    }

    void failureAboveAnotherBox()
    {
        openWindow();
        boxes->expect(QString(), [this](QDialog *about) {
            boxes->expect(openFailure);
            window->open(stored(QStringLiteral("a.jpg"), faultyPicture("leave")));
            QTest::keyClick(about, Qt::Key_Return);
        });
        window->trigger("actionA_propos");
        QCOMPARE(boxes->answered(), 2);
        QVERIFY(!window->probe.failureStands());
    }

    void fileOfTheCommandLineIsWaitedFor()
    {
        _imgAOuvrir = stored(QStringLiteral("a.jpg"), faultyPicture("work 300"));
        window = std::make_unique<Window>();
        QCOMPARE(window->probe.lastFrame().size(), QSize(1, 1));
        QVERIFY(window->action("actionStartCamera")->isEnabled());
    }

    // The next picture in the direction of the last step is ready before it is asked for.
    void looksAhead()
    {
        const QString first = storedPicture(QStringLiteral("a.png"), {30, 20});
        const QString second = storedPicture(QStringLiteral("b.png"), {40, 20});
        const QString third = storedPicture(QStringLiteral("c.png"), {50, 20});
        openWindow();
        window->pressAndWait(Qt::Key_Space);
        QCOMPARE(window->statusText(), third);
        window->pressAndWait(Qt::Key_Backspace);
        QCOMPARE(window->statusText(), second);
        QTRY_VERIFY(!window->probe.isLookingAhead());
        QTest::keyClick(window.get(), Qt::Key_Backspace);
        QVERIFY(!window->probe.isOpening());
        QCOMPARE(window->statusText(), first);
        QCOMPARE(window->probe.lastFrame().size(), QSize(30, 20));
    }

    void looksAheadOnlyWhileNoCameraRuns()
    {
        storedPicture(QStringLiteral("a.png"), {30, 20});
        storedPicture(QStringLiteral("b.png"), {40, 20});
        openWindow();
        window->pressAndWait(Qt::Key_Space);
        window->pressAndWait(Qt::Key_Backspace);
        window->pressAndWait(Qt::Key_Space);
        QTRY_VERIFY(!window->probe.isLookingAhead());
        window->trigger("actionStartCamera");
        QTRY_VERIFY(device().isRunning());
        QVERIFY(!window->probe.isLookingAhead());
        QTest::keyClick(window.get(), Qt::Key_Backspace); // this picture is no longer held
        QVERIFY(window->probe.isOpening());
        QTRY_VERIFY(!window->probe.isOpening());
    }

private:
    QString openEndless()
    {
        QString path = stored(QStringLiteral("endless.jpg"), faultyPicture("work"));
        window->probe.displayFile(path);
        if (!window->probe.isOpening())
            qFatal("it is not being opened");
        return path;
    }
};

KIVRA_TEST(TestOpening)
#include "test_opening.moc"
