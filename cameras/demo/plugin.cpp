#include "cameras/demo/democatalogue.h"
#include "cameras/service/cameraplugin.h"

namespace kivra::cameras {

namespace {

DemoCatalogue &demoCatalogue()
{
    static DemoCatalogue devices;
    return devices;
}

} // namespace

/// The plug-in that Qt finds in the folder mediaservice/ beside the program.
class DemoCameraPlugin : public CameraPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QMediaServiceProviderFactoryInterface_iid FILE "democamera.json")

public:
    DemoCameraPlugin()
        : CameraPlugin(demoCatalogue())
    {
    }
};

} // namespace kivra::cameras

#include "plugin.moc"
