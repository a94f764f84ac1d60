// What the built program makes of its command line.

#include "tests/desktop/desktop.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QDir>

using kivra::test::Desktop;
using kivra::test::extentOf;
using kivra::test::patienceMs;
using kivra::test::Sandbox;

namespace {

const QColor purple(150, 40, 190);

} // namespace

class TestArguments : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        Sandbox::instance().reset();
        QImage picture(320, 240, QImage::Format_RGB32);
        picture.fill(purple);
        QVERIFY(picture.save(path()));
        desktop = std::make_unique<Desktop>();
    }

    void cleanup()
    {
        desktop->keepScreenshot(QStringLiteral("arguments_") +
                                QString::fromLatin1(QTest::currentTestFunction()));
        QCOMPARE(desktop->close(), 0);
    }

    void cleanupTestCase() { desktop.reset(); }

    void firstIsThePictureToShow()
    {
        QVERIFY(desktop->start({path()}));
        QTRY_VERIFY_WITH_TIMEOUT(!extentOf(desktop->windowContent(), purple).isEmpty(), patienceMs);
        const QImage content = desktop->windowContent();
        constexpr int margins = 40; // of the window, both together, and some
        QVERIFY(extentOf(content, purple).width() > content.width() - margins);
    }

    void currentFolderIsTraced()
    {
        QVERIFY(desktop->start());
        QString log;
        const auto isTraced = [&] {
            log += desktop->log();
            return log.contains(QDir::currentPath());
        };
        QVERIFY(QTest::qWaitFor(isTraced, patienceMs));
    }

    // The window would wait behind a box if the second one were opened too.
    void furtherOnesAreIgnored()
    {
        QVERIFY(desktop->start({path(), QStringLiteral("/nowhere/at/all.png")}));
        QTRY_VERIFY_WITH_TIMEOUT(!extentOf(desktop->windowContent(), purple).isEmpty(), patienceMs);
    }

private:
    static QString path() { return Sandbox::instance().home() + QStringLiteral("/purple.png"); }

    std::unique_ptr<Desktop> desktop;
};

KIVRA_TEST(TestArguments)
#include "test_arguments.moc"
