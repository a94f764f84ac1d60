#pragma once

#include "cameras/video/videodevice.h"
#include "tests/support/fakekernel.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace kivra::test {

/// Folders like those in which a machine keeps its cameras, and the kernel behind them.
class FakeMachine
{
public:
    FakeMachine()
    {
        for (const char *name : {"dev", "sys", "udev"})
            QDir(root.path()).mkpath(QLatin1String(name));
        folders.nodes = pathOf("dev");
        folders.classes = pathOf("sys");
        folders.udev = pathOf("udev");
    }

    std::string node(int number) const { return folders.nodes + "/video" + std::to_string(number); }

    /// Writes what the system says of a USB camera. Call it before plugging the camera in.
    void describeUsb(int number, const char *name, const char *serial, const char *port,
                     const char *removable = "removable") const
    {
        const QString folder = classFolder(number);
        writeFile(folder + QStringLiteral("/name"), name);
        writeFile(folder + QStringLiteral("/index"), "0");
        writeFile(folder + QStringLiteral("/dev"), "81:" + QByteArray::number(number));
        const QString usb = folder + QStringLiteral("/device");
        writeFile(usb + QStringLiteral("/idVendor"), "046d");
        writeFile(usb + QStringLiteral("/idProduct"), "0825");
        writeFile(usb + QStringLiteral("/serial"), serial);
        writeFile(usb + QStringLiteral("/busnum"), "1");
        writeFile(usb + QStringLiteral("/devpath"), port);
        writeFile(usb + QStringLiteral("/speed"), "480");
        writeFile(usb + QStringLiteral("/removable"), removable);
    }

    /// Writes what udev found out about a node; \a words as in ":capture:".
    void describeByUdev(int number, const QByteArray &words) const
    {
        writeFile(QString::fromStdString(folders.udev) + QStringLiteral("/c81:%1").arg(number),
                  "E:ID_V4L_VERSION=2\nE:ID_V4L_CAPABILITIES=" + words + "\nG:uaccess\n");
    }

    void plug(int number, const FakeCamera &camera)
    {
        kernel.plug(node(number), camera);
        writeFile(QString::fromStdString(node(number)), "");
    }

    void unplug(int number)
    {
        QFile::remove(QString::fromStdString(node(number)));
        QDir(classFolder(number)).removeRecursively();
        kernel.unplug(node(number));
    }

    QString classFolder(int number) const
    {
        return QString::fromStdString(folders.classes) + QStringLiteral("/video%1").arg(number);
    }

    static void writeFile(const QString &path, const QByteArray &content)
    {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("cannot write %s", qUtf8Printable(path));
    }

    FakeKernel kernel;
    cameras::DeviceFolders folders;

private:
    std::string pathOf(const char *name) const
    {
        return root.filePath(QLatin1String(name)).toStdString();
    }

    QTemporaryDir root;
};

} // namespace kivra::test
