#pragma once

#include <QByteArray>
#include <QImage>
#include <QMap>
#include <QSize>
#include <QString>
#include <QStringList>
#include <vector>

namespace kivra::test {

/// The kernel's cameras, as a program sees them into which the library kivra_videonode is
/// preloaded. They exist in a folder (tree.h), are plugged in and out, and deliver prepared frames.
class VideoNodes
{
public:
    struct Camera
    {
        int number = 0; ///< of the node, /dev/video<number>
        QString name = QStringLiteral("Visualiseur d'essai");
        /// "YUYV 640x480@30", in the driver's order.
        QStringList formats;
        QString port = QStringLiteral("1"); ///< at the bus
        int speed = 480;                    ///< of its USB connection, Mbit/s
    };

    /// \a folder, which must be empty, becomes the machine.
    explicit VideoNodes(const QString &folder);

    /// The variables that a program needs in its environment to see these cameras, with their
    /// values.
    QMap<QString, QString> environment() const;
    /// What the camera delivers as the frame of this number.
    QByteArray frame(const QString &format, const QSize &size, int number) const;

    void plugIn(const Camera &camera) const;
    void unplug(int number) const;

    /// Whether another program has the cameras, and whether nobody may open them.
    void setBusy(bool on) const;
    void setForbidden(bool on) const;
    /// Bytes a second that the bus has room for.
    void setBandwidth(qint64 bytes) const;
    void setAnyBandwidth() const;

    /// What cameras deliver in this format ("YUYV" or "MJPG") and size, six times each and over
    /// again; \a quality as in QImageWriter.
    void setFrames(const QString &format, const std::vector<QImage> &pictures,
                   int quality = 90) const;

private:
    QString path(const QString &name) const { return root + QLatin1Char('/') + name; }
    void write(const QString &name, const QByteArray &content) const;
    void setExists(const QString &name, bool on) const;

    QString root;
};

} // namespace kivra::test
