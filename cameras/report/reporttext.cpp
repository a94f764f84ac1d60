#include "cameras/report/reporttext.h"

#include "cameras/video/faulttexts.h"

#include <QStringList>
#include <algorithm>

namespace kivra::cameras {

namespace {

constexpr int usb1Mbits = 12;
constexpr int usb2Mbits = 480;

QString sizeText(Size size)
{
    return QStringLiteral("%1 x %2").arg(size.width).arg(size.height);
}

// With a decimal comma and without trailing zeros.
QString rateText(const Rate &rate)
{
    return QString::number(rate.perSecond(), 'g', 4).replace(QLatin1Char('.'), QLatin1Char(','));
}

QString line(const QString &what, const QString &value)
{
    return QStringLiteral("  %1 : %2\n").arg(what, value);
}

QString kindText(NodeKind kind)
{
    switch (kind) {
    case NodeKind::Camera:
        return QStringLiteral("caméra");
    case NodeKind::Metadata:
        return QStringLiteral("pas une caméra : ne donne que des informations sur les images "
                              "d'une autre entrée");
    case NodeKind::Output:
        return QStringLiteral("pas une caméra : une sortie vidéo");
    case NodeKind::Converter:
        return QStringLiteral("pas une caméra : un convertisseur d'images");
    case NodeKind::Other:
        return QStringLiteral("pas une caméra");
    case NodeKind::Unknown:
        break;
    }
    return QStringLiteral("inconnu : le système ne dit pas ce que c'est");
}

bool isTooSlow(const VideoDevice &device)
{
    return device.usbSpeed > 0 && device.usbSpeed <= usb1Mbits;
}

QString connectionText(const VideoDevice &device)
{
    if (!device.usb)
        return QStringLiteral("dans l'ordinateur, sans USB");
    QString text = device.builtIn ? QStringLiteral("intégrée, par USB") : QStringLiteral("USB");
    if (device.usbSpeed == 0)
        return text;
    text += QStringLiteral(" à %1 Mbit/s").arg(device.usbSpeed);
    if (isTooSlow(device))
        return text + QStringLiteral(" (USB 1 : beaucoup trop lent pour une caméra)");
    if (device.usbSpeed <= usb2Mbits)
        return text + QStringLiteral(" (USB 2)");
    return text + QStringLiteral(" (USB 3 ou plus)");
}

QString rightText(const CameraReport &report)
{
    const QString group =
        report.group.empty()
            ? QString()
            : QStringLiteral(" (groupe « %1 »)").arg(QString::fromStdString(report.group));
    const bool refused = report.fault.fault == Fault::NoRight;
    if (report.mayOpen)
        return QStringLiteral("accordé") + group;
    return (refused ? QStringLiteral("refusé") : QStringLiteral("l'ouverture échoue")) + group;
}

QString usersText(const std::vector<NodeUser> &users)
{
    QStringList each;
    for (const NodeUser &user : users)
        each += QStringLiteral("« %1 » (processus %2)")
                    .arg(QString::fromStdString(user.program))
                    .arg(user.process);
    return each.isEmpty() ? QStringLiteral("par aucun programme que l'on puisse voir")
                          : QStringLiteral("par ") + each.join(QStringLiteral(", "));
}

// The sizes of one format with their highest rates, "1920 x 1080 (30), 640 x 480 (30)".
QString sizesText(const std::vector<Offer> &offers, std::uint32_t fourcc)
{
    std::vector<Offer> fastest;
    for (const Offer &offer : offers) {
        if (offer.fourcc != fourcc)
            continue;
        const auto known = std::find_if(fastest.begin(), fastest.end(), [&](const Offer &other) {
            return other.size == offer.size;
        });
        if (known == fastest.end())
            fastest.push_back(offer);
        else if (offer.rate.perSecond() > known->rate.perSecond())
            known->rate = offer.rate;
    }
    QStringList sizes;
    for (const Offer &offer : fastest)
        sizes +=
            sizeText(offer.size) +
            (offer.rate.isKnown() ? QStringLiteral(" (%1)").arg(rateText(offer.rate)) : QString());
    return sizes.join(QStringLiteral(", "));
}

QString offersText(const std::vector<Offer> &offers)
{
    QString text = QStringLiteral("  Formats (images par seconde au plus) :\n");
    std::vector<std::uint32_t> told;
    QStringList unreadable;
    for (const Offer &offer : offers) {
        if (std::find(told.begin(), told.end(), offer.fourcc) != told.end())
            continue;
        told.push_back(offer.fourcc);
        const QString name = QString::fromStdString(fourccName(offer.fourcc)).trimmed();
        if (isReadable(offer.fourcc))
            text += QStringLiteral("    %1 : %2\n").arg(name, sizesText(offers, offer.fourcc));
        else
            unreadable += name;
    }
    if (!unreadable.isEmpty())
        text += QStringLiteral("    pas lus par Kivra : %1\n")
                    .arg(unreadable.join(QStringLiteral(", ")));
    return text;
}

QString reasonText(ChoiceReason reason)
{
    switch (reason) {
    case ChoiceReason::Wished:
        return QStringLiteral("demandé par le réglage camera/format");
    case ChoiceReason::Fluent:
        return QStringLiteral(
            "le plus grand jusqu'à 1920 x 1080, à 24 images par seconde au moins");
    case ChoiceReason::Fastest:
        return QStringLiteral("le plus rapide ; aucun n'atteint 24 images par seconde");
    case ChoiceReason::OnlyLarger:
        return QStringLiteral("le plus petit ; tous dépassent 1920 x 1080");
    }
    return {};
}

QString choiceText(const Choice &choice)
{
    const QString rate =
        choice.offer.rate.isKnown()
            ? QStringLiteral(" à %1 images par seconde").arg(rateText(choice.offer.rate))
            : QString();
    return QStringLiteral("%1 %2%3 (%4)")
        .arg(QString::fromStdString(fourccName(choice.offer.fourcc)), sizeText(choice.offer.size),
             rate, reasonText(choice.reason));
}

// Whether Kivra itself has the camera.
bool isOurs(const CameraReport &report)
{
    return report.fault.fault == Fault::InUse && !report.users.empty() &&
           std::all_of(report.users.begin(), report.users.end(),
                       [](const NodeUser &user) { return user.program == "kivra"; });
}

// Advice for a camera that can be used.
QString adviceText(const CameraReport &report)
{
    if (isOurs(report))
        return QStringLiteral("rien ; Kivra s'en sert en ce moment");
    if (!report.wishOffered)
        return QStringLiteral("rien d'urgent : le format du réglage camera/format n'est pas "
                              "proposé par cette caméra, un autre est pris");
    const bool slow =
        !report.ranked.empty() && report.ranked.front().reason == ChoiceReason::Fastest;
    if (slow && report.device.usb && report.device.usbSpeed <= usb2Mbits)
        return QStringLiteral("rien d'obligatoire ; si la caméra est une caméra USB 3, un port "
                              "USB 3 la rendrait plus fluide");
    return QStringLiteral("rien");
}

QString toDo(const CameraReport &report)
{
    QString advice = isUsable(report) ? adviceText(report) : faultText(report.fault);
    if (!isTooSlow(report.device))
        return advice;
    // First, because over such a connection many cameras offer less than they can.
    QString direct = QStringLiteral("branchez la caméra directement sur un port de l'ordinateur, "
                                    "avec un autre câble");
    return isUsable(report) ? direct : direct + QStringLiteral(". ") + advice;
}

QString cameraText(const CameraReport &report)
{
    QString text = line(QStringLiteral("Utilisable"),
                        isUsable(report) ? QStringLiteral("oui") : QStringLiteral("non"));
    text += line(QStringLiteral("Branchement"), connectionText(report.device));
    text += line(QStringLiteral("Droit de l'ouvrir"), rightText(report));
    text += line(QStringLiteral("Utilisée"), usersText(report.users));
    if (!report.driver.empty())
        text += line(QStringLiteral("Pilote"), QString::fromStdString(report.driver));
    if (!report.offers.empty())
        text += offersText(report.offers);
    if (!report.ranked.empty())
        text += line(QStringLiteral("Kivra prendrait"), choiceText(report.ranked.front()));
    return text + line(QStringLiteral("À faire"), toDo(report));
}

QString summary(const MachineReport &report)
{
    const auto isCamera = [](const CameraReport &one) {
        return one.device.kind == NodeKind::Camera;
    };
    const auto cameras = std::count_if(report.nodes.begin(), report.nodes.end(), isCamera);
    const auto usable = std::count_if(report.nodes.begin(), report.nodes.end(),
                                      [](const CameraReport &one) { return isUsable(one); });
    if (cameras == 0)
        return QStringLiteral("Aucune caméra. Branchez-la et allumez-la ; si rien ne change, "
                              "essayez un autre câble et un autre port USB.\n");
    return QStringLiteral("%1 sur %2 utilisable%3.\n")
        .arg(usable == 0   ? QStringLiteral("Aucune caméra")
             : usable == 1 ? QStringLiteral("1 caméra")
                           : QStringLiteral("%1 caméras").arg(usable))
        .arg(cameras)
        .arg(usable > 1 ? QStringLiteral("s") : QString());
}

} // namespace

bool isUsable(const CameraReport &report)
{
    const bool hasPicture = report.fault.fault == Fault::None || isOurs(report);
    return report.device.kind == NodeKind::Camera && hasPicture;
}

bool isUsable(const MachineReport &report)
{
    return std::any_of(report.nodes.begin(), report.nodes.end(),
                       [](const CameraReport &one) { return isUsable(one); });
}

QString reportText(const MachineReport &report)
{
    QString text;
    for (const CameraReport &one : report.nodes) {
        text += QStringLiteral("%1  %2\n")
                    .arg(QString::fromStdString(one.device.node),
                         QString::fromStdString(one.device.name));
        if (one.device.kind == NodeKind::Camera)
            text += cameraText(one);
        else
            text += QStringLiteral("  ") + kindText(one.device.kind) + QLatin1Char('\n');
        text += QLatin1Char('\n');
    }
    return text + summary(report);
}

} // namespace kivra::cameras
