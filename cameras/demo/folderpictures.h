#pragma once

#include "cameras/demo/picturemaker.h"

#include <QStringList>

namespace kivra::cameras {

/// Plays the picture files of a folder in a loop, one a frame, in the order of their names. Each is
/// scaled to fit the frame, on black. A file that cannot be read is skipped.
class FolderPictures : public PictureMaker
{
public:
    explicit FolderPictures(const QString &folder);

    bool make(QImage &picture, double seconds, double ev,
              const std::atomic<bool> &abandoned) override;

    /// The absolute paths of the files in \a folder with the suffix of a picture format that Qt
    /// reads, by name; empty if there is no such folder.
    static QStringList picturesIn(const QString &folder);

private:
    QStringList files;
    int nextFile = 0;
};

} // namespace kivra::cameras
