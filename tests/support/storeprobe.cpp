// Prints the user's settings store without what the system's store adds, as sorted lines
// "key=value".

#include <QSettings>
#include <QTextStream>

int main()
{
    QSettings store(QStringLiteral("Orvane"), QStringLiteral("KivraQt"));
    store.setFallbacksEnabled(false);
    QTextStream output(stdout);
    const QStringList keys = store.allKeys();
    for (const QString &key : keys)
        output << key << '=' << store.value(key).toString() << '\n';
    return 0;
}
