#include "rendu/faults.h"

#include "decoding/picturefile.h"

#include <QFileInfo>
#include <cerrno>

namespace kivra::rendu {

namespace {

QString reasonOf(int error)
{
    switch (error) {
    case ENOSPC:
    case EDQUOT:
        return QStringLiteral("le disque est plein");
    case EFBIG:
        return QStringLiteral("le fichier serait trop gros");
    case EACCES:
    case EPERM:
    case EROFS:
        return QStringLiteral("le dossier n'est pas ouvert à l'écriture");
    case ENOENT:
    case ENOTDIR:
        return QStringLiteral("le dossier n'existe pas");
    case EISDIR:
        return QStringLiteral("un dossier porte ce nom");
    case ENAMETOOLONG:
        return QStringLiteral("le nom est trop long");
    case ENOMEM:
        return QStringLiteral("la mémoire manque");
    default:
        return QStringLiteral("erreur %1 du système").arg(error);
    }
}

} // namespace

QString sourceFault(const QString &path)
{
    const QFileInfo file(path);
    if (!file.exists() && path.contains(QChar::ReplacementCharacter))
        return QStringLiteral("son nom n'est pas en UTF-8 ; renommez-le");
    if (!file.exists())
        return QStringLiteral("ce fichier n'existe pas");
    if (file.isDir())
        return QStringLiteral("c'est un dossier");
    if (!file.isFile())
        return QStringLiteral("ce n'est pas un fichier ordinaire");
    if (!file.isReadable())
        return QStringLiteral("ce fichier n'est pas ouvert à la lecture");
    if (file.size() > mostFileBytes)
        return QStringLiteral("ce fichier est trop gros");
    return {};
}

QString writingFault(const QString &path, int error)
{
    if (error == EEXIST && QFileInfo(path).isDir())
        return writingFault(path, EISDIR);
    if (error == EEXIST)
        return QStringLiteral("« %1 » existe déjà ; --force le remplace").arg(path);
    return QStringLiteral("« %1 » ne peut pas être écrit : %2").arg(path, reasonOf(error));
}

} // namespace kivra::rendu
