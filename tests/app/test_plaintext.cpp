// Texts from outside are shown as they are: no name and no driver's text is interpreted as markup.
// Every widget that the program, or Qt for it, paints is checked; so new places are found without
// being named here.

#include "tests/app/windowtest.h"
#include "tests/support/pictures.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QStatusBar>
#include <QTextEdit>
#include <QTimer>
#include <QToolTip>
#include <sys/inotify.h>
#include <unistd.h>

using kivra::test::gradient;
using kivra::test::Sandbox;
using kivra::test::WindowTest;

namespace {

QString documents()
{
    return Sandbox::instance().documents();
}

// A picture that markup refers to. Tells whether anybody opened it.
class Bait
{
public:
    Bait()
        : path(documents() + QStringLiteral("/bait.png"))
        , events(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    {
        gradient({8, 8}).save(path);
        inotify_add_watch(events, QFile::encodeName(path).constData(), IN_OPEN | IN_ACCESS);
    }
    ~Bait() { close(events); }
    Bait(const Bait &) = delete;
    Bait &operator=(const Bait &) = delete;

    bool wasTouched() const
    {
        char event[4096] = {};
        return read(events, event, sizeof event) > 0;
    }

    // A file name cannot contain a slash.
    QString inAName() const
    {
        QString address = path;
        return QStringLiteral("a<img src=\"%1\">")
            .arg(address.replace(QLatin1Char('/'), QLatin1String("&#47;")));
    }

    QString inAText() const { return QStringLiteral("<b>x</b><img src=\"%1\">").arg(path); }

private:
    QString path;
    int events;
};

// Checks each widget that is painted, and reports those that would interpret markup.
class MarkupWatch : public QObject
{
public:
    MarkupWatch() { qApp->installEventFilter(this); }

    QStringList seen;  // texts that look like markup, as they were shown
    QStringList found; // places where it would be interpreted

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint && watched->isWidgetType())
            look(watched);
        return QObject::eventFilter(watched, event);
    }

private:
    void look(QObject *widget)
    {
        if (const auto *const label = qobject_cast<const QLabel *>(widget)) {
            if (label->textFormat() != Qt::PlainText)
                found += QString::fromLatin1(label->metaObject()->className()) +
                         QStringLiteral(": ") + label->text();
            if (Qt::mightBeRichText(label->text()))
                seen += label->text();
        } else if (const auto *const edit = qobject_cast<const QTextEdit *>(widget)) {
            if (edit->acceptRichText() && !edit->isReadOnly())
                return; // nothing of the program's; a user's own text
            found += QStringLiteral("rich text: ") + edit->toPlainText();
        }
    }
};

} // namespace

class TestPlainText : public WindowTest
{
    Q_OBJECT

private slots:
    void init()
    {
        begin();
        bait = std::make_unique<Bait>();
        watch = std::make_unique<MarkupWatch>();
    }

    void cleanup()
    {
        window.reset();
        QVERIFY2(watch->found.isEmpty(), qPrintable(watch->found.join(QLatin1Char('\n'))));
        QVERIFY2(!bait->wasTouched(), "a text was followed as markup");
        watch.reset();
        bait.reset();
        QVERIFY2(boxes->verify().isEmpty(), qPrintable(boxes->verify()));
    }

    // The watch itself finds what it should: a label that interprets markup.
    void watchFindsMarkup()
    {
        QLabel label(bait->inAText());
        label.show();
        QVERIFY(QTest::qWaitForWindowExposed(&label));
        QTRY_VERIFY(!watch->found.isEmpty());
        QVERIFY(bait->wasTouched());
        watch->found.clear();
    }

    void fileThatCannotBeOpened()
    {
        openWindow();
        const QString path = documents() + QLatin1Char('/') + bait->inAName();
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("no picture");
        file.close();
        expectPainted(kivra::test::openFailure);
        window->open(path);
        QVERIFY(!watch->seen.filter(path).isEmpty());
    }

    void fileThatIsShown()
    {
        openWindow();
        const QString path =
            documents() + QLatin1Char('/') + bait->inAName() + QStringLiteral(".png");
        QVERIFY(gradient({30, 20}).save(path));
        window->open(path);
        QCOMPARE(window->statusText(), path);
        QVERIFY(!window->statusBar()->grab().isNull());
        const QString folder =
            documents() + QLatin1Char('/') + bait->inAName() + QStringLiteral(" folder");
        QVERIFY(QDir().mkdir(folder));
        QVERIFY(gradient({30, 20}).save(folder + QStringLiteral("/a.png")));
        window->open(folder + QStringLiteral("/a.png"));
    }

    void camerasNames()
    {
        device().setDevices({{"un", bait->inAText()}, {"deux", bait->inAText()}});
        openWindow();
        auto *const menu = window->find<QMenu>("menuDevices");
        menu->setToolTipsVisible(true); // as a style may
        menu->popup(window->pos());
        QTRY_VERIFY(menu->isVisible());
        for (QAction *action : menu->actions()) {
            menu->setActiveAction(action);
            QToolTip::showText(menu->pos(), action->toolTip(), menu);
            QCoreApplication::processEvents();
        }
        menu->close();
        QToolTip::hideText();
    }

    void camerasErrors()
    {
        openWindow();
        expectPainted(QStringLiteral("Camera error"));
        device().raiseError(QCamera::CameraError, bait->inAText());
        QTRY_COMPARE(boxes->answered(), 1);
        QVERIFY(!watch->seen.filter(bait->inAText()).isEmpty());
    }

    void stillsErrors()
    {
        openWindow();
        expectPainted(QStringLiteral("Image Capture Error"));
        window->call("displayCaptureError", Q_ARG(int, 1),
                     Q_ARG(QCameraImageCapture::Error, QCameraImageCapture::ResourceError),
                     Q_ARG(QString, bait->inAText()));
        QCOMPARE(boxes->answered(), 1);
    }

    void codecs()
    {
        device().setStillCodecs({bait->inAText()});
        openWindow();
        boxes->expect(QStringLiteral("Dialog"), [](QDialog *dialog) {
            QVERIFY(!dialog->grab().isNull());
            dialog->reject();
        });
        window->trigger("actionImageSettings");
    }

    void messageOnThePicture()
    {
        kivra::test::storeSetting(QStringLiteral("preferences/displayMsg"), true);
        openWindow();
        window->call("displayMsg", Q_ARG(QString, bait->inAText()));
        QCOMPARE(window->messageText(), bait->inAText());
        QVERIFY(!window->grab().isNull());
    }

    void toolTips()
    {
        openWindow();
        QToolTip::showText(window->mapToGlobal(QPoint(20, 20)), bait->inAText(), window.get());
        QTRY_VERIFY(QToolTip::isVisible());
        QTRY_VERIFY(watch->seen.contains(bait->inAText()));
        QToolTip::hideText();
    }

    // Qt's own dialog lists names, and complains of files that do not exist.
    void fileDialog()
    {
        const QString name = bait->inAName() + QStringLiteral(".png");
        QVERIFY(gradient({30, 20}).save(documents() + QLatin1Char('/') + name));
        openWindow();
        boxes->expect(QStringLiteral("Ouvrir image"), [&](QDialog *shown) {
            auto *const dialog = qobject_cast<QFileDialog *>(shown);
            dialog->setDirectory(documents());
            QTRY_VERIFY(!dialog->grab().isNull());
            boxes->expect(dialog->windowTitle(), [](QDialog *complaint) {
                QVERIFY(!complaint->grab().isNull());
                complaint->reject();
            });
            boxes->expect(kivra::test::openFailure);
            dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))
                ->setText(documents() + QLatin1Char('/') + bait->inAName() +
                          QStringLiteral("gone"));
            QMetaObject::invokeMethod(dialog, "accept");
            dialog->reject();
        });
        window->trigger("actionOuvrir_Image");
    }

private:
    // The box is painted before it is answered.
    void expectPainted(const QString &title)
    {
        boxes->expect(title, [](QDialog *box) {
            QVERIFY(!box->grab().isNull());
            QTest::keyClick(box, Qt::Key_Return);
        });
    }

    std::unique_ptr<Bait> bait;
    std::unique_ptr<MarkupWatch> watch;
};

KIVRA_TEST(TestPlainText)
#include "test_plaintext.moc"
