// The menu "Aide": two addresses that the desktop opens, and two boxes of text. Nothing changes in
// the program.

#include "tests/app/windowtest.h"
#include "tests/support/pictures.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QDesktopServices>
#include <QFile>
#include <QGuiApplication>
#include <QMenu>
#include <QMessageBox>
#include <QScreen>
#include <QUrl>

using kivra::test::gradient;
using kivra::test::Sandbox;
using kivra::test::storeSetting;
using kivra::test::TestCamera;
using kivra::test::Window;
using kivra::test::WindowTest;

namespace {

// Takes the place of the desktop's browser while it lives.
class Browser : public QObject
{
    Q_OBJECT

public:
    Browser() { QDesktopServices::setUrlHandler(QStringLiteral("http"), this, "open"); }
    ~Browser() override { QDesktopServices::unsetUrlHandler(QStringLiteral("http")); }

    QList<QUrl> opened;

public slots:
    void open(const QUrl &address) { opened.append(address); }
};

QString onServer(const char *path)
{
    return QStringLiteral("http://" KIVRA_DOWNLOAD_HOST) + QLatin1String(path);
}

QByteArray storeFile()
{
    QFile file(Sandbox::instance().home() + QStringLiteral("/config/Orvane/KivraQt.conf"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// All that a command could have changed, for comparison.
QVariantList stateOf(const Window &window)
{
    const CameraProbe &probe = window.probe;
    const TestCamera::Record &record = TestCamera::instance().record();
    return {probe.imageProcessing(), probe.displayMode(), probe.lumiere(),
            probe.contraste(),       probe.reglage(),     probe.coefZoom(),
            probe.coefCourant(),     probe.smallField(),  probe.captureInProgress(),
            probe.closePending(),    probe.lastFrame(),   window.statusText(),
            window.geometry(),       window.isEnabled(),  window.isVisible(),
            record.opened,           record.started,      record.stopped,
            record.stills.size(),    storeFile()};
}

QString screenSize(const Window &window)
{
    const QSize size = window.screen()->availableSize();
    return QStringLiteral("%1x%2").arg(size.width()).arg(size.height());
}

} // namespace

class TestHelp : public WindowTest
{
    Q_OBJECT

private slots:
    void init() { begin(); }

    void menu()
    {
        window = std::make_unique<Window>();
        QStringList texts;
        for (const QAction *entry : window->find<QMenu>("menuAide")->actions())
            texts += entry->text();
        QCOMPARE(texts,
                 (QStringList{QStringLiteral("Aide"), QString(), QStringLiteral("Mise à jour"),
                              QStringLiteral("Info Système"), QStringLiteral("A propos")}));
    }

    void addressesAreOpened_data()
    {
        QTest::addColumn<QString>("action");
        QTest::addColumn<QString>("address");
        QTest::newRow("manual") << QStringLiteral("actionAide")
                                << onServer("/downloads/notice-KvQt.pdf");
        QTest::newRow("update") << QStringLiteral("actionMiseAJour")
                                << onServer("/downloads/KivraQt.dmg");
    }

    void addressesAreOpened()
    {
        QFETCH(QString, action);
        QFETCH(QString, address);
        const Browser browser;
        window = std::make_unique<Window>();
        const QVariantList before = stateOf(*window);
        window->trigger(action.toLatin1().constData());
        QCOMPARE(browser.opened.size(), 1);
        QCOMPARE(browser.opened.constFirst().toString(QUrl::FullyEncoded), address);
        QVERIFY(browser.opened.constFirst().isValid());
        QCOMPARE(stateOf(*window), before);
    }

    void eachUseOpensTheAddressAgain()
    {
        const Browser browser;
        window = std::make_unique<Window>();
        window->trigger("actionAide");
        window->trigger("actionMiseAJour");
        window->trigger("actionAide");
        QCOMPARE(browser.opened.size(), 3);
        QCOMPARE(browser.opened.at(0), browser.opened.at(2));
        QVERIFY(browser.opened.at(0) != browser.opened.at(1));
    }

    void heldKeyOpensTheManualOnce()
    {
        const Browser browser;
        openWindow();
        hold(Qt::Key_F1);
        QCOMPARE(browser.opened.size(), 1);
    }

    void silenceWhenNothingOpensTheAddress_data()
    {
        QTest::addColumn<QString>("action");
        QTest::newRow("manual") << QStringLiteral("actionAide");
        QTest::newRow("update") << QStringLiteral("actionMiseAJour");
    }

    // The offscreen platform opens no address. A box would fail the test as unexpected.
    void silenceWhenNothingOpensTheAddress()
    {
        QFETCH(QString, action);
        QCOMPARE(QGuiApplication::platformName(), QStringLiteral("offscreen"));
        window = std::make_unique<Window>();
        const QVariantList before = stateOf(*window);
        window->trigger(action.toLatin1().constData());
        QCoreApplication::processEvents();
        QVERIFY(!QApplication::activeModalWidget());
        QCOMPARE(stateOf(*window), before);
    }

    void sizesBeforeAnyFrame()
    {
        window = std::make_unique<Window>();
        expectBox("actionInfoSysteme", QStringLiteral("Taille écran ") + screenSize(*window) +
                                           QStringLiteral("\nTaille image 0x0"));
    }

    void sizesOfScreenAndPicture()
    {
        window = std::make_unique<Window>();
        QTRY_VERIFY(device().isRunning());
        QVERIFY(device().pushPicture(gradient({1280, 720})));
        expectBox("actionInfoSysteme", QStringLiteral("Taille écran ") + screenSize(*window) +
                                           QStringLiteral("\nTaille image 1280x720"));
    }

    void sizesOfAFile()
    {
        const QString path = Sandbox::instance().documents() + QStringLiteral("/carte.png");
        QVERIFY(gradient({31, 17}).save(path));
        window = std::make_unique<Window>();
        window->open(path);
        expectBox("actionInfoSysteme", QStringLiteral("Taille écran ") + screenSize(*window) +
                                           QStringLiteral("\nTaille image 31x17"));
    }

    void sizesInTheReducedField_data()
    {
        QTest::addColumn<QSize>("frame");
        QTest::addColumn<QString>("shown");
        QTest::newRow("1280 x 720") << QSize(1280, 720) << QStringLiteral("640x360");
        QTest::newRow("a quarter cut, then doubled") << QSize(67, 50) << QStringLiteral("32x24");
    }

    void sizesInTheReducedField()
    {
        QFETCH(QSize, frame);
        QFETCH(QString, shown);
        storeSetting(QStringLiteral("preferences/restore"), true);
        storeSetting(QStringLiteral("preferences/smallField"), true);
        window = std::make_unique<Window>();
        QTRY_VERIFY(device().isRunning());
        QVERIFY(device().pushPicture(gradient(frame)));
        expectBox("actionInfoSysteme", QStringLiteral("Taille écran ") + screenSize(*window) +
                                           QStringLiteral("\nTaille image ") + shown);
    }

    void about()
    {
        window = std::make_unique<Window>();
        expectBox("actionA_propos", QStringLiteral("Kivra multi-plateforme\n\nVersion 0.5.7"));
    }

    void boxesCloseByEscape()
    {
        window = std::make_unique<Window>();
        for (const char *action : {"actionInfoSysteme", "actionA_propos"}) {
            boxes->expect(QString(), [](QDialog *box) { QTest::keyClick(box, Qt::Key_Escape); });
            window->trigger(action);
        }
        QCOMPARE(boxes->answered(), 2);
        QVERIFY(window->isVisible());
    }

private:
    // The action shows this text in a plain box: no title, no icon, no parent, OK alone. Nothing in
    // the program changes.
    void expectBox(const char *action, const QString &text)
    {
        const QVariantList before = stateOf(*window);
        boxes->expect(QString(), [](QDialog *dialog) {
            const auto *const box = qobject_cast<const QMessageBox *>(dialog);
            QVERIFY(box);
            QVERIFY(box->isModal());
            QVERIFY(!box->parent());
            QCOMPARE(box->icon(), QMessageBox::NoIcon);
            QVERIFY(box->iconPixmap().isNull());
            QCOMPARE(box->informativeText(), QString());
            QCOMPARE(box->standardButtons(), QMessageBox::Ok);
            QTest::keyClick(dialog, Qt::Key_Return);
        });
        window->trigger(action);
        QCOMPARE(boxes->answered(), 1);
        QCOMPARE(boxes->lastText(), text);
        QCOMPARE(stateOf(*window), before);
    }
};

KIVRA_TEST(TestHelp)
#include "test_help.moc"
