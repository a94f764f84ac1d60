#include "cameras/service/lockscontrol.h"

#include <QPointer>

namespace kivra::cameras {

namespace {

constexpr QCamera::LockType allLocks[] = {QCamera::LockExposure, QCamera::LockWhiteBalance,
                                          QCamera::LockFocus};

} // namespace

LocksControl::LocksControl(CameraSession &owner)
    : session(owner)
{
    connect(&session, &CameraSession::sourceChanged, this, &LocksControl::connectSource);
    connect(&session, &CameraSession::stateChanged, this, [this](QCamera::State state) {
        if (state != QCamera::ActiveState)
            loseAll();
    });
    // A device that goes away loses its locks.
    connect(&session, &CameraSession::statusChanged, this, [this](QCamera::Status status) {
        if (status == QCamera::StartingStatus)
            loseAll();
    });
    connectSource();
}

void LocksControl::connectSource()
{
    if (!session.source())
        return;
    connect(session.source(), &FrameSource::locksFound, this,
            [this](QCamera::LockTypes locks, bool found) {
                change(locks & locksThatAre(QCamera::Searching),
                       found ? QCamera::Locked : QCamera::Unlocked,
                       found ? QCamera::LockAcquired : QCamera::LockFailed);
            });
}

QCamera::LockTypes LocksControl::supportedLocks() const
{
    return session.source() ? session.source()->supportedLocks() : QCamera::LockTypes();
}

QCamera::LockStatus LocksControl::lockStatus(QCamera::LockType lock) const
{
    return statuses.value(lock, QCamera::Unlocked);
}

void LocksControl::searchAndLock(QCamera::LockTypes locks)
{
    const QCamera::LockTypes wanted = locks & locksThatAre(QCamera::Unlocked);
    const QPointer<LocksControl> alive(this);
    change(wanted, QCamera::Searching, QCamera::UserRequest);
    if (!alive || !wanted)
        return;
    const bool isActive = session.status() == QCamera::ActiveStatus;
    const QCamera::LockTypes possible = isActive ? wanted & supportedLocks() : QCamera::LockTypes();
    if (possible)
        session.source()->searchLocks(possible);
    failLater(wanted & ~possible);
}

void LocksControl::failLater(QCamera::LockTypes locks)
{
    if (!locks)
        return;
    // Queued, like every answer to a search: QCamera misses an answer that comes during the call.
    QMetaObject::invokeMethod(
        this,
        [this, locks] {
            change(locks & locksThatAre(QCamera::Searching), QCamera::Unlocked,
                   QCamera::LockFailed);
        },
        Qt::QueuedConnection);
}

void LocksControl::unlock(QCamera::LockTypes locks)
{
    if (session.source())
        session.source()->releaseLocks(locks);
    change(locks, QCamera::Unlocked, QCamera::UserRequest);
}

void LocksControl::loseAll()
{
    change(locksThatAre(QCamera::Locked) | locksThatAre(QCamera::Searching), QCamera::Unlocked,
           QCamera::LockLost);
}

void LocksControl::change(QCamera::LockTypes locks, QCamera::LockStatus status,
                          QCamera::LockChangeReason reason)
{
    const QPointer<LocksControl> alive(this);
    for (const QCamera::LockType lock : allLocks) {
        if (!alive)
            return;
        if (!locks.testFlag(lock) || lockStatus(lock) == status)
            continue;
        statuses.insert(lock, status);
        emit lockStatusChanged(lock, status, reason);
    }
}

QCamera::LockTypes LocksControl::locksThatAre(QCamera::LockStatus status) const
{
    QCamera::LockTypes locks;
    for (const QCamera::LockType lock : allLocks) {
        if (lockStatus(lock) == status)
            locks |= lock;
    }
    return locks;
}

} // namespace kivra::cameras
