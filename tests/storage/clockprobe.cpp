// Prints one result of the storage functions between two readings of the clock, a line each.

#include "storage/calendar.h"
#include "storage/paths.h"

#include <QDateTime>
#include <QFile>
#include <QTextStream>

namespace {

QString result(const QString &function)
{
    if (function == QLatin1String("monthDir"))
        return monthDir();
    if (function == QLatin1String("daytimeFile"))
        return daytimeFile(QStringLiteral("im"), QStringLiteral(".jpg"));
    if (function == QLatin1String("dateString"))
        return dateString();
    return QStringLiteral("unknown function");
}

} // namespace

int main(int argc, char **argv)
{
    const QString function = QString::fromLocal8Bit(argc > 1 ? argv[1] : "");
    const QString before = QDateTime::currentDateTime().toString(Qt::ISODate);
    const QString text = result(function);
    const QString after = QDateTime::currentDateTime().toString(Qt::ISODate);
    QTextStream output(stdout);
    output.setCodec("UTF-8");
    output << before << '\n' << text << '\n' << after << '\n';
    return 0;
}
