#include "cameras/demo/folderpictures.h"

#include "cameras/demo/exposure.h"

#include <QDir>
#include <QImageReader>
#include <QPainter>

namespace kivra::cameras {

FolderPictures::FolderPictures(const QString &folder)
    : files(picturesIn(folder))
{
}

bool FolderPictures::make(QImage &picture, double seconds, double ev,
                          const std::atomic<bool> &abandoned)
{
    Q_UNUSED(seconds)
    // One round at most: all the folder's pictures may be gone.
    for (int tried = 0; tried < files.size() && !abandoned; ++tried) {
        QImageReader reader(files.at(nextFile));
        nextFile = (nextFile + 1) % files.size();
        reader.setAutoTransform(true);
        const QImage content = reader.read();
        if (content.isNull())
            continue;
        const QSize size = content.size().scaled(picture.size(), Qt::KeepAspectRatio);
        QRect place(QPoint(), size.expandedTo(QSize(1, 1)));
        place.moveCenter(picture.rect().center());
        picture.fill(Qt::black);
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(place, content);
        painter.end();
        expose(picture, ev);
        return true;
    }
    return false;
}

QStringList FolderPictures::picturesIn(const QString &folder)
{
    QStringList patterns;
    for (const QByteArray &format : QImageReader::supportedImageFormats())
        patterns.append(QStringLiteral("*.%1").arg(QString::fromLatin1(format)));
    QStringList paths;
    const QDir dir(folder);
    for (const QString &name : dir.entryList(patterns, QDir::Files | QDir::Readable, QDir::Name))
        paths.append(dir.absoluteFilePath(name));
    return paths;
}

} // namespace kivra::cameras
