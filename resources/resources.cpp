#include "resources/resources.h"

// Outside every namespace: the macro declares a function in the global one.
void initialiseResources()
{
    Q_INIT_RESOURCE(icones);
}

QStringList applicationIconFiles()
{
    QStringList files;
    for (const int size : {16, 24, 32, 48, 64, 128, 256})
        files.append(QStringLiteral(":/icones/kivra-%1.png").arg(size));
    return files;
}
