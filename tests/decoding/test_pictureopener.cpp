// Looking at one picture after the other: the last request counts, and the next picture is ready.

#include "decoding/pictureopener.h"
#include "tests/decoding/faultyformat.h"
#include "tests/support/files.h"
#include "tests/support/patience.h"
#include "tests/support/pictures.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QFile>
#include <QSignalSpy>

using kivra::PictureOpener;
using kivra::test::faultyPicture;
using kivra::test::gradient;
using kivra::test::pathOf;
using kivra::test::patienceMs;
using kivra::test::Sandbox;
using kivra::test::written;

namespace {

QString saved(const QString &name, const QSize &size)
{
    if (!gradient(size).save(pathOf(name), "png"))
        qFatal("cannot write %s", qPrintable(name));
    return pathOf(name);
}

} // namespace

class TestPictureOpener : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        Sandbox::instance().reset();
        opener = std::make_unique<PictureOpener>();
        opened = std::make_unique<QSignalSpy>(opener.get(), &PictureOpener::opened);
    }

    void opensAndFails()
    {
        QCOMPARE(open(saved(QStringLiteral("a.png"), {30, 20})), QSize(30, 20));
        QCOMPARE(opener->path(), QString());
        const QString nothing = pathOf(QStringLiteral("nothing"));
        QCOMPARE(open(nothing), QSize(0, 0));
        QCOMPARE(opened->constLast().constFirst().toString(), nothing);
        QCOMPARE(open(QString()), QSize(0, 0));
        QCOMPARE(opened->constLast().constFirst().toString(), QString());
    }

    void lastRequestCounts()
    {
        const QString slow = written(QStringLiteral("slow"), faultyPicture("work"));
        for (int round = 0; round < 3; ++round) {
            opener->open(slow);
            opener->open(slow);
            QVERIFY(opener->isOpening());
            QCOMPARE(opener->path(), slow);
            QCOMPARE(open(saved(QStringLiteral("a.png"), {30, 20 + round})), QSize(30, 20 + round));
        }
        QCOMPARE(opened->size(), 3);
    }

    void givingUp()
    {
        opener->giveUp();
        opener->open(written(QStringLiteral("slow"), faultyPicture("wait")));
        opener->giveUp();
        QVERIFY(!opener->isOpening());
        QCOMPARE(open(saved(QStringLiteral("a.png"), {30, 20})), QSize(30, 20));
        QCOMPARE(opened->size(), 1);
    }

    void waiting()
    {
        opener->open(saved(QStringLiteral("a.png"), {30, 20}));
        opener->wait();
        QCOMPARE(opened->size(), 1);
        opener->wait();
        QCOMPARE(opened->size(), 1);
    }

    // It is opened within the call.
    void lookedAheadIsThereAtOnce()
    {
        const QString next = saved(QStringLiteral("b.png"), {40, 20});
        open(saved(QStringLiteral("a.png"), {30, 20}));
        lookAhead(next);
        opener->open(next);
        QCOMPARE(opened->size(), 2);
        KIVRA_COMPARE_PICTURES(opened->constLast().at(1).value<QImage>(), gradient({40, 20}));
    }

    void theOneBeforeIsThereAtOnce()
    {
        const QString first = saved(QStringLiteral("a.png"), {30, 20});
        open(first);
        open(saved(QStringLiteral("b.png"), {40, 20}));
        opener->open(first);
        QCOMPARE(opened->size(), 3);
        QCOMPARE(opened->constLast().at(1).value<QImage>().size(), QSize(30, 20));
    }

    // At either end, a step opens the same picture again; then back to the one before.
    void theSameAgainIsThereAtOnce()
    {
        const QString first = saved(QStringLiteral("a.png"), {30, 20});
        const QString second = saved(QStringLiteral("b.png"), {40, 20});
        open(first);
        open(second);
        for (const QString &again : {second, second, first}) {
            opener->open(again);
            QVERIFY(!opener->isOpening());
        }
        QCOMPARE(opened->size(), 5);
        saved(QStringLiteral("a.png"), {50, 20});
        QCOMPARE(open(first), QSize(50, 20));
        opener->open(second);
        QVERIFY(!opener->isOpening());
    }

    void lookedAheadButChanged()
    {
        const QString next = saved(QStringLiteral("b.png"), {40, 20});
        lookAhead(next);
        saved(QStringLiteral("b.png"), {50, 20});
        QCOMPARE(open(next), QSize(50, 20));
        lookAhead(saved(QStringLiteral("c.png"), {40, 20}));
        QVERIFY(QFile::remove(pathOf(QStringLiteral("c.png"))));
        QCOMPARE(open(pathOf(QStringLiteral("c.png"))), QSize(0, 0));
    }

    // A picture that is wanted while it is being decoded ahead is not decoded twice.
    void lookedAheadIsWaitedFor()
    {
        const QString next = written(QStringLiteral("b"), faultyPicture("work 200"));
        opener->lookAhead(next);
        opener->open(next);
        QVERIFY(opener->isOpening());
        QTRY_COMPARE_WITH_TIMEOUT(opened->size(), 1, patienceMs);
        QCOMPARE(opened->constLast().at(1).value<QImage>().size(), QSize(1, 1));
    }

    void lookingAheadGivesWay()
    {
        opener->lookAhead(written(QStringLiteral("slow"), faultyPicture("work")));
        QCOMPARE(open(saved(QStringLiteral("a.png"), {30, 20})), QSize(30, 20));
        QCOMPARE(opened->size(), 1);
        // Nor does it look ahead while a picture is being opened.
        opener->open(written(QStringLiteral("slow"), faultyPicture("wait")));
        opener->lookAhead(pathOf(QStringLiteral("a.png")));
        opener->giveUp();
        QCOMPARE(opened->size(), 1);
    }

    void failureAheadIsNoFailure()
    {
        const QString bad = written(QStringLiteral("bad"), "no picture");
        lookAhead(bad);
        QCOMPARE(opened->size(), 0);
        QCOMPARE(open(bad), QSize(0, 0));
        QCOMPARE(open(saved(QStringLiteral("a.png"), {30, 20})), QSize(30, 20));
    }

    // Too large to be held; opened all the same.
    void largePicturesAreNotHeld()
    {
        const QString large = written(QStringLiteral("large"), faultyPicture("size 10000 5001"));
        lookAhead(large);
        QCOMPARE(open(large), QSize(10000, 5001));
        open(saved(QStringLiteral("a.png"), {30, 20}));
        opener->open(large);
        QVERIFY(opener->isOpening()); // not held either as the one before
        opener->giveUp();
        const QString largest = written(QStringLiteral("held"), faultyPicture("size 10000 5000"));
        lookAhead(largest);
        opener->open(largest);
        QVERIFY(!opener->isOpening());
    }

    void forgetting()
    {
        const QString next = saved(QStringLiteral("b.png"), {40, 20});
        lookAhead(next);
        opener->forget();
        opener->open(next);
        QVERIFY(opener->isOpening());
        QTRY_COMPARE(opened->size(), 1);
    }

    // A slot of opened() may open the next picture, or delete the opener.
    void ownerActsWhenTold()
    {
        const QString next = saved(QStringLiteral("b.png"), {40, 20});
        connect(opener.get(), &PictureOpener::opened, this, [&](const QString &path) {
            if (path != next)
                opener->open(next);
            else
                opener.release()->deleteLater();
        });
        opener->open(saved(QStringLiteral("a.png"), {30, 20}));
        QTRY_VERIFY(!opener);
    }

private:
    QSize open(const QString &path)
    {
        const int before = opened->size();
        opener->open(path);
        if (!QTest::qWaitFor([&] { return opened->size() > before; }, patienceMs))
            qFatal("nothing was told");
        return opened->constLast().at(1).value<QImage>().size();
    }

    // Looks ahead, and waits until the picture is decoded.
    void lookAhead(const QString &path)
    {
        opener->lookAhead(path);
        const QList<kivra::PictureDecoder *> all = opener->findChildren<kivra::PictureDecoder *>();
        QCOMPARE(all.size(), 2);
        QTRY_VERIFY_WITH_TIMEOUT(!all.at(0)->isBusy() && !all.at(1)->isBusy(), patienceMs);
    }

    std::unique_ptr<PictureOpener> opener;
    std::unique_ptr<QSignalSpy> opened;
};

KIVRA_TEST(TestPictureOpener)
#include "test_pictureopener.moc"
