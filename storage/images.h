#pragma once

#include <QString>
#include <QStringList>

/// Steps through stored pictures one by one, newest last, from one folder to the next at its ends.
/// It only computes paths; whether a picture still exists and can be read is known when it is
/// opened.
///
/// In storage mode, where it starts, the root is the folder of all months and the sub-folders are
/// the months. In opened-folder mode the root is the folder of a file that the user opened.
///
/// Pictures are the files whose names end in ".jpg" or ".png", in lower case. A folder that is
/// missing, unreadable or without pictures gives an empty list, and currentImage then keeps its
/// value. Names that are not valid in the file system's encoding are not listed.
class Images
{
public:
    /// In storage mode, on the newest picture of the newest month.
    Images();

    /// Reads the folders and pictures of the root again and goes to the newest picture.
    void reinit();
    /// Makes \a dir the root; the lists follow at the next reinit().
    void setDir(QString dir);
    /// Reads the folder's pictures again; the position stays, or moves back to the last picture if
    /// there are fewer now.
    void refreshDir();

    /// One picture forward; after the last one, the first picture of the next folder.
    void getNextImage();
    /// One picture back; before the first one, the last picture of the previous folder.
    void getPrevImage();
    /// One folder forward, at the same position, or at its last picture if it has fewer.
    void getNextDir();
    /// One folder back, likewise.
    void getPrevDir();

    QString rootDir;
    /// Full path of the current picture; empty as long as there was none.
    QString currentImage;
    /// Full path of the folder being browsed; empty as long as there was none.
    QString currentDir;
    /// Position in imageList, -1 for none.
    int imageIndex = -1;
    /// Position in dirList, -1 for none.
    int dirIndex = -1;
    /// File names of the pictures in the folder, sorted.
    QStringList imageList;
    /// Names of the root's sub-folders, sorted.
    QStringList dirList;
    /// True in storage mode, false in opened-folder mode.
    bool useStorageRoot = true;

private:
    void openStorage();
    void openFolder();
    void enterDir(int index);
    void readDirs();
    void readPictures(const QString &path);
    void updateCurrentImage();
};
