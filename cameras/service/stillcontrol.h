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
/// waits its turn, as long as few do; each keeps the settings of the moment when it was made.
/// Memory holds one picture at a time. A picture asked for is still taken when the camera is
/// stopped; unloading the camera or choosing another device drops it, with an error.
/// Every answer comes after capture() has returned.
class StillControl : public QCameraImageCaptureControl
{
    Q_OBJECT

public:
    StillControl(CameraSession &session, StillSettings &settings);

    bool isReadyForCapture() const override;
    /// Always one picture per request.
    QCameraImageCapture::DriveMode driveMode() const override;
    void setDriveMode(QCameraImageCapture::DriveMode mode) override;

    /// Asks for a picture in the file \a fileName; relative names and the empty one mean the user's
    /// pictures folder. Without a codec in the settings, the suffix of the name decides, and JPEG
    /// where it tells nothing. Returns the request's number, also if an error() is to follow.
    int capture(const QString &fileName) override;
    /// Drops every picture asked for and not yet written; none of them is answered.
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
    bool ready = false;           // as last told
    int lastId = 0;
};

} // namespace kivra::cameras
