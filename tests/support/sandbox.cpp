#include "tests/support/sandbox.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QLibraryInfo>
#include <QSettings>
#include <QStandardPaths>
#include <cstdio>
#include <cstdlib>

namespace kivra::test {

namespace {

const Sandbox *theSandbox = nullptr;

[[noreturn]] void giveUp(const QString &why)
{
    std::fprintf(stderr, "sandbox: %s\n", qPrintable(why));
    std::exit(2);
}

void writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        giveUp(QStringLiteral("cannot write %1").arg(path));
}

} // namespace

Sandbox::Sandbox()
{
    if (!root.isValid())
        giveUp(QStringLiteral("no temporary folder: %1").arg(root.errorString()));
    theSandbox = this;

    const QDir top(home());
    for (const char *folder : {"config", "data", "cache", "runtime", "system", "Documents"})
        top.mkdir(QLatin1String(folder));
    QFile::setPermissions(top.filePath(QStringLiteral("runtime")),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    writeFile(top.filePath(QStringLiteral("config/user-dirs.dirs")),
              "XDG_DOCUMENTS_DIR=\"$HOME/Documents\"\n");

    const auto setFolder = [&](const char *variable, const char *folder) {
        qputenv(variable, QFile::encodeName(top.filePath(QLatin1String(folder))));
    };
    qputenv("HOME", QFile::encodeName(home()));
    setFolder("XDG_CONFIG_HOME", "config");
    setFolder("XDG_DATA_HOME", "data");
    setFolder("XDG_CACHE_HOME", "cache");
    setFolder("XDG_RUNTIME_DIR", "runtime");
    setFolder("XDG_CONFIG_DIRS", "system");
    qputenv("LC_ALL", "C.UTF-8");
    qputenv("TZ", "UTC");
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");

    hideMediaServices();
    refuseToEscape();
}

QString Sandbox::home() const
{
    return root.path();
}

QString Sandbox::documents() const
{
    return root.filePath(QStringLiteral("Documents"));
}

QStringList Sandbox::storedFiles() const
{
    return filesBelow(documents());
}

void Sandbox::reset() const
{
    QSettings store(QStringLiteral("Orvane"), QStringLiteral("KivraQt"));
    store.clear();
    store.sync();
    QDir(documents()).removeRecursively();
    QDir(home()).mkdir(QStringLiteral("Documents"));
}

const Sandbox &Sandbox::instance()
{
    Q_ASSERT(theSandbox);
    return *theSandbox;
}

// Qt looks for all kinds of plug-ins below the same folders. So its own folder is replaced by one
// with links to all kinds except media services.
void Sandbox::hideMediaServices() const
{
    const QDir plugins(QLibraryInfo::location(QLibraryInfo::PluginsPath));
    const QDir linked(root.filePath(QStringLiteral("plugins")));
    linked.mkpath(QStringLiteral("."));
    for (const QString &kind : plugins.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (kind != QLatin1String("mediaservice"))
            QFile::link(plugins.filePath(kind), linked.filePath(kind));
    }
    QCoreApplication::setLibraryPaths({linked.path()});
}

void Sandbox::refuseToEscape() const
{
    for (const auto location :
         {QStandardPaths::HomeLocation, QStandardPaths::DocumentsLocation,
          QStandardPaths::GenericConfigLocation, QStandardPaths::GenericDataLocation,
          QStandardPaths::GenericCacheLocation, QStandardPaths::RuntimeLocation}) {
        const QString path = QStandardPaths::writableLocation(location);
        if (!path.startsWith(home()))
            giveUp(QStringLiteral("%1 lies outside %2").arg(path, home()));
    }
    const QString store = QSettings(QStringLiteral("Orvane"), QStringLiteral("KivraQt")).fileName();
    if (!store.startsWith(home()))
        giveUp(QStringLiteral("the settings store %1 lies outside %2").arg(store, home()));
}

QStringList filesBelow(const QString &folder)
{
    QStringList files;
    QDirIterator tree(folder, QDir::Files, QDirIterator::Subdirectories);
    while (tree.hasNext())
        files += tree.next();
    return files;
}

} // namespace kivra::test
