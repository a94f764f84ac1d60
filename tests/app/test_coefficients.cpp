// The four coefficients: steps, limits, reset, selection, settings, messages.

#include "app/coefficients.h"
#include "tests/app/windowtest.h"
#include "tests/reference/reference.h"
#include "tests/support/pictures.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QScreen>
#include <climits>

using kivra::test::gradient;
using kivra::test::Sandbox;
using kivra::test::storeSetting;
using kivra::test::Window;
using kivra::test::WindowTest;
namespace reference = kivra::reference;

namespace {

// Hand-written rules, in whole numbers where the product multiplies fractions.
namespace rules {

int limited(int value, int lowest, int highest)
{
    if (value > highest)
        return highest;
    return value < lowest ? lowest : value;
}

int contrasteUp(int value)
{
    return limited(value * 12 / 10, 10, 1000);
}
int contrasteDown(int value)
{
    return limited(value * 10 / 12, 10, 1000);
}
int lumiereUp(int value)
{
    return limited(value + 20, -100, 100);
}
int lumiereDown(int value)
{
    return limited(value - 20, -100, 100);
}
int reglageUp(int value)
{
    return limited(value + 10, 0, 100);
}
int reglageDown(int value)
{
    return limited(value - 10, 0, 100);
}

int snapped(int zoom)
{
    return zoom >= 89 && zoom <= 111 ? 100 : zoom;
}

int zoomUp(int value)
{
    return limited(snapped(int(qint64(value) * 11892 / 10000)), 12, 800);
}
int zoomDown(int value)
{
    return limited(snapped(int(qint64(value) * 10000 / 11892)), 12, 800);
}

} // namespace rules

struct Rule
{
    const char *name;
    const char *key;
    int lowest;
    int highest;
    int start;
    int (*up)(int);
    int (*down)(int);
    const char *selected; // the message on selection
    const char *changed;  // how the message on a change begins
    const char *action;
};

// Indexed by the number of the coefficient.
const Rule ruleTable[] = {
    {"contraste", "params/contraste", 10, 1000, 100, rules::contrasteUp, rules::contrasteDown,
     "contraste ", "contraste ", "actionContraste"},
    {"lumiere", "params/lumiere", -100, 100, 0, rules::lumiereUp, rules::lumiereDown, "lumière ",
     "lumiere ", "actionLumiere"},
    {"reglage", "params/reglage", 0, 100, 50, rules::reglageUp, rules::reglageDown, "réglage ",
     "reglage ", "actionReglageCourant"},
    {"zoom", "params/zoom", 12, 800, 100, rules::zoomUp, rules::zoomDown, "zoom ", "zoom ",
     "actionZoom"},
};

// The stored value as another process reads it.
QString storedByAnotherProcess(const char *key)
{
    QProcess reader;
    reader.start(QCoreApplication::applicationDirPath() + QStringLiteral("/storeprobe"),
                 QStringList());
    if (!reader.waitForFinished())
        qFatal("the settings reader did not end");
    const QString prefix = QLatin1String(key) + QLatin1Char('=');
    for (const QString &line :
         QString::fromUtf8(reader.readAllStandardOutput()).split(QLatin1Char('\n'))) {
        if (line.startsWith(prefix))
            return line.mid(prefix.size());
    }
    return {};
}

} // namespace

class TestCoefficients : public WindowTest
{
    Q_OBJECT

private slots:
    void init()
    {
        begin();
        storeSetting(QStringLiteral("preferences/displayMsg"), true);
        window = std::make_unique<Window>();
        QTRY_VERIFY(device().isRunning());
    }

    void stepsFromEveryValue_data()
    {
        QTest::addColumn<int>("number");
        for (int number = 0; number < 4; ++number)
            QTest::newRow(ruleTable[number].name) << number;
    }

    void stepsFromEveryValue()
    {
        QFETCH(int, number);
        const Rule &rule = ruleTable[number];
        for (int start = rule.lowest; start <= rule.highest; ++start) {
            QCOMPARE(steppedCoefficient(number, start, true), rule.up(start));
            QCOMPARE(steppedCoefficient(number, start, false), rule.down(start));
        }
    }

    void slotsStepTheCurrentOne_data() { stepsFromEveryValue_data(); }

    void slotsStepTheCurrentOne()
    {
        QFETCH(int, number);
        const Rule &rule = ruleTable[number];
        window->probe.setCoefCourant(number);
        for (const int start : {rule.lowest, rule.start, (rule.start + rule.highest) / 2}) {
            window->probe.setCoefficient(number, start);
            window->call("on_incCoef");
            QCOMPARE(value(number), rule.up(start));
            window->probe.setCoefficient(number, start);
            window->call("on_decCoef");
            QCOMPARE(value(number), rule.down(start));
        }
    }

    void actionsStepLikeTheSlots()
    {
        for (int number = 0; number < 4; ++number) {
            const Rule &rule = ruleTable[number];
            window->probe.setCoefCourant(number);
            window->trigger("actionIncCoef");
            QCOMPARE(value(number), rule.up(rule.start));
            window->trigger("actionResetCoef");
            QCOMPARE(value(number), rule.start);
            window->trigger("actionDecCoef");
            QCOMPARE(value(number), rule.down(rule.start));
        }
    }

    void zoomUpwardsFrom100()
    {
        const int sequence[] = {118, 140, 166, 197, 234, 278, 330,
                                392, 466, 554, 658, 782, 800, 800};
        for (const int zoom : sequence) {
            window->call("on_incCoef");
            QCOMPARE(window->probe.coefZoom(), zoom);
        }
    }

    void zoomDownwardsFrom100()
    {
        const int sequence[] = {84, 70, 58, 48, 40, 33, 27, 22, 18, 15, 12, 12};
        for (const int zoom : sequence) {
            window->call("on_decCoef");
            QCOMPARE(window->probe.coefZoom(), zoom);
        }
    }

    void zoomStepFrom84SnapsTo100()
    {
        set(3, 84);
        window->call("on_incCoef");
        QCOMPARE(window->probe.coefZoom(), 100);
    }

    void contrasteSequences()
    {
        window->probe.setCoefCourant(0);
        for (const int contraste : {120, 144, 172, 206}) {
            window->call("on_incCoef");
            QCOMPARE(window->probe.contraste(), contraste);
        }
        set(0, 100);
        for (const int contraste : {83, 69, 57}) {
            window->call("on_decCoef");
            QCOMPARE(window->probe.contraste(), contraste);
        }
        for (int step = 0; step < 20; ++step)
            window->call("on_decCoef");
        QCOMPARE(window->probe.contraste(), 10);
    }

    void lumiereStaysInItsRange()
    {
        window->probe.setCoefCourant(1);
        set(1, 100);
        window->call("on_incCoef");
        QCOMPARE(window->probe.lumiere(), 100);
        set(1, -100);
        window->call("on_decCoef");
        QCOMPARE(window->probe.lumiere(), -100);
    }

    void resetGivesTheStartValue()
    {
        for (int number = 0; number < 4; ++number) {
            set(number, ruleTable[number].highest);
            window->probe.setCoefCourant(number);
            window->call("on_resetCoef");
            QCOMPARE(value(number), ruleTable[number].start);
        }
    }

    void unknownCoefficientChangesNothing()
    {
        for (const int unknown : {-1, 4, 99}) {
            window->probe.setCoefCourant(unknown);
            for (const char *slot : {"on_incCoef", "on_decCoef", "on_resetCoef"})
                window->call(slot);
            for (int number = 0; number < 4; ++number)
                QCOMPARE(value(number), ruleTable[number].start);
        }
    }

    void everyChangeRendersAgain()
    {
        QVERIFY(device().pushPicture(gradient({100, 60})));
        const QImage frame = window->probe.lastFrame();
        window->call("on_changeCoef", Q_ARG(int, 1), Q_ARG(int, 40));
        KIVRA_COMPARE_PICTURES(window->shownPicture({100, 60}),
                               reference::tableAndEffect(frame, 40, 100, 0));
        window->call("on_changeCoef", Q_ARG(int, 0), Q_ARG(int, 250));
        KIVRA_COMPARE_PICTURES(window->shownPicture({100, 60}),
                               reference::tableAndEffect(frame, 40, 250, 0));
    }

    void unknownChangeRendersAgainToo()
    {
        QVERIFY(device().pushPicture(gradient({100, 60})));
        const QImage frame = window->probe.lastFrame();
        window->trigger("actionTexte"); // selects without rendering
        window->call("on_changeCoef", Q_ARG(int, 17), Q_ARG(int, 5));
        KIVRA_COMPARE_PICTURES(window->shownPicture({100, 60}), reference::mode(frame, 3));
    }

    void changeIsStoredAtOnce()
    {
        for (int number = 0; number < 4; ++number) {
            const int changed = ruleTable[number].start + 7;
            window->call("on_changeCoef", Q_ARG(int, number), Q_ARG(int, changed));
            QCOMPARE(storedByAnotherProcess(ruleTable[number].key), QString::number(changed));
        }
    }

    void changeIsAnnounced()
    {
        const int values[] = {144, -20, 60};
        for (int number = 0; number < 3; ++number) {
            window->call("on_changeCoef", Q_ARG(int, number), Q_ARG(int, values[number]));
            QCOMPARE(window->messageText(), QString::fromUtf8(ruleTable[number].changed) +
                                                QString::number(values[number]));
        }
    }

    void zoomIsAnnouncedAsAFactor_data()
    {
        QTest::addColumn<int>("zoom");
        QTest::addColumn<QString>("text");
        QTest::newRow("141") << 141 << QStringLiteral("zoom 1.41");
        QTest::newRow("100") << 100 << QStringLiteral("zoom 1");
        QTest::newRow("12") << 12 << QStringLiteral("zoom 0.12");
        QTest::newRow("800") << 800 << QStringLiteral("zoom 8");
    }

    void zoomIsAnnouncedAsAFactor()
    {
        QFETCH(int, zoom);
        QFETCH(QString, text);
        window->call("on_changeCoef", Q_ARG(int, 3), Q_ARG(int, zoom));
        QCOMPARE(window->messageText(), text);
    }

    void changeDoesNotLimit()
    {
        window->call("on_changeCoef", Q_ARG(int, 1), Q_ARG(int, 5000));
        QCOMPARE(window->probe.lumiere(), 5000);
    }

    void selection()
    {
        for (int number = 0; number < 4; ++number) {
            window->probe.setCoefCourant(-1);
            window->clearFocus();
            window->trigger(ruleTable[number].action);
            QCOMPARE(window->probe.coefCourant(), number);
            QCOMPARE(window->messageText(), QString::fromUtf8(ruleTable[number].selected));
            QCOMPARE(window->focusWidget(), window.get());
        }
    }

    void reinit()
    {
        QVERIFY(device().pushPicture(gradient({100, 60})));
        const QImage frame = window->probe.lastFrame();
        window->trigger("actionTexte");
        window->trigger("actionBicolore");
        window->trigger("actionContraste");
        for (int number = 0; number < 4; ++number)
            set(number, ruleTable[number].highest);

        window->trigger("actionReinit");
        QCOMPARE(window->probe.imageProcessing(), 0);
        QCOMPARE(window->probe.displayMode(), 0);
        QCOMPARE(window->probe.coefCourant(), 0);
        QCOMPARE(window->probe.modeTailleFenetre(), 0);
        QCOMPARE(window->size(), window->screen()->availableSize() * 7 / 10);
        QCOMPARE(window->messageText(), QStringLiteral("réinit "));
        for (int number = 0; number < 4; ++number) {
            QCOMPARE(value(number), ruleTable[number].start);
            QCOMPARE(storedByAnotherProcess(ruleTable[number].key),
                     QString::number(ruleTable[number].start));
        }
        KIVRA_COMPARE_PICTURES(window->shownPicture({100, 60}), frame);
        // The marks in the menus stay as they were.
        QVERIFY(window->action("actionTexte")->isChecked());
        QVERIFY(window->action("actionBicolore")->isChecked());
    }

    void storedNonsense_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::newRow("text") << QVariant(QStringLiteral("beaucoup"));
        QTest::newRow("nothing") << QVariant(QString());
        QTest::newRow("list") << QVariant(QStringList{QStringLiteral("1"), QStringLiteral("2")});
        QTest::newRow("largest") << QVariant(INT_MAX);
        QTest::newRow("smallest") << QVariant(INT_MIN);
        QTest::newRow("beyond int") << QVariant(QStringLiteral("99999999999999"));
        QTest::newRow("fraction") << QVariant(QStringLiteral("12.5"));
        QTest::newRow("not a number") << QVariant(QStringLiteral("nan"));
        QTest::newRow("zero") << QVariant(0);
    }

    // The program starts and shows a picture, and any step brings the value back into its range.
    void storedNonsense()
    {
        QFETCH(QVariant, stored);
        for (const bool up : {true, false}) {
            window.reset();
            storeSetting(QStringLiteral("preferences/restore"), true);
            storeSetting(QStringLiteral("preferences/smallField"), stored);
            for (const Rule &rule : ruleTable)
                storeSetting(QLatin1String(rule.key), stored);
            window = std::make_unique<Window>();
            QTRY_VERIFY(device().isRunning());
            QVERIFY(device().pushPicture(gradient({100, 60})));
            QVERIFY(!window->probe.lastFrame().isNull());
            for (int number = 0; number < 4; ++number) {
                window->probe.setCoefCourant(number);
                window->call(up ? "on_incCoef" : "on_decCoef");
                QVERIFY(value(number) >= ruleTable[number].lowest);
                QVERIFY(value(number) <= ruleTable[number].highest);
            }
        }
    }

    void stepFromFarOutsideEndsAtTheNearLimit()
    {
        for (int number = 0; number < 4; ++number) {
            window->probe.setCoefCourant(number);
            for (const char *slot : {"on_incCoef", "on_decCoef"}) {
                set(number, INT_MAX);
                window->call(slot);
                QCOMPARE(value(number), ruleTable[number].highest);
                set(number, INT_MIN);
                window->call(slot);
                QCOMPARE(value(number), ruleTable[number].lowest);
            }
        }
    }

    void storeThatCannotBeWritten()
    {
        // Not even root can write to the store if a folder takes its place.
        window.reset();
        const QString file =
            Sandbox::instance().home() + QStringLiteral("/config/Orvane/KivraQt.conf");
        QVERIFY(QFile::remove(file));
        QVERIFY(QDir().mkpath(file));
        window = std::make_unique<Window>();
        QTRY_VERIFY(device().isRunning());
        QVERIFY(device().pushPicture(gradient({100, 60})));
        for (int number = 0; number < 4; ++number) {
            window->probe.setCoefCourant(number);
            window->call("on_incCoef");
            QCOMPARE(value(number), ruleTable[number].up(ruleTable[number].start));
        }
        QVERIFY(QDir().rmdir(file));
    }

private:
    int value(int number) const
    {
        const int values[] = {window->probe.contraste(), window->probe.lumiere(),
                              window->probe.reglage(), window->probe.coefZoom()};
        return values[number];
    }

    void set(int number, int to)
    {
        window->call("on_changeCoef", Q_ARG(int, number), Q_ARG(int, to));
    }
};

KIVRA_TEST(TestCoefficients)
#include "test_coefficients.moc"
