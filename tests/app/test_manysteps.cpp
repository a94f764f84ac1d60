// Many steps through a folder with broken, hostile and huge files among good ones: every good one
// is shown, none is lost, and nothing is left behind.
//
// KIVRA_STEPS sets how many (150 by default, from end to end and back; scripts/endure takes
// thousands).

#include "storage/paths.h"
#include "tests/app/windowtest.h"
#include "tests/decoding/faultyformat.h"
#include "tests/support/memory.h"
#include "tests/support/patience.h"
#include "tests/support/pictures.h"
#include "tests/support/testmain.h"
#include "tests/support/thisbuild.h"

#include <QDir>
#include <QFile>
#include <QMessageBox>
#include <QTimer>
#include <cstdio>
#include <sys/wait.h>

using kivra::test::DialogWatch;
using kivra::test::faultyPicture;
using kivra::test::gradient;
using kivra::test::patienceMs;
using kivra::test::Window;
using kivra::test::WindowTest;

namespace {

constexpr int goodPictures = 50;
constexpr qint64 allowedGrowth = qint64(8) << 20;

// Answers every failure, and remembers which file it was about.
class Failures : public DialogWatch
{
public:
    QStringList texts;

protected:
    void opened(QDialog *box) override
    {
        texts +=
            qobject_cast<QMessageBox *>(box) ? static_cast<QMessageBox *>(box)->text() : QString();
        box->accept();
    }
};

QString folder()
{
    return storageRoot() + QStringLiteral("/tableaux/2026-01/");
}

int openDescriptors()
{
    return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System).size();
}

int childProcesses()
{
    QFile list(QStringLiteral("/proc/self/task/%1/children").arg(getpid()));
    if (!list.open(QIODevice::ReadOnly))
        qFatal("this kernel does not tell the children of a process");
    return list.readAll().simplified().split(' ').size();
}

int stepsToTake()
{
    bool isNumber = false;
    const int steps = qEnvironmentVariableIntValue("KIVRA_STEPS", &isNumber);
    return isNumber ? steps : 150;
}

} // namespace

class TestManySteps : public WindowTest
{
    Q_OBJECT

private slots:
    void init()
    {
        begin();
        boxes.reset();
        QDir().mkpath(folder());
        for (int number = 0; number < goodPictures; ++number)
            addGood(number);
        addBad();
    }

    void run()
    {
        Failures failures;
        window = std::make_unique<Window>();
        QTRY_VERIFY(window->probe.imageCapture()->isReadyForCapture());
        const QStringList names = QDir(folder()).entryList(QDir::Files, QDir::Name);
        position = names.size() - 1;         // where the browser begins
        walk(names, names.size(), failures); // now all that is kept on purpose is there
        const int descriptorsBefore = openDescriptors();
        const qint64 memoryBefore = kivra::test::residentMemory();

        walk(names, stepsToTake(), failures);
        // Goes on until the next picture is a good one: decoding another ahead may take long.
        while (!names.value(position + direction).contains(QLatin1String("good")))
            walk(names, 1, failures);
        QCOMPARE(shown.size(), goodPictures);

        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QTRY_VERIFY2(childProcesses() <= 2, "decoders are left behind");
        QTRY_VERIFY(!window->probe.isLookingAhead());
        QTRY_VERIFY2(openDescriptors() <= descriptorsBefore + 2, "descriptors are left behind");
        const qint64 grown = kivra::test::residentMemory() - memoryBefore;
        std::printf("%d steps, %d failures, grown by %lld KiB\n", taken, failures.texts.size(),
                    static_cast<long long>(grown / 1024));
        if (!kivra::test::isSanitized())
            QVERIFY2(grown <= allowedGrowth, qPrintable(QString::number(grown)));
        window.reset();
        QTRY_VERIFY(waitpid(-1, nullptr, WNOHANG) < 0);
    }

    void cleanup() { window.reset(); }

private:
    // From end to end and back. Escape gives up a file whose decoding would take minutes.
    void walk(const QStringList &names, int steps, Failures &failures)
    {
        for (int step = 0; step < steps; ++step, ++taken) {
            if (position + direction < 0 || position + direction >= names.size())
                direction = -direction;
            position += direction;
            const QString &name = names.at(position);
            const int failuresBefore = failures.texts.size();
            QTest::keyClick(window.get(), direction > 0 ? Qt::Key_Space : Qt::Key_Backspace);
            if (name.contains(QLatin1String("endless")) && window->probe.isOpening())
                QTest::keyClick(window.get(), Qt::Key_Escape);
            QVERIFY(QTest::qWaitFor([&] { return !window->probe.isOpening(); }, patienceMs));
            if (name.contains(QLatin1String("good")))
                verifyShown(name);
            else
                verifyFailed(name, failures, failuresBefore);
            if (QTest::currentTestFailed())
                return;
        }
    }

    void verifyShown(const QString &name)
    {
        QCOMPARE(window->statusText(), folder() + name);
        KIVRA_COMPARE_PICTURES(window->probe.lastFrame(), good.value(name));
        shown.insert(name);
    }

    void verifyFailed(const QString &name, const Failures &failures, int before) const
    {
        if (name.contains(QLatin1String("either")))
            return;
        QVERIFY2(failures.texts.size() == before + 1, qPrintable(name));
        QVERIFY2(failures.texts.constLast().endsWith(name), qPrintable(name));
    }

    void addGood(int number)
    {
        const QString name = QString::asprintf("%03d-good.png", number * 10);
        good[name] = gradient({300 + number, 200});
        if (!good[name].save(folder() + name))
            qFatal("cannot write");
    }

    void add(int after, const QString &name, const QByteArray &content) const
    {
        QFile file(folder() + QString::asprintf("%03d-", after) + name + QStringLiteral(".jpg"));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("cannot write");
    }

    void addBad() const
    {
        int after = 25;
        for (const char *what : {"crash", "leave", "memory 3000", "size 60000 60000"}) {
            add(after, QString::fromLatin1(what).section(QLatin1Char(' '), 0, 0),
                faultyPicture(what));
            after += 40;
        }
        add(after, QStringLiteral("endless"), faultyPicture("work"));
        add(after + 40, QStringLiteral("endless-wait"), faultyPicture("wait"));
        after += 80;
        for (const char *name : {"huge.png", "truncated.webp", "text.jpg", "one-row-too-large.png",
                                 "loop.tif", "deep.svgz", "outside.svg"}) {
            QFile file(QStringLiteral(KIVRA_CORPUS "/") + QLatin1String(name));
            if (!file.open(QIODevice::ReadOnly))
                qFatal("no %s", name);
            const bool isUncertain = qstrcmp(name, "deep.svgz") == 0 ||
                                     qstrcmp(name, "outside.svg") == 0 ||
                                     qstrcmp(name, "loop.tif") == 0;
            add(after, isUncertain ? QStringLiteral("either") : QStringLiteral("bad"),
                file.readAll());
            after += 35;
        }
    }

    QMap<QString, QImage> good;
    QSet<QString> shown;
    int taken = 0;
    int position = 0;
    int direction = -1;
};

KIVRA_TEST(TestManySteps)
#include "test_manysteps.moc"
