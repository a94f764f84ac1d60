#include "app/translation.h"

#include <QCoreApplication>
#include <QTranslator>
#include <memory>

void translateFramework(const QString &folder)
{
    for (const char *catalogue : {"qtbase_fr", "qtmultimedia_fr"}) {
        auto translator = std::make_unique<QTranslator>(QCoreApplication::instance());
        if (translator->load(QLatin1String(catalogue), folder))
            QCoreApplication::installTranslator(translator.release()); // the application owns it
    }
}
