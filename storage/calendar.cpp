#include "storage/calendar.h"

#include <QDateTime>

const std::array<QString, 8> jours{
    QStringLiteral("dimanche"), QStringLiteral("lundi"),    QStringLiteral("mardi"),
    QStringLiteral("mercredi"), QStringLiteral("jeudi"),    QStringLiteral("vendredi"),
    QStringLiteral("samedi"),   QStringLiteral("dimanche"),
};

const std::array<QString, 13> mois{
    QStringLiteral("décembre"),  QStringLiteral("janvier"), QStringLiteral("février"),
    QStringLiteral("mars"),      QStringLiteral("avril"),   QStringLiteral("mai"),
    QStringLiteral("juin"),      QStringLiteral("juillet"), QStringLiteral("aout"),
    QStringLiteral("septembre"), QStringLiteral("octobre"), QStringLiteral("novembre"),
    QStringLiteral("décembre"),
};

QString dateString()
{
    const auto dayOfWeek = static_cast<size_t>(QDateTime::currentDateTime().date().dayOfWeek());
    const auto month = static_cast<size_t>(QDateTime::currentDateTime().date().month());
    const int day = QDateTime::currentDateTime().date().day();
    const int hour = QDateTime::currentDateTime().time().hour();
    const int minute = QDateTime::currentDateTime().time().minute();
    return QString::asprintf("%s %02d %s %02d:%02d", jours[dayOfWeek].toUtf8().constData(), day,
                             mois[month].toUtf8().constData(), hour, minute);
}
