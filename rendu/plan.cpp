#include "rendu/plan.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QImageReader>
#include <map>
#include <optional>
#include <sys/stat.h>
#include <utility>

namespace kivra::rendu {

namespace {

// The same for all paths to one file.
using Identity = std::pair<dev_t, ino_t>;

std::optional<Identity> identityOf(const QString &path)
{
    struct stat file = {};
    if (stat(QFile::encodeName(path).constData(), &file) != 0)
        return std::nullopt;
    return Identity{file.st_dev, file.st_ino};
}

bool isPicturesSuffix(const QString &suffix)
{
    static const QList<QByteArray> known = QImageReader::supportedImageFormats();
    return known.contains(suffix.toLatin1());
}

bool keepsItsName(const QString &suffix, Options::Format format)
{
    const bool isPng = suffix == QLatin1String("png");
    const bool isJpeg = suffix == QLatin1String("jpg") || suffix == QLatin1String("jpeg");
    switch (format) {
    case Options::Format::Png:
        return isPng;
    case Options::Format::Jpeg:
        return isJpeg;
    case Options::Format::Kept:
        break;
    }
    return isPng || isJpeg;
}

// With --format jpg, "page.tif" becomes "page.jpg", but "page.2026" becomes "page.2026.jpg": its
// suffix is no format's.
QString targetName(const QString &source, Options::Format format)
{
    const QFileInfo file(source);
    const QString suffix = file.suffix().toLower();
    if (keepsItsName(suffix, format))
        return file.fileName();
    const QString name = isPicturesSuffix(suffix) ? file.completeBaseName() : file.fileName();
    return name + QLatin1String(format == Options::Format::Jpeg ? ".jpg" : ".png");
}

QString withoutSlashes(QString folder)
{
    while (folder.size() > 1 && folder.endsWith(QLatin1Char('/')))
        folder.chop(1);
    return folder == QLatin1String("/") ? QString() : folder;
}

using Sources = std::map<Identity, QString>;

Sources sourcesOf(const Options &options)
{
    Sources sources;
    for (const QString &source : options.sources) {
        if (const auto identity = identityOf(source))
            sources.emplace(*identity, source);
    }
    return sources;
}

void checkTarget(const Sources &sources, const QString &target, QStringList *faults)
{
    const auto identity = identityOf(target);
    if (!identity)
        return;
    const auto source = sources.find(*identity);
    if (source != sources.end())
        *faults += QStringLiteral("%1 : le résultat « %2 » prendrait sa place")
                       .arg(source->second, target);
}

} // namespace

Plan planFor(const Options &options)
{
    Plan plan;
    const Sources sources = sourcesOf(options);
    if (!options.pdf.isEmpty())
        checkTarget(sources, options.pdf, &plan.faults);
    const QString folder = withoutSlashes(options.folder);
    QHash<QString, QString> sourceOf;
    for (const QString &source : options.sources) {
        if (!options.pdf.isEmpty()) {
            plan.jobs.push_back({source, {}});
            continue;
        }
        const QString name = targetName(source, options.format);
        const QString target = folder + QLatin1Char('/') + name;
        if (sourceOf.contains(name))
            plan.faults +=
                QStringLiteral("%1 : son résultat aurait le même nom que celui de « %2 »")
                    .arg(source, sourceOf.value(name));
        else
            checkTarget(sources, target, &plan.faults);
        sourceOf.insert(name, source);
        plan.jobs.push_back({source, target});
    }
    return plan;
}

} // namespace kivra::rendu
