#include "cameras/demo/democatalogue.h"

#include "cameras/demo/chalkboard.h"
#include "cameras/demo/demosettings.h"
#include "cameras/demo/demosource.h"
#include "cameras/demo/difficultlight.h"
#include "cameras/demo/folderpictures.h"
#include "cameras/demo/handwrittenpage.h"
#include "cameras/demo/printedpage.h"
#include "cameras/demo/scenepictures.h"

#include <QDir>

namespace kivra::cameras {

namespace {

const char folderName[] = "demo:dossier";

template<typename SceneType>
std::unique_ptr<Scene> make()
{
    return std::make_unique<SceneType>();
}

struct SceneDevice
{
    const char *name;
    const char *description;
    std::unique_ptr<Scene> (*scene)();
};

const SceneDevice sceneDevices[] = {
    {"demo:texte", QT_TRANSLATE_NOOP("DemoCatalogue", "Démonstration : page imprimée"),
     make<PrintedPage>},
    {"demo:manuscrit", QT_TRANSLATE_NOOP("DemoCatalogue", "Démonstration : page manuscrite"),
     make<HandwrittenPage>},
    {"demo:tableau", QT_TRANSLATE_NOOP("DemoCatalogue", "Démonstration : tableau vert"),
     make<Chalkboard>},
    {"demo:eclairage", QT_TRANSLATE_NOOP("DemoCatalogue", "Démonstration : éclairage difficile"),
     make<DifficultLight>},
};

} // namespace

QList<Device> DemoCatalogue::devices() const
{
    QList<Device> list;
    const QString folder = demoSettings().folder;
    if (!folder.isEmpty()) {
        list.append({folderName, tr("Démonstration : dossier « %1 »").arg(QDir(folder).dirName())});
    }
    for (const SceneDevice &device : sceneDevices)
        list.append({device.name, tr(device.description)});
    return list;
}

std::unique_ptr<FrameSource> DemoCatalogue::open(const QByteArray &name)
{
    const DemoSettings settings = demoSettings();
    std::unique_ptr<PictureMaker> maker;
    if (name == folderName && !settings.folder.isEmpty())
        maker = std::make_unique<FolderPictures>(settings.folder);
    else
        maker = pictures(name);
    if (!maker)
        return nullptr;
    return std::make_unique<DemoSource>(std::move(maker), settings);
}

std::unique_ptr<PictureMaker> DemoCatalogue::pictures(const QByteArray &name)
{
    for (const SceneDevice &device : sceneDevices) {
        if (name == device.name)
            return std::make_unique<ScenePictures>(device.scene());
    }
    return nullptr;
}

} // namespace kivra::cameras
