#pragma once

#include "cameras/service/camerasession.h"

#include <QCameraLocksControl>
#include <QMap>

namespace kivra::cameras {

/// Focus, exposure and white balance locks: Searching until the device answers, then Locked, or
/// Unlocked if it found nothing. A search fails while the camera is not active. Stopping the camera
/// loses the locks.
class LocksControl : public QCameraLocksControl
{
    Q_OBJECT

public:
    explicit LocksControl(CameraSession &session);

    QCamera::LockTypes supportedLocks() const override;
    QCamera::LockStatus lockStatus(QCamera::LockType lock) const override;
    void searchAndLock(QCamera::LockTypes locks) override;
    void unlock(QCamera::LockTypes locks) override;

private:
    void connectSource();
    void failLater(QCamera::LockTypes locks);
    void loseAll();
    void change(QCamera::LockTypes locks, QCamera::LockStatus status,
                QCamera::LockChangeReason reason);
    QCamera::LockTypes locksThatAre(QCamera::LockStatus status) const;

    CameraSession &session;
    QMap<QCamera::LockType, QCamera::LockStatus> statuses; // those missing are unlocked
};

} // namespace kivra::cameras
