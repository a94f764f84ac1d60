// Opening picture files: from the dialog and by path, good ones, bad ones and hostile ones.

#include "storage/paths.h"
#include "storage/settings.h"
#include "tests/app/windowtest.h"
#include "tests/support/files.h"
#include "tests/support/patience.h"
#include "tests/support/pictures.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QMenu>
#include <QSignalSpy>
#include <QTimer>

using kivra::test::gradient;
using kivra::test::openFailure;
using kivra::test::openFailureText;
using kivra::test::pathOf;
using kivra::test::Sandbox;
using kivra::test::Window;
using kivra::test::WindowTest;

namespace {

QString saved(const QString &name, const QImage &picture)
{
    if (!picture.save(pathOf(name)))
        qFatal("cannot write %s", qPrintable(name));
    return pathOf(name);
}

QString hostile(const char *name)
{
    return QStringLiteral(KIVRA_CORPUS "/") + QLatin1String(name);
}

QImage plain(const QSize &size, const QColor &colour)
{
    QImage picture(size, QImage::Format_RGB32);
    picture.fill(colour);
    return picture;
}

} // namespace

class TestOpen : public WindowTest
{
    Q_OBJECT

private slots:
    void init()
    {
        begin();
        openWindow();
    }

    void pictureTakesTheCamerasPlace()
    {
        window->call("on_changeCoef", Q_ARG(int, 3), Q_ARG(int, 400));
        const QString path = saved(QStringLiteral("carte.png"), gradient({300, 200}));
        window->open(path);
        KIVRA_COMPARE_PICTURES(window->probe.lastFrame(), gradient({300, 200}));
        QVERIFY(!device().isRunning());
        QVERIFY(window->action("actionStartCamera")->isEnabled());
        QCOMPARE(window->probe.coefZoom(), 100);
        QCOMPARE(settingsStore().value(QStringLiteral("params/zoom")).toInt(), 400);
        QCOMPARE(window->statusText(), path);
        QCOMPARE(window->statusTimeMs(), 0); // the path stays
    }

    // Whatever the height, and whatever the zoom was.
    void pictureIsFittedToTheWidth_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::newRow("wide") << QSize(4000, 500);
        QTest::newRow("high") << QSize(500, 4000);
        QTest::newRow("small") << QSize(10, 2);
        QTest::newRow("one pixel") << QSize(1, 1);
    }

    void pictureIsFittedToTheWidth()
    {
        QFETCH(QSize, size);
        window->call("on_changeCoef", Q_ARG(int, 3), Q_ARG(int, 200));
        window->open(saved(QStringLiteral("a.png"), plain(size, Qt::red)));
        const QImage shown = window->probe.view()->grab().toImage();
        const int middle = shown.height() / 2;
        QCOMPARE(shown.pixelColor(1, middle), QColor(Qt::red));
        QCOMPARE(shown.pixelColor(shown.width() - 2, middle), QColor(Qt::red));
        const double height = double(size.height()) * shown.width() / size.width();
        QCOMPARE(shown.pixelColor(shown.width() / 2, 0) == QColor(Qt::red),
                 height > shown.height());
        if (height < shown.height()) {
            const int top = int((shown.height() - height) / 2);
            QVERIFY(shown.pixelColor(shown.width() / 2, top - 3) != QColor(Qt::red));
            QCOMPARE(shown.pixelColor(shown.width() / 2, top + 3), QColor(Qt::red));
        }
    }

    void pictureIsInTheMiddleAgain()
    {
        const QString path = saved(QStringLiteral("a.png"), gradient({700, 900}));
        PixmapWidget *const view = window->probe.view();
        window->open(path);
        const QImage before = view->grab().toImage();
        window->call("on_changeCoef", Q_ARG(int, 3), Q_ARG(int, 800));
        const QPoint from = view->rect().center();
        QTest::mousePress(view, Qt::LeftButton, {}, from);
        QMouseEvent drag(QEvent::MouseMove, from + QPoint(90, 70),
                         view->mapToGlobal(from + QPoint(90, 70)), Qt::NoButton, Qt::LeftButton,
                         Qt::NoModifier);
        QCoreApplication::sendEvent(view, &drag);
        QTest::mouseRelease(view, Qt::LeftButton, {}, from + QPoint(90, 70));
        emit view->menuGraphique(false);
        QTRY_COMPARE(view->size(), before.size());
        window->open(path);
        KIVRA_COMPARE_PICTURES(view->grab().toImage(), before);
    }

    void otherPixelFormats_data()
    {
        QTest::addColumn<QImage::Format>("format");
        QTest::newRow("indexed") << QImage::Format_Indexed8;
        QTest::newRow("grey") << QImage::Format_Grayscale8;
        QTest::newRow("black and white") << QImage::Format_Mono;
        QTest::newRow("translucent") << QImage::Format_ARGB32;
    }

    void otherPixelFormats()
    {
        QFETCH(QImage::Format, format);
        QImage picture = gradient({120, 90}).convertToFormat(format);
        if (format == QImage::Format_ARGB32)
            picture.setPixel(60, 45, 0x20406080);
        window->open(saved(QStringLiteral("a.png"), picture));
        QCOMPARE(window->probe.lastFrame().format(), QImage::Format_RGB32);
        KIVRA_COMPARE_PICTURES(window->probe.lastFrame(),
                               picture.convertToFormat(QImage::Format_RGB32));
    }

    void pictureIsRenderedAsFramesAre()
    {
        window->trigger("actionNegatif");
        window->open(saved(QStringLiteral("a.png"), plain({80, 60}, Qt::white)));
        QCOMPARE(shownColour(), QColor(Qt::black));
        window->trigger("actionNegatif");
        window->call("updateDisplay");
        QCOMPARE(shownColour(), QColor(Qt::white));
        KIVRA_COMPARE_PICTURES(window->probe.lastFrame(), plain({80, 60}, Qt::white));
    }

    void cameraComesBack()
    {
        window->open(saved(QStringLiteral("a.png"), gradient({300, 200})));
        QVERIFY(!device().pushPicture(gradient({64, 48})));
        window->trigger("actionStartCamera");
        QTRY_VERIFY(device().isRunning());
        QVERIFY(device().pushPicture(gradient({64, 48})));
        QCOMPARE(window->probe.lastFrame().size(), QSize(64, 48));
    }

    void failureLeavesTheCameraAlone()
    {
        QVERIFY(device().pushPicture(gradient({64, 48})));
        const QString path = pathOf(QStringLiteral("rien.jpg"));
        expectWarning(openFailure);
        window->open(path);
        QCOMPARE(boxes->lastText(), openFailureText + path);
        QVERIFY(window->probe.lastFrame().isNull());
        QVERIFY(device().isRunning());
        QCOMPARE(window->statusText(), QStringLiteral("caméra active"));
        QVERIFY(device().pushPicture(gradient({64, 48})));
        QCOMPARE(window->probe.lastFrame().size(), QSize(64, 48));
    }

    void names_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("accents") << QStringLiteral("été à Noël.png");
        QTest::newRow("blanks") << QStringLiteral(" deux  mots .png");
        QTest::newRow("other script") << QStringLiteral("写真.png");
        QTest::newRow("markup") << QStringLiteral("<b>&amp;%1.png");
        QTest::newRow("line break") << QStringLiteral("a\nb.png");
    }

    void names()
    {
        QFETCH(QString, name);
        const QString path = saved(name, gradient({30, 20}));
        window->open(path);
        KIVRA_COMPARE_PICTURES(window->probe.lastFrame(), gradient({30, 20}));
        QCOMPARE(window->statusText(), path);
        boxes->expect(openFailure);
        window->open(path + QStringLiteral(".gif"));
        QCOMPARE(boxes->lastText(), openFailureText + path + QStringLiteral(".gif"));
    }

    // Each file gives a picture or the box; then every mode, effect, coefficient and command still
    // works.
    void badFiles_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("isPicture");
        for (const char *name : {"empty", "text.jpg", "truncated.png", "huge.png", "huge.svg",
                                 "damaged.webp", "one-row-too-large.png"})
            QTest::newRow(name) << hostile(name) << false;
        for (const char *name : {"strip.png", "truncated.bmp", "outside.svg", "png-named.jpg"})
            QTest::newRow(name) << hostile(name) << true;
        QTest::newRow("folder") << Sandbox::instance().documents() << false;
        QTest::newRow("device") << QStringLiteral("/dev/zero") << false;
        QTest::newRow("no name") << QString() << false;
    }

    void badFiles()
    {
        QFETCH(QString, path);
        QFETCH(bool, isPicture);
        if (!isPicture)
            boxes->expect(openFailure);
        window->open(path);
        QCOMPARE(window->probe.lastFrame().isNull(), !isPicture);
        if (!isPicture)
            QCOMPARE(boxes->lastText(), openFailureText + path);
        useEverything();
        window->open(saved(QStringLiteral("good.png"), gradient({30, 20})));
        KIVRA_COMPARE_PICTURES(window->probe.lastFrame(), gradient({30, 20}));
    }

    void badFileOfTheCommandLine_data() { badFiles_data(); }

    void badFileOfTheCommandLine()
    {
        QFETCH(QString, path);
        QFETCH(bool, isPicture);
        if (path.isEmpty())
            return; // that is no argument at all: start without a picture
        window.reset();
        _imgAOuvrir = path;
        if (!isPicture)
            boxes->expect(openFailure);
        window = std::make_unique<Window>();
        QCOMPARE(window->probe.lastFrame().isNull(), !isPicture);
        useEverything();
    }

    void dialog()
    {
        const QString path = saved(QStringLiteral("a.png"), gradient({30, 20}));
        QDir().mkpath(getDir(QStringLiteral("tableaux")));
        QString folder;
        QStringList filters;
        expectDialog([&](QFileDialog *shown) {
            QVERIFY(!device().isRunning());
            QVERIFY(!shown->parent());
            folder = shown->directory().path();
            filters = shown->nameFilters();
            choose(shown, path);
        });
        openByDialog();
        QCOMPARE(folder, getDir(QStringLiteral("tableaux")));
        QCOMPARE(filters, QStringList(QStringLiteral("Files (*.*)")));
        KIVRA_COMPARE_PICTURES(window->probe.lastFrame(), gradient({30, 20}));
        QCOMPARE(window->statusText(), path);
    }

    void dialogMakesNoFolder()
    {
        expectDialog([](QFileDialog *shown) { shown->reject(); });
        boxes->expect(openFailure);
        openByDialog();
        QVERIFY(!QDir(getDir(QStringLiteral("tableaux"))).exists());
    }

    // Treated like a file that cannot be opened; the browser goes to the current folder.
    void cancelledDialog()
    {
        QVERIFY(device().pushPicture(gradient({64, 48})));
        const QString previous = QDir::currentPath();
        QVERIFY(QDir::setCurrent(Sandbox::instance().documents()));
        saved(QStringLiteral("a.png"), gradient({30, 20}));
        saved(QStringLiteral("b.png"), gradient({20, 30}));
        expectDialog([](QFileDialog *shown) { shown->reject(); });
        boxes->expect(openFailure);
        openByDialog();
        QCOMPARE(boxes->lastText(), openFailureText);
        QVERIFY(!device().isRunning());
        QVERIFY(window->probe.lastFrame().isNull());
        window->pressAndWait(Qt::Key_Backspace);
        QCOMPARE(window->statusText(), QStringLiteral("./a.png"));
        QCOMPARE(window->probe.lastFrame().size(), QSize(30, 20));
        QDir::setCurrent(previous);
    }

    void badFileFromTheDialog()
    {
        QFile text(pathOf(QStringLiteral("texte.png")));
        QVERIFY(text.open(QIODevice::WriteOnly));
        expectDialog([&](QFileDialog *shown) { choose(shown, text.fileName()); });
        boxes->expect(openFailure);
        openByDialog();
        QCOMPARE(boxes->lastText(), openFailureText + text.fileName());
        QVERIFY(!device().isRunning());
    }

private:
    void openByDialog()
    {
        window->trigger("actionOuvrir_Image");
        QTRY_VERIFY_WITH_TIMEOUT(!window->probe.isOpening(), kivra::test::patienceMs);
    }

    void expectDialog(const std::function<void(QFileDialog *)> &answer)
    {
        boxes->expect(QStringLiteral("Ouvrir image"),
                      [=](QDialog *shown) { answer(qobject_cast<QFileDialog *>(shown)); });
    }

    static void choose(QFileDialog *dialog, const QString &path)
    {
        dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(path);
        QMetaObject::invokeMethod(dialog, "accept");
    }

    QColor shownColour() const
    {
        const QImage shown = window->probe.view()->grab().toImage();
        return shown.pixelColor(shown.rect().center());
    }

    void useEverything()
    {
        // A stopped camera would refuse a still, but only some time later: stores the shown picture
        // instead.
        kivra::test::storeSetting(QStringLiteral("preferences/rawStore"), false);
        for (int step = 0; step < 7; ++step)
            window->trigger("actionEffet");
        window->call("on_actionEffet_artistique_triggered");
        window->call("updateDisplay");
        for (int step = 0; step < 4; ++step)
            window->trigger("actionMode");
        for (const int key : {Qt::Key_C, Qt::Key_Up, Qt::Key_L, Qt::Key_Down, Qt::Key_R,
                              Qt::Key_Plus, Qt::Key_Z, Qt::Key_Minus, Qt::Key_Left})
            QTest::keyClick(window.get(), Qt::Key(key));
        window->trigger("actionReinit");
        window->trigger("actionEnregistrer_image");
    }
};

KIVRA_TEST(TestOpen)
#include "test_open.moc"
