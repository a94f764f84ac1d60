// The report for programs. Keys are English and never change; new ones may be added.

#include "cameras/report/reporttext.h"
#include "cameras/video/faulttexts.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace kivra::cameras {

namespace {

QString kindName(NodeKind kind)
{
    switch (kind) {
    case NodeKind::Camera:
        return QStringLiteral("camera");
    case NodeKind::Metadata:
        return QStringLiteral("metadata");
    case NodeKind::Output:
        return QStringLiteral("output");
    case NodeKind::Converter:
        return QStringLiteral("converter");
    case NodeKind::Other:
        return QStringLiteral("other");
    case NodeKind::Unknown:
        break;
    }
    return QStringLiteral("unknown");
}

QString reasonName(ChoiceReason reason)
{
    switch (reason) {
    case ChoiceReason::Wished:
        return QStringLiteral("wished");
    case ChoiceReason::Fluent:
        return QStringLiteral("fluent");
    case ChoiceReason::Fastest:
        return QStringLiteral("fastest");
    case ChoiceReason::OnlyLarger:
        return QStringLiteral("only-larger");
    }
    return {};
}

QString faultName(Fault fault)
{
    switch (fault) {
    case Fault::None:
        return QStringLiteral("none");
    case Fault::NotThere:
        return QStringLiteral("not-there");
    case Fault::Unplugged:
        return QStringLiteral("unplugged");
    case Fault::NoRight:
        return QStringLiteral("no-right");
    case Fault::InUse:
        return QStringLiteral("in-use");
    case Fault::NoBandwidth:
        return QStringLiteral("no-bandwidth");
    case Fault::NothingReadable:
        return QStringLiteral("nothing-readable");
    case Fault::NoFrames:
        return QStringLiteral("no-frames");
    case Fault::Nonsense:
        return QStringLiteral("nonsense");
    case Fault::DoesNotAnswer:
        return QStringLiteral("does-not-answer");
    }
    return {};
}

void insertText(QJsonObject &object, const char *key, const std::string &text)
{
    if (!text.empty())
        object.insert(QLatin1String(key), QString::fromStdString(text));
}

QJsonObject objectOf(const Offer &offer)
{
    QJsonObject object{{QStringLiteral("format"), QString::fromStdString(fourccName(offer.fourcc))},
                       {QStringLiteral("width"), offer.size.width},
                       {QStringLiteral("height"), offer.size.height},
                       {QStringLiteral("readable"), isReadable(offer.fourcc)}};
    if (offer.rate.isKnown())
        object.insert(QStringLiteral("rate"), offer.rate.perSecond());
    return object;
}

QJsonArray usersOf(const CameraReport &report)
{
    QJsonArray users;
    for (const NodeUser &user : report.users)
        users.append(
            QJsonObject{{QStringLiteral("process"), user.process},
                        {QStringLiteral("program"), QString::fromStdString(user.program)}});
    return users;
}

QJsonObject objectOf(const CameraReport &report)
{
    const VideoDevice &device = report.device;
    QJsonObject object{{QStringLiteral("kind"), kindName(device.kind)},
                       {QStringLiteral("usable"), isUsable(report)},
                       {QStringLiteral("usb"), device.usb},
                       {QStringLiteral("builtIn"), device.builtIn},
                       {QStringLiteral("infrared"), device.infrared},
                       {QStringLiteral("mayOpen"), report.mayOpen},
                       {QStringLiteral("users"), usersOf(report)}};
    insertText(object, "node", device.node);
    insertText(object, "name", device.name);
    insertText(object, "model", device.model);
    insertText(object, "serial", device.serial);
    insertText(object, "place", device.place);
    insertText(object, "driver", report.driver);
    insertText(object, "group", report.group);
    if (device.usbSpeed > 0)
        object.insert(QStringLiteral("usbSpeed"), device.usbSpeed);
    if (device.kind != NodeKind::Camera)
        return object;

    QJsonArray offers;
    for (const Offer &offer : report.offers)
        offers.append(objectOf(offer));
    object.insert(QStringLiteral("offers"), offers);
    if (!report.ranked.empty()) {
        QJsonObject choice = objectOf(report.ranked.front().offer);
        choice.insert(QStringLiteral("reason"), reasonName(report.ranked.front().reason));
        object.insert(QStringLiteral("choice"), choice);
    }
    object.insert(QStringLiteral("wishOffered"), report.wishOffered);
    object.insert(QStringLiteral("fault"), faultName(report.fault.fault));
    if (report.fault.fault != Fault::None)
        object.insert(QStringLiteral("advice"), faultText(report.fault));
    return object;
}

} // namespace

QByteArray reportJson(const MachineReport &report)
{
    QJsonArray nodes;
    for (const CameraReport &one : report.nodes)
        nodes.append(objectOf(one));
    const QJsonObject machine{{QStringLiteral("usable"), isUsable(report)},
                              {QStringLiteral("nodes"), nodes}};
    return QJsonDocument(machine).toJson();
}

} // namespace kivra::cameras
