#include "cameras/service/cameraplugin.h"
#include "cameras/video/videocatalogue.h"

namespace kivra::cameras {

namespace {

VideoCatalogue &videoCatalogue()
{
    static VideoCatalogue devices;
    return devices;
}

} // namespace

/// The plug-in that Qt finds in the folder mediaservice/ beside the program.
class VideoCameraPlugin : public CameraPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QMediaServiceProviderFactoryInterface_iid FILE "v4l2camera.json")

public:
    VideoCameraPlugin()
        : CameraPlugin(videoCatalogue())
    {
    }
};

} // namespace kivra::cameras

#include "plugin.moc"
