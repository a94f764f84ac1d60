#include "storage/images.h"

#include "storage/paths.h"
#include "storage/picturenames.h"

#include <QDir>

namespace {

QStringList subfolders(const QString &path)
{
    QStringList names = QDir(path).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::NoSort);
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

// If the root has sub-folders, currentDir becomes the root's path with the last one's name appended
// without a "/", while the pictures are those of the root itself. The root is the folder of an
// opened file here, which normally has no sub-folders.
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

// Goes to the last sub-folder; if there is none, currentDir stays.
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
    imageList = pictureNames(path);
    imageList.sort(Qt::CaseSensitive);
    imageIndex = imageList.count() - 1;
}

void Images::updateCurrentImage()
{
    if (imageIndex >= 0)
        currentImage = currentDir + QLatin1Char('/') + imageList[imageIndex];
}
