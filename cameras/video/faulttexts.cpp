#include "cameras/video/faulttexts.h"

#include <QCoreApplication>
#include <cstring>

namespace kivra::cameras {

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Texts)
};

QString inUse(const QString &camera, const QString &program)
{
    if (program.isEmpty())
        return Texts::tr("La caméra « %1 » est utilisée par un autre programme. Fermez ce "
                         "programme : l'image apparaîtra d'elle-même.")
            .arg(camera);
    return Texts::tr("La caméra « %1 » est utilisée par le programme « %2 ». Fermez ce programme : "
                     "l'image apparaîtra d'elle-même.")
        .arg(camera, program);
}

QString noRight(const QString &camera, const QString &node, const QString &group)
{
    if (group.isEmpty())
        return Texts::tr("Vous n'avez pas le droit d'utiliser la caméra « %1 » (%2). Demandez ce "
                         "droit à l'administrateur de l'ordinateur.")
            .arg(camera, node);
    return Texts::tr("Vous n'avez pas le droit d'utiliser la caméra « %1 » (%2). Demandez à "
                     "l'administrateur de l'ordinateur de vous ajouter au groupe « %3 », puis "
                     "ouvrez une nouvelle session.")
        .arg(camera, node, group);
}

} // namespace

QString faultText(const FaultReport &report)
{
    const QString camera = QString::fromStdString(report.camera);
    const QString node = QString::fromStdString(report.node);
    switch (report.fault) {
    case Fault::None:
        return {};
    case Fault::NotThere:
        return Texts::tr("La caméra « %1 » n'est pas branchée. Branchez-la et allumez-la : son "
                         "image apparaîtra d'elle-même.")
            .arg(camera);
    case Fault::Unplugged:
        return Texts::tr("La caméra « %1 » a été débranchée ou s'est éteinte. Rebranchez-la ou "
                         "rallumez-la : l'image reviendra d'elle-même.")
            .arg(camera);
    case Fault::NoRight:
        return noRight(camera, node, QString::fromStdString(report.group));
    case Fault::InUse:
        return inUse(camera, QString::fromStdString(report.user));
    case Fault::NoBandwidth:
        return Texts::tr("Le port USB n'a pas assez de débit pour la caméra « %1 ». Branchez-la "
                         "directement sur un port de l'ordinateur, sans concentrateur, et "
                         "débranchez les autres caméras.")
            .arg(camera);
    case Fault::NothingReadable:
        return Texts::tr("La caméra « %1 » ne donne aucun format d'image que Kivra sache lire. Il "
                         "en faut une autre.")
            .arg(camera);
    case Fault::NoFrames:
        return Texts::tr(
                   "La caméra « %1 » n'envoie plus d'image. Vérifiez qu'elle est allumée ; si "
                   "rien ne vient, débranchez-la et rebranchez-la.")
            .arg(camera);
    case Fault::Nonsense:
        return Texts::tr("La caméra « %1 » donne des réponses impossibles. Débranchez-la et "
                         "rebranchez-la ; si cela ne change rien, son pilote est en cause.")
            .arg(camera);
    case Fault::DoesNotAnswer:
        return Texts::tr("La caméra « %1 » ne répond pas (%2). Débranchez-la et rebranchez-la.")
            .arg(camera, QString::fromLocal8Bit(strerror(report.error)));
    }
    return {};
}

} // namespace kivra::cameras
