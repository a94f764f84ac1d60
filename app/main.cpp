#include "app/camera.h"
#include "app/keyrepeat.h"
#include "app/translation.h"
#include "resources/resources.h"

#include <QApplication>
#include <QDebug>
#include <QDir>
#include <QIcon>
#include <QLibraryInfo>

namespace {

QIcon applicationIcon()
{
    initialiseResources();
    QIcon icon;
    for (const QString &file : applicationIconFiles())
        icon.addFile(file);
    return icon;
}

void setUnlessSet(const char *variable, const char *value)
{
    if (!qEnvironmentVariableIsSet(variable))
        qputenv(variable, value);
}

// Qt reads these variables once, the first before it looks for the first camera.
void tellQt()
{
    // If several camera services list the same camera, Qt opens it with this one.
    setUnlessSet("QT_MULTIMEDIA_PREFERRED_PLUGINS", "v4l2camera");
    // Nothing is drawn with OpenGL, and loading its driver would make the start half as long again.
    setUnlessSet("QT_XCB_GL_INTEGRATION", "none");
}

} // namespace

int main(int argc, char **argv)
{
    tellQt();
    QApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Kivra")); // the title of boxes without one
    translateFramework(QLibraryInfo::location(QLibraryInfo::TranslationsPath));
    QApplication::setWindowIcon(applicationIcon());
    QApplication::setDesktopFileName(QStringLiteral("kivra")); // finds the icon under Wayland

    KeyRepeat keyRepeat;
    application.installEventFilter(&keyRepeat);

    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() >= 2)
        _imgAOuvrir = arguments.at(1);
    qDebug() << QDir::currentPath();

    Camera camera;
    camera.show();
    return QApplication::exec();
}
