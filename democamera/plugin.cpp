#include "democamera/cameraplugin.h"
#include "democamera/democatalogue.h"

namespace kivra::democamera {

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

} // namespace kivra::democamera

#include "plugin.moc"
