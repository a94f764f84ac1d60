#include "storage/images.h"

#include "storage/paths.h"

#include <QDir>
#include <QFile>
#include <dirent.h>
#include <memory>
#include <sys/stat.h>

namespace {

struct CloseFolder
{
    void operator()(DIR *folder) const { closedir(folder); }
};

bool isPictureName(const QByteArray &name)
{
    return !name.startsWith('.') && (name.endsWith(".jpg") || name.endsWith(".png"));
}

QStringList subfolders(const QString &path)
{
    QStringList names = QDir(path).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::NoSort);
    names.sort(Qt::CaseSensitive);
    return names;
}

bool isFile(DIR *folder, const dirent &entry)
{
    if (entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN)
        return entry.d_type == DT_REG;
    struct stat target = {};
    return fstatat(dirfd(folder), entry.d_name, &target, 0) == 0 && S_ISREG(target.st_mode);
}

// What QDir lists as files for the patterns "*.jpg" and "*.png", in a quarter of its time: a month
// may hold 100,000 pictures, and the program starts with the newest month. An empty path, which
// QDir takes for the current folder, names none here.
QStringList pictures(const QString &path)
{
    const std::unique_ptr<DIR, CloseFolder> folder(opendir(QFile::encodeName(path).constData()));
    if (!folder)
        return {};
    QStringList names;
    while (const dirent *entry = readdir(folder.get())) {
        const QByteArray bytes(entry->d_name);
        if (!isPictureName(bytes) || !isFile(folder.get(), *entry))
            continue;
        const QString name = QFile::decodeName(bytes);
        // A name that does not survive the way back could never be opened.
        if (QFile::encodeName(name) == bytes)
            names.append(name);
    }
    names.sort(Qt::CaseSensitive);
    return names;
}

} // namespace

Images::Images()
{
    openStorage();
}

void Images::reinit()
{
    if (useStorageRoot)
        openStorage();
    else
        openFolder();
}

void Images::setDir(QString dir)
{
    rootDir = dir;
}

void Images::refreshDir()
{
    const int position = imageIndex;
    readPictures(currentDir);
    imageIndex = qMin(position, imageIndex);
    updateCurrentImage();
}

void Images::getNextImage()
{
    if (imageIndex < imageList.count() - 1) {
        ++imageIndex;
        updateCurrentImage();
    } else if (dirIndex < dirList.count() - 1) {
        getNextDir();
        imageIndex = 0;
        refreshDir();
    }
}

void Images::getPrevImage()
{
    if (imageIndex > 0) {
        --imageIndex;
        updateCurrentImage();
    } else if (dirIndex > 0) {
        getPrevDir();
        readPictures(currentDir);
        updateCurrentImage();
    }
}

void Images::getNextDir()
{
    if (dirIndex < dirList.count() - 1)
        enterDir(dirIndex + 1);
}

void Images::getPrevDir()
{
    if (dirIndex > 0)
        enterDir(dirIndex - 1);
}

void Images::openStorage()
{
    rootDir = storageRoot() + QStringLiteral("/tableaux/");
    if (!QDir(rootDir).exists())
        return;
    readDirs();
    readPictures(currentDir);
    updateCurrentImage();
}

// With sub-folders, the last one's name is glued to the root and the pictures are the root's own.
// Users of the root reach it through the folder of an opened file, which normally has none.
void Images::openFolder()
{
    if (!QDir(rootDir).exists())
        return;
    currentDir = rootDir;
    readDirs();
    readPictures(rootDir);
    updateCurrentImage();
}

void Images::enterDir(int index)
{
    dirIndex = index;
    currentDir = rootDir + dirList[dirIndex];
    refreshDir();
}

// Goes to the last sub-folder; without any, the folder being browsed stays.
void Images::readDirs()
{
    dirList = subfolders(rootDir);
    dirIndex = dirList.count() - 1;
    if (!dirList.isEmpty())
        currentDir = rootDir + dirList[dirIndex];
}

// Goes to the last picture.
void Images::readPictures(const QString &path)
{
    imageList = pictures(path);
    imageIndex = imageList.count() - 1;
}

void Images::updateCurrentImage()
{
    if (imageIndex >= 0)
        currentImage = currentDir + QLatin1Char('/') + imageList[imageIndex];
}
