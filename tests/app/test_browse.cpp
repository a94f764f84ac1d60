// Space and Backspace: stepping through stored pictures, seen in the window.

#include "storage/paths.h"
#include "tests/app/windowtest.h"
#include "tests/support/pictures.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QFileDialog>
#include <QLineEdit>

using kivra::test::openFailure;
using kivra::test::openFailureText;
using kivra::test::TestCamera;
using kivra::test::Window;
using kivra::test::WindowTest;

namespace {

QString storage()
{
    return storageRoot() + QStringLiteral("/tableaux/");
}

// The number of a picture as its colour.
QRgb colourOf(int number)
{
    return 0xff000000U | unsigned(number) * 2749U;
}

QString addPicture(const QString &name, int number)
{
    QString path = storage() + name;
    QDir().mkpath(QFileInfo(path).path());
    QImage picture(8, 6, QImage::Format_RGB32);
    picture.fill(colourOf(number));
    if (!picture.save(path, "png")) // the content decides, not the suffix
        qFatal("cannot write %s", qPrintable(path));
    return path;
}

} // namespace

class TestBrowse : public WindowTest
{
    Q_OBJECT

private slots:
    void init()
    {
        begin();
        paths.clear();
    }

    void walk_data()
    {
        QTest::addColumn<int>("months");
        QTest::addColumn<int>("picturesEach");
        QTest::newRow("one picture") << 1 << 1;
        QTest::newRow("two months of two") << 2 << 2;
        QTest::newRow("years") << 40 << 3;
    }

    // From the newest to the oldest and back; at both ends it stays.
    void walk()
    {
        QFETCH(int, months);
        QFETCH(int, picturesEach);
        makeTree(months, picturesEach);
        open();
        const int last = paths.size() - 1;
        press(Qt::Key_Space); // the browser stands on the newest already
        expectShown(last);
        for (int number = last - 1; number >= 0; --number) {
            press(Qt::Key_Backspace);
            expectShown(number);
        }
        press(Qt::Key_Backspace);
        expectShown(0);
        for (int number = 1; number <= last; ++number) {
            press(Qt::Key_Space);
            expectShown(number);
        }
        press(Qt::Key_Space);
        expectShown(last);
    }

    // Queued auto-repeats would go on paging after the release.
    void heldKeyDoesNotRunAhead()
    {
        constexpr int repeats = 60;
        makeTree(1, 2 * repeats);
        open();
        hold(Qt::Key_Backspace, Qt::NoModifier, repeats);
        QTRY_VERIFY(!window->probe.isOpening());
        const int shown = paths.indexOf(window->statusText());
        QVERIFY(shown > paths.size() - 1 - repeats / 2);
        QVERIFY(shown < paths.size() - 1);
    }

    void heldKeyLeafs()
    {
        makeTree(1, 5);
        open();
        press(Qt::Key_Backspace);
        QTRY_COMPARE(shownAfterRepeated(Qt::Key_Backspace), paths.first());
        QTRY_COMPARE(shownAfterRepeated(Qt::Key_Space), paths.last());
    }

    void keysStopTheCamera()
    {
        makeTree(1, 1);
        open();
        QTRY_VERIFY(TestCamera::instance().isRunning());
        press(Qt::Key_Space);
        QVERIFY(!TestCamera::instance().isRunning());
    }

    void modifiersPlayNoPart()
    {
        makeTree(1, 3);
        open();
        window->pressAndWait(Qt::Key_Backspace, Qt::ShiftModifier);
        expectShown(1);
        window->pressAndWait(Qt::Key_Space, Qt::ControlModifier);
        expectShown(2);
    }

    void noPictures()
    {
        open();
        for (const Qt::Key key : {Qt::Key_Space, Qt::Key_Backspace}) {
            boxes->expect(openFailure);
            press(key);
            QCOMPARE(boxes->lastText(), openFailureText);
        }
    }

    void otherFilesAreNotBrowsed()
    {
        paths += addPicture(QStringLiteral("2025-01/a.png"), 0);
        paths += addPicture(QStringLiteral("2025-01/c.jpg"), 1);
        for (const char *name : {"b.JPG", "b.jpeg", "b.gif", ".d.jpg", "d.jpg~"})
            addPicture(QStringLiteral("2025-01/") + QLatin1String(name), 9);
        open();
        press(Qt::Key_Space);
        expectShown(1);
        press(Qt::Key_Backspace);
        expectShown(0);
    }

    void removedPicture()
    {
        makeTree(1, 3);
        open();
        press(Qt::Key_Space);
        QVERIFY(QFile::remove(paths.at(1)));
        boxes->expect(openFailure);
        press(Qt::Key_Backspace);
        QCOMPARE(boxes->lastText(), openFailureText + paths.at(1));
        press(Qt::Key_Backspace);
        expectShown(0);
    }

    void emptiedMonth()
    {
        makeTree(3, 2);
        open();
        press(Qt::Key_Backspace);
        expectShown(4);
        QVERIFY(QDir(storage() + QStringLiteral("2021-02")).removeRecursively());
        press(Qt::Key_Backspace); // nothing there: what was shown stays
        expectShown(4);
        press(Qt::Key_Backspace);
        expectShown(1);
    }

    void storageThatVanishes()
    {
        makeTree(2, 2);
        open();
        press(Qt::Key_Space);
        QVERIFY(QDir(storageRoot()).removeRecursively());
        boxes->expect(openFailure);
        press(Qt::Key_Backspace);
        QCOMPARE(boxes->lastText(), openFailureText + paths.at(2));
        makeTree(2, 2);
        press(Qt::Key_Backspace);
        expectShown(1);
    }

    void openedFolderIsBrowsedAlone()
    {
        makeTree(3, 2);
        open();
        openByDialog(paths.at(2));
        expectShown(2);
        press(Qt::Key_Backspace); // begins at the newest of the folder, whichever was opened
        expectShown(2);
        press(Qt::Key_Backspace);
        expectShown(2);
        press(Qt::Key_Space);
        expectShown(3);
        press(Qt::Key_Space);
        expectShown(3);
    }

    // The browser looks for the folder's own picture under a wrong path: the folder's, with the
    // name of its last sub-folder appended without a slash.
    void openedFolderWithSubfolders()
    {
        const QString path = addPicture(QStringLiteral("2021-01/a.png"), 1);
        addPicture(QStringLiteral("2021-01/b.png"), 2);
        QVERIFY(QDir(storage() + QStringLiteral("2021-01")).mkdir(QStringLiteral("sub")));
        open();
        openByDialog(path);
        QCOMPARE(window->statusText(), path);
        boxes->expect(openFailure);
        press(Qt::Key_Backspace);
        QCOMPARE(boxes->lastText(),
                 openFailureText + storage() + QStringLiteral("2021-01sub/a.png"));
    }

    void picturesTakenMeanwhile()
    {
        makeTree(1, 2);
        open();
        press(Qt::Key_Space);
        const QString later = addPicture(QStringLiteral("2021-01/zz.jpg"), 7);
        press(Qt::Key_Space); // not known yet
        expectShown(1);
        window.reset();
        open();
        press(Qt::Key_Space);
        QCOMPARE(window->statusText(), later);
    }

private:
    // Makes months from January 2021 on, with this many pictures each.
    void makeTree(int months, int picturesEach)
    {
        paths.clear();
        for (int month = 0; month < months; ++month) {
            for (int picture = 0; picture < picturesEach; ++picture) {
                const QString name =
                    QString::asprintf("%d-%02d/im%d.%s", 2021 + month / 12, 1 + month % 12, picture,
                                      picture % 2 ? "jpg" : "png");
                paths += addPicture(name, paths.size());
            }
        }
    }

    void open() { window = std::make_unique<Window>(); }
    void press(Qt::Key key) const { window->pressAndWait(key); }

    void openByDialog(const QString &path)
    {
        boxes->expect(QStringLiteral("Ouvrir image"), [=](QDialog *dialog) {
            dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(path);
            QMetaObject::invokeMethod(dialog, "accept");
        });
        window->trigger("actionOuvrir_Image");
        QTRY_VERIFY(!window->probe.isOpening());
    }

    QString shownAfterRepeated(Qt::Key key) const
    {
        QKeyEvent repeated(QEvent::KeyPress, key, Qt::NoModifier, QString(), true);
        QCoreApplication::sendEvent(window.get(), &repeated);
        return window->statusText();
    }

    void expectShown(int number) const
    {
        QCOMPARE(window->statusText(), paths.at(number));
        QCOMPARE(window->probe.lastFrame().pixel(4, 3), colourOf(number));
    }

    QStringList paths; // of the tree, oldest first
};

KIVRA_TEST(TestBrowse)
#include "test_browse.moc"
