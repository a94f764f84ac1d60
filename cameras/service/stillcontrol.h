#pragma once

#include "cameras/service/camerasession.h"
#include "cameras/service/stillsettings.h"
#include "cameras/service/stillwriter.h"

#include <QCameraImageCaptureControl>
#include <QList>

namespace kivra::cameras {

/// Takes still pictures, one after the other, and has them written.
///
/// Ready while the camera is active and no picture is being taken. A request that comes earlier
/// waits in a short queue; each keeps the settings of the moment when it was made. Memory holds one
/// picture at a time. A requested picture is taken even if the camera is stopped meanwhile;
/// unloading the camera or choosing another device drops it, with an error. Every answer comes
/// after capture() has returned.
class StillControl : public QCameraImageCaptureControl
{
    Q_OBJECT

public:
    StillControl(CameraSession &session, StillSettings &settings);

    bool isReadyForCapture() const override;
    /// Always one picture per request.
    QCameraImageCapture::DriveMode driveMode() const override;
    void setDriveMode(QCameraImageCapture::DriveMode mode) override;

    /// Requests a picture in the file \a fileName. A relative name is in the user's pictures
    /// folder; for an empty one, a free name there is chosen. Without a codec in the settings, the
    /// suffix decides if it names one of the source's codecs; otherwise the source's default is
    /// taken. Returns the request's number, even if an error() follows.
    int capture(const QString &fileName) override;
    /// Drops all pictures that are not yet written, without an answer.
    void cancelCapture() override;

private:
    void connectSource();
    void onStatusChanged();
    void next();
    void finish();
    void dropAll(const QString &reason);
    void refuse(int id, QCameraImageCapture::Error code, const QString &text);
    void updateReadiness();
    QString codecFor(const QString &fileName) const;
    QSize resolution() const;

    void onExposed(int id);
    void onTaken(int id, const QImage &picture, const QImage &preview);
    void onEncoded(int id, const QByteArray &file, const QImage &preview);
    void onFailed(int id, QCameraImageCapture::Error code, const QString &text);
    void onWritten(int id, const QString &path);

    CameraSession &session;
    StillSettings &settings;
    StillWriter writer;
    QList<StillRequest> requests; // the first is being taken or written
    bool underWay = false;        // the first has been handed to the source
    bool ready = false;           // as last signalled
    int lastId = 0;
};

} // namespace kivra::cameras
