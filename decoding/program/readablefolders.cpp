// The part of the confinement that the kernel calls Landlock: which files can be opened.

#include "decoding/confined/descriptor.h"
#include "decoding/program/confinement.h"

#include <QCoreApplication>
#include <QFile>
#include <QStandardPaths>
#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>

namespace kivra {

namespace {

// Rights newer than the headers of Debian 12.
constexpr quint64 rightToTruncate = 1ULL << 14; // version 3
constexpr quint64 rightToControl = 1ULL << 15;  // devices; version 5

int version()
{
    const long known =
        syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    return known > 0 ? int(known) : 0;
}

// Only a right that the kernel knows can be taken away.
quint64 allRights(int known)
{
    quint64 rights = (LANDLOCK_ACCESS_FS_MAKE_SYM << 1) - 1;
    if (known >= 2)
        rights |= LANDLOCK_ACCESS_FS_REFER;
    if (known >= 3)
        rights |= rightToTruncate;
    if (known >= 5)
        rights |= rightToControl;
    return rights;
}

void allow(int rules, const QString &path)
{
    const Descriptor opened(open(QFile::encodeName(path).constData(), O_PATH | O_CLOEXEC));
    if (!opened.isOpen())
        return;
    struct stat is = {};
    fstat(opened.get(), &is);
    landlock_path_beneath_attr rule = {};
    rule.allowed_access = LANDLOCK_ACCESS_FS_READ_FILE;
    if (S_ISDIR(is.st_mode)) // of a file, the kernel would refuse the whole rule
        rule.allowed_access |= LANDLOCK_ACCESS_FS_READ_DIR;
    rule.parent_fd = opened.get();
    syscall(SYS_landlock_add_rule, rules, LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
}

} // namespace

QStringList pathsToRead()
{
    const QString cache = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
    const QString config = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    return QStringList{QStringLiteral("/lib"),
                       QStringLiteral("/lib64"),
                       QStringLiteral("/usr/lib"),
                       QStringLiteral("/usr/lib64"),
                       QStringLiteral("/usr/local/lib"),
                       QStringLiteral("/etc/ld.so.cache"),
                       QStringLiteral("/etc/fonts"),
                       QStringLiteral("/usr/share/fontconfig"),
                       QStringLiteral("/var/cache/fontconfig"),
                       cache + QStringLiteral("/fontconfig"),
                       config + QStringLiteral("/fontconfig"),
                       qEnvironmentVariable("FONTCONFIG_PATH"),
                       qEnvironmentVariable("FONTCONFIG_FILE")} +
           QStandardPaths::standardLocations(QStandardPaths::FontsLocation) +
           QCoreApplication::libraryPaths();
}

int allowReadingOf(const QStringList &paths)
{
    const int known = version();
    if (known == 0)
        return 0;
    landlock_ruleset_attr handled = {};
    handled.handled_access_fs = allRights(known);
    const Descriptor rules(int(syscall(SYS_landlock_create_ruleset, &handled, sizeof handled, 0)));
    if (!rules.isOpen())
        return 0;
    for (const QString &path : paths)
        allow(rules.get(), path);
    const bool holds = prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
                       syscall(SYS_landlock_restrict_self, rules.get(), 0) == 0;
    return holds ? known : 0;
}

} // namespace kivra
