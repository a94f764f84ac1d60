#include "storage/calendar.h"
#include "tests/storage/clockreading.h"
#include "tests/support/testmain.h"

using kivra::test::readAt;

class TestCalendar : public QObject
{
    Q_OBJECT

private slots:
    void daysAreIndexedFromMonday()
    {
        const QStringList expected = QStringLiteral("dimanche lundi mardi mercredi jeudi vendredi "
                                                    "samedi dimanche")
                                         .split(QLatin1Char(' '));
        QCOMPARE(QStringList(jours.begin(), jours.end()), expected);
    }

    void monthsAreIndexedFromJanuary()
    {
        const QStringList expected =
            QStringLiteral("décembre janvier février mars avril mai juin juillet aout septembre "
                           "octobre novembre décembre")
                .split(QLatin1Char(' '));
        QCOMPARE(QStringList(mois.begin(), mois.end()), expected);
    }

    void dateStringOnADay_data()
    {
        QTest::addColumn<QString>("instant");
        QTest::addColumn<QString>("text");
        const auto row = [](const char *instant, const char *text) {
            QTest::newRow(instant) << QString::fromUtf8(instant) << QString::fromUtf8(text);
        };
        row("2025-03-03 14:05:59", "lundi 03 mars 14:05");
        row("2025-03-14 09:30:05", "vendredi 14 mars 09:30");
        // A week
        row("2025-03-10 12:00:00", "lundi 10 mars 12:00");
        row("2025-03-11 12:00:00", "mardi 11 mars 12:00");
        row("2025-03-12 12:00:00", "mercredi 12 mars 12:00");
        row("2025-03-13 12:00:00", "jeudi 13 mars 12:00");
        row("2025-03-14 12:00:00", "vendredi 14 mars 12:00");
        row("2025-03-15 12:00:00", "samedi 15 mars 12:00");
        row("2025-03-16 12:00:00", "dimanche 16 mars 12:00");
        // The months of a year
        row("2025-01-01 08:07:00", "mercredi 01 janvier 08:07");
        row("2025-02-01 08:07:00", "samedi 01 février 08:07");
        row("2025-03-01 08:07:00", "samedi 01 mars 08:07");
        row("2025-04-01 08:07:00", "mardi 01 avril 08:07");
        row("2025-05-01 08:07:00", "jeudi 01 mai 08:07");
        row("2025-06-01 08:07:00", "dimanche 01 juin 08:07");
        row("2025-07-01 08:07:00", "mardi 01 juillet 08:07");
        row("2025-08-01 08:07:00", "vendredi 01 aout 08:07");
        row("2025-09-01 08:07:00", "lundi 01 septembre 08:07");
        row("2025-10-01 08:07:00", "mercredi 01 octobre 08:07");
        row("2025-11-01 08:07:00", "samedi 01 novembre 08:07");
        row("2025-12-01 08:07:00", "lundi 01 décembre 08:07");
        // Edges of the day, the month and the year
        row("2025-03-14 00:00:00", "vendredi 14 mars 00:00");
        row("2025-03-14 23:59:59", "vendredi 14 mars 23:59");
        row("2024-02-29 10:00:00", "jeudi 29 février 10:00");
        row("2025-12-31 23:59:59", "mercredi 31 décembre 23:59");
        row("2026-01-01 00:00:00", "jeudi 01 janvier 00:00");
    }

    void dateStringOnADay()
    {
        QFETCH(const QString, instant);
        QFETCH(const QString, text);
        QCOMPARE(readAt(QStringLiteral("dateString"), instant).text, text);
    }

    void dateStringIsInLocalTime()
    {
        const auto reading =
            readAt(QStringLiteral("dateString"), QStringLiteral("2025-03-16 00:10:00"), {},
                   QStringLiteral("<+14>-14"));
        QCOMPARE(reading.text, QStringLiteral("dimanche 16 mars 00:10"));
    }

    void dateStringReadsTheClockForEachField()
    {
        // The clock moves by 32 days, one hour and one minute at each reading.
        const int step = ((32 * 24 + 1) * 60 + 1) * 60;
        const auto reading =
            readAt(QStringLiteral("dateString"), QStringLiteral("2025-01-01 08:00:00"),
                   QStringLiteral("i%1").arg(step));
        QDateTime clock = reading.before;
        QVERIFY(clock.isValid());
        const auto next = [&clock] { return clock = clock.addSecs(step); };
        const QString day = jours[size_t(next().date().dayOfWeek())];
        const QString month = mois[size_t(next().date().month())];
        const QString dayOfMonth = next().toString(QStringLiteral("dd"));
        const QString hour = next().toString(QStringLiteral("hh"));
        const QString minute = next().toString(QStringLiteral("mm"));
        QCOMPARE(reading.text,
                 QStringLiteral("%1 %2 %3 %4:%5").arg(day, dayOfMonth, month, hour, minute));
        QCOMPARE(reading.after, next());
    }
};

KIVRA_TEST(TestCalendar)
#include "test_calendar.moc"
