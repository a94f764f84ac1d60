#include "storage/images.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QFileInfo>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <vector>

namespace fs = std::filesystem;

using kivra::test::Sandbox;

namespace {

QString storage()
{
    return Sandbox::instance().documents() + QStringLiteral("/TablinoQt/tableaux/");
}

void write(const QString &path)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        qFatal("cannot write %s", qPrintable(path));
}

// Writes pictures into a folder of the storage tree; an empty list makes an empty folder.
void writeMonth(const QString &month, const QStringList &names)
{
    QDir().mkpath(storage() + month);
    for (const QString &name : names)
        write(storage() + month + QLatin1Char('/') + name);
}

QString picture(const char *path)
{
    return storage() + QString::fromUtf8(path);
}

QStringList numbered(int count)
{
    QStringList names;
    for (int i = 0; i < count; ++i)
        names << QString::asprintf("im%04d.jpg", i);
    return names;
}

// What a step must leave alone.
struct State
{
    explicit State(const Images &images)
        : currentImage(images.currentImage)
        , currentDir(images.currentDir)
        , imageIndex(images.imageIndex)
        , dirIndex(images.dirIndex)
        , imageList(images.imageList)
        , dirList(images.dirList)
    {
    }
    bool operator==(const State &other) const
    {
        return currentImage == other.currentImage && currentDir == other.currentDir &&
               imageIndex == other.imageIndex && dirIndex == other.dirIndex &&
               imageList == other.imageList && dirList == other.dirList;
    }

    QString currentImage, currentDir;
    int imageIndex, dirIndex;
    QStringList imageList, dirList;
};

// A folder and pictures in month 2025-01 whose names are not valid UTF-8. Qt can neither make nor
// remove them.
class UndecodableNames
{
public:
    explicit UndecodableNames(const std::string &storage)
        : folder(storage + "\xe9t\xe9")
    {
        for (const char *name : {"\xe9t\xe9.jpg", "\xff\xfe.png", "zz\xc3.jpg", "\xed\xa0\x80.jpg"})
            files.push_back(storage + "2025-01/" + name);
        fs::create_directory(folder);
        for (const fs::path &file : files) {
            if (!std::ofstream(file))
                qFatal("cannot write a name that is not UTF-8");
        }
    }
    ~UndecodableNames()
    {
        std::error_code ignored;
        fs::remove(folder, ignored);
        for (const fs::path &file : files)
            fs::remove(file, ignored);
    }
    Q_DISABLE_COPY(UndecodableNames)

private:
    fs::path folder;
    std::vector<fs::path> files;
};

Images opened(const QString &folder)
{
    Images images;
    images.useStorageRoot = false;
    images.setDir(folder);
    images.reinit();
    return images;
}

} // namespace

class TestImages : public QObject
{
    Q_OBJECT

private slots:
    void init() { Sandbox::instance().reset(); }

    void startsOnTheNewestPictureAndStepsBackToTheOldest()
    {
        writeMonth(QStringLiteral("2025-01"),
                   {QStringLiteral("im1.jpg"), QStringLiteral("im2.jpg")});
        writeMonth(QStringLiteral("2024-11"),
                   {QStringLiteral("im1.jpg"), QStringLiteral("im2.jpg")});
        Images images;
        QVERIFY(images.useStorageRoot);
        QCOMPARE(images.rootDir, storage());
        QCOMPARE(images.currentDir, picture("2025-01"));
        QCOMPARE(images.currentImage, picture("2025-01/im2.jpg"));
        for (const char *expected :
             {"2025-01/im1.jpg", "2024-11/im2.jpg", "2024-11/im1.jpg", "2024-11/im1.jpg"}) {
            images.getPrevImage();
            QCOMPARE(images.currentImage, picture(expected));
        }
    }

    void nextAtTheNewestChangesNothing()
    {
        writeMonth(QStringLiteral("2024-11"), numbered(2));
        writeMonth(QStringLiteral("2025-01"), numbered(2));
        Images images;
        const State before(images);
        images.getNextImage();
        QVERIFY(State(images) == before);
    }

    void walksALargeTreeFromEndToEnd()
    {
        QStringList all;
        for (int month = 0; month < 48; ++month) {
            const QString folder = QString::asprintf("%d-%02d", 2022 + month / 12, month % 12 + 1);
            const QStringList names = numbered(month % 7 == 3 ? 0 : 40 + month);
            writeMonth(folder, names);
            for (const QString &name : names)
                all << storage() + folder + QLatin1Char('/') + name;
        }
        QVERIFY(all.count() > 2000);

        Images images;
        QCOMPARE(images.currentImage, all.last());
        QStringList walked{images.currentImage};
        // An empty month takes a step of its own, in which the picture stays.
        for (int step = 0; step < 2 * all.count() && walked.first() != all.first(); ++step) {
            images.getPrevImage();
            if (walked.first() != images.currentImage)
                walked.prepend(images.currentImage);
        }
        QCOMPARE(walked, all);

        walked = QStringList{images.currentImage};
        for (int step = 0; step < 2 * all.count() && walked.last() != all.last(); ++step) {
            images.getNextImage();
            if (walked.last() != images.currentImage)
                walked << images.currentImage;
        }
        QCOMPARE(walked, all);
    }

    void missingRootLeavesEverythingEmpty()
    {
        Images images;
        const auto check = [&images] {
            QCOMPARE(images.currentImage, QString());
            QCOMPARE(images.currentDir, QString());
            QCOMPARE(images.imageIndex, -1);
            QCOMPARE(images.dirIndex, -1);
            QVERIFY(images.imageList.isEmpty());
            QVERIFY(images.dirList.isEmpty());
        };
        QCOMPARE(images.rootDir, storage());
        check();
        images.getNextImage();
        images.getPrevImage();
        images.getNextDir();
        images.getPrevDir();
        images.refreshDir();
        images.reinit();
        check();
    }

    // The current folder holds pictures here, which must not be taken for stored ones.
    void rootWithoutMonthsLeavesEverythingEmpty()
    {
        QTemporaryDir elsewhere;
        write(elsewhere.filePath(QStringLiteral("stray.jpg")));
        const QString previous = QDir::currentPath();
        QDir::setCurrent(elsewhere.path());
        QDir().mkpath(storage());
        Images images;
        images.refreshDir();
        images.getNextImage();
        images.getPrevImage();
        images.reinit();
        QDir::setCurrent(previous);
        QCOMPARE(images.currentImage, QString());
        QCOMPARE(images.imageIndex, -1);
        QCOMPARE(images.dirIndex, -1);
    }

    void fileInPlaceOfTheRootLeavesEverythingEmpty()
    {
        write(Sandbox::instance().documents() + QStringLiteral("/TablinoQt/tableaux"));
        const Images images;
        QCOMPARE(images.currentImage, QString());
        QCOMPARE(images.dirIndex, -1);
    }

    void listsOnlyTheTwoPatternsInLowerCase()
    {
        writeMonth(QStringLiteral("2025-01"),
                   {QStringLiteral("a.jpg"), QStringLiteral("b.png"), QStringLiteral("c.JPG"),
                    QStringLiteral("d.PNG"), QStringLiteral("e.Jpg"), QStringLiteral("f.jpeg"),
                    QStringLiteral("g.gif"), QStringLiteral("h.jpg.bak"), QStringLiteral("jpg"),
                    QStringLiteral("xjpg"), QStringLiteral(".jpg"), QStringLiteral(".hidden.jpg"),
                    QStringLiteral("two.parts.jpg")});
        const Images images;
        QCOMPARE(images.imageList, (QStringList{QStringLiteral("a.jpg"), QStringLiteral("b.png"),
                                                QStringLiteral("two.parts.jpg")}));
    }

    void listsFilesAndLinksToFilesOnly()
    {
        writeMonth(QStringLiteral("2025-01"), {QStringLiteral("file.jpg"), QStringLiteral("text")});
        const QDir month(picture("2025-01"));
        QVERIFY(month.mkdir(QStringLiteral("folder.jpg")));
        QVERIFY(QFile::link(month.filePath(QStringLiteral("text")),
                            month.filePath(QStringLiteral("link.jpg"))));
        QVERIFY(QFile::link(month.path(), month.filePath(QStringLiteral("link to folder.jpg"))));
        QVERIFY(
            QFile::link(QStringLiteral("/nowhere"), month.filePath(QStringLiteral("broken.jpg"))));
        const QString pipe = month.filePath(QStringLiteral("pipe.jpg"));
        QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        // Opening a pipe would wait for a writer that never comes.
        QVERIFY(QFile::link(pipe, month.filePath(QStringLiteral("link to pipe.jpg"))));
        const Images images;
        QCOMPARE(images.imageList,
                 (QStringList{QStringLiteral("file.jpg"), QStringLiteral("link.jpg")}));
    }

    void listsWhatQDirLists()
    {
        writeMonth(QStringLiteral("2025-01"),
                   {QStringLiteral("été 1.jpg"), QStringLiteral("Zoo.png"),
                    QStringLiteral("zoo.png"), QStringLiteral("日本.jpg"),
                    QStringLiteral("\U0001F4F7.jpg"), QStringLiteral("\uFFFD.jpg"),
                    QStringLiteral("\uFB01.jpg"), QStringLiteral("a*.jpg"),
                    QStringLiteral("[b].jpg"), QStringLiteral("c?.png"), QStringLiteral("d\n.jpg"),
                    QStringLiteral(".e.jpg"), QStringLiteral("f.txt")});
        const QDir month(picture("2025-01"));
        QVERIFY(month.mkdir(QStringLiteral("g.jpg")));
        QStringList expected = month.entryList({QStringLiteral("*.jpg"), QStringLiteral("*.png")},
                                               QDir::Files | QDir::CaseSensitive, QDir::NoSort);
        expected.sort(Qt::CaseSensitive);
        QCOMPARE(expected.count(), 11);
        QCOMPARE(Images().imageList, expected);
    }

    void sortsByCodeUnit()
    {
        writeMonth(QStringLiteral("2025-01"), {QStringLiteral("b.jpg"), QStringLiteral("a.png"),
                                               QStringLiteral("B.jpg"), QStringLiteral("im10.jpg"),
                                               QStringLiteral("im9.jpg"), QStringLiteral("é.jpg")});
        writeMonth(QStringLiteral("2024-12"), {});
        writeMonth(QStringLiteral("Vacances"), {});
        writeMonth(QStringLiteral("album"), {});
        Images images;
        QCOMPARE(images.dirList,
                 (QStringList{QStringLiteral("2024-12"), QStringLiteral("2025-01"),
                              QStringLiteral("Vacances"), QStringLiteral("album")}));
        images.getPrevDir();
        images.getPrevDir();
        QCOMPARE(images.imageList,
                 (QStringList{QStringLiteral("B.jpg"), QStringLiteral("a.png"),
                              QStringLiteral("b.jpg"), QStringLiteral("im10.jpg"),
                              QStringLiteral("im9.jpg"), QStringLiteral("é.jpg")}));
    }

    void filesBesideTheMonthsAreNoMonths()
    {
        writeMonth(QStringLiteral("2025-01"), numbered(1));
        write(picture("2025-02"));
        write(picture("stray.jpg"));
        QDir(storage()).mkdir(QStringLiteral(".hidden"));
        const Images images;
        QCOMPARE(images.dirList, QStringList{QStringLiteral("2025-01")});
        QCOMPARE(images.currentImage, picture("2025-01/im0000.jpg"));
    }

    void accentsAndSpacesAreKept()
    {
        writeMonth(QStringLiteral("leçon d'été"), {QStringLiteral("mon œuvre à moi.jpg")});
        const Images images;
        QCOMPARE(images.currentImage, picture("leçon d'été/mon œuvre à moi.jpg"));
        QVERIFY(QFileInfo(images.currentImage).isFile());
    }

    void namesThatAreNotUtf8AreSkipped()
    {
        writeMonth(QStringLiteral("2025-01"), numbered(2));
        const UndecodableNames names(QFile::encodeName(storage()).toStdString());
        Images images;
        QCOMPARE(images.dirList, QStringList{QStringLiteral("2025-01")});
        QCOMPARE(images.imageList, numbered(2));
        images.getPrevImage();
        images.refreshDir();
        QCOMPARE(images.currentImage, picture("2025-01/im0000.jpg"));
    }

    void nextDirKeepsThePosition()
    {
        writeMonth(QStringLiteral("2025-01"), numbered(8));
        writeMonth(QStringLiteral("2025-02"), numbered(8));
        Images images;
        images.getPrevDir();
        for (int step = 0; step < 3; ++step)
            images.getPrevImage();
        QCOMPARE(images.currentImage, picture("2025-01/im0004.jpg"));
        images.getNextDir();
        QCOMPARE(images.currentImage, picture("2025-02/im0004.jpg"));
        QCOMPARE(images.currentDir, picture("2025-02"));
        QCOMPARE(images.imageIndex, 4);
        QCOMPARE(images.dirIndex, 1);
    }

    void nextDirStopsAtTheLastPictureOfAShorterMonth()
    {
        writeMonth(QStringLiteral("2025-01"), numbered(8));
        writeMonth(QStringLiteral("2025-02"), numbered(3));
        Images images;
        images.getPrevImage();
        images.getPrevImage();
        images.getPrevImage(); // into the longer month, on its last picture
        QCOMPARE(images.currentImage, picture("2025-01/im0007.jpg"));
        images.getNextDir();
        QCOMPARE(images.currentImage, picture("2025-02/im0002.jpg"));
        QCOMPARE(images.imageIndex, 2);
    }

    void nextDirAtTheLastFolderDoesNotEvenRefresh()
    {
        writeMonth(QStringLiteral("2025-01"), numbered(1));
        writeMonth(QStringLiteral("2025-02"), numbered(1));
        Images images;
        const State before(images);
        writeMonth(QStringLiteral("2025-02"), numbered(5));
        images.getNextDir();
        QVERIFY(State(images) == before);
    }

    void prevDirKeepsThePosition()
    {
        writeMonth(QStringLiteral("2025-01"), numbered(8));
        writeMonth(QStringLiteral("2025-02"), numbered(4));
        Images images;
        images.getPrevDir();
        QCOMPARE(images.currentImage, picture("2025-01/im0003.jpg"));
        QCOMPARE(images.imageList, numbered(8));
    }

    void prevDirAtTheFirstFolderDoesNotEvenRefresh()
    {
        writeMonth(QStringLiteral("2025-01"), numbered(1));
        Images images;
        const State before(images);
        writeMonth(QStringLiteral("2025-01"), numbered(5));
        images.getPrevDir();
        QVERIFY(State(images) == before);
    }

    void refreshKeepsThePosition()
    {
        writeMonth(QStringLiteral("2025-01"), {QStringLiteral("b.jpg"), QStringLiteral("d.jpg")});
        Images images;
        writeMonth(QStringLiteral("2025-01"), {QStringLiteral("a.jpg"), QStringLiteral("c.jpg")});
        images.refreshDir();
        QCOMPARE(images.imageIndex, 1);
        QCOMPARE(images.currentImage, picture("2025-01/b.jpg"));
    }

    void refreshMovesBackWhenPicturesAreGone()
    {
        writeMonth(QStringLiteral("2025-01"), numbered(5));
        Images images;
        QVERIFY(QFile::remove(picture("2025-01/im0004.jpg")));
        QVERIFY(QFile::remove(picture("2025-01/im0000.jpg")));
        images.refreshDir();
        QCOMPARE(images.imageIndex, 2);
        QCOMPARE(images.currentImage, picture("2025-01/im0003.jpg"));
    }

    void picturesTakenLaterAreReachedAfterARefresh()
    {
        writeMonth(QStringLiteral("2025-01"), numbered(2));
        Images images;
        writeMonth(QStringLiteral("2025-01"), numbered(3));
        images.getNextImage();
        QCOMPARE(images.currentImage, picture("2025-01/im0001.jpg"));
        images.refreshDir();
        QCOMPARE(images.currentImage, picture("2025-01/im0001.jpg"));
        images.getNextImage();
        QCOMPARE(images.currentImage, picture("2025-01/im0002.jpg"));
    }

    void stepWithinAMonthDoesNotReadTheFolder()
    {
        writeMonth(QStringLiteral("2025-01"), numbered(3));
        Images images;
        images.getPrevImage();
        QVERIFY(QDir(picture("2025-01")).removeRecursively());
        images.getPrevImage();
        QCOMPARE(images.currentImage, picture("2025-01/im0000.jpg"));
        images.getNextImage();
        QCOMPARE(images.currentImage, picture("2025-01/im0001.jpg"));
        QCOMPARE(images.imageList, numbered(3));
    }

    void monthMadeLaterIsReachedAfterReinit()
    {
        writeMonth(QStringLiteral("2025-01"), numbered(2));
        Images images;
        writeMonth(QStringLiteral("2025-02"), numbered(2));
        images.getNextImage();
        images.getNextDir();
        images.refreshDir();
        QCOMPARE(images.currentImage, picture("2025-01/im0001.jpg"));
        images.reinit();
        QCOMPARE(images.currentImage, picture("2025-02/im0001.jpg"));
        QCOMPARE(images.dirList.count(), 2);
    }

    void deletedPictureIsStillNamed()
    {
        writeMonth(QStringLiteral("2025-01"), numbered(2));
        Images images;
        QVERIFY(QFile::remove(picture("2025-01/im0000.jpg")));
        images.getPrevImage();
        QCOMPARE(images.currentImage, picture("2025-01/im0000.jpg"));
    }

    void stepsAcrossAnEmptyMonth()
    {
        writeMonth(QStringLiteral("2025-01"), numbered(2));
        writeMonth(QStringLiteral("2025-02"), {});
        writeMonth(QStringLiteral("2025-03"), numbered(2));
        Images images;
        images.getPrevImage();
        images.getPrevImage(); // into the empty month
        QCOMPARE(images.currentImage, picture("2025-03/im0000.jpg"));
        QCOMPARE(images.currentDir, picture("2025-02"));
        QCOMPARE(images.imageIndex, -1);
        images.getPrevImage();
        QCOMPARE(images.currentImage, picture("2025-01/im0001.jpg"));
        images.getNextImage(); // into the empty month again
        QCOMPARE(images.currentImage, picture("2025-01/im0001.jpg"));
        QCOMPARE(images.imageIndex, -1);
        images.getNextImage();
        QCOMPARE(images.currentImage, picture("2025-03/im0000.jpg"));
    }

    void startsOnAnEmptyNewestMonth()
    {
        writeMonth(QStringLiteral("2025-01"), numbered(2));
        writeMonth(QStringLiteral("2025-02"), {});
        Images images;
        QCOMPARE(images.currentImage, QString());
        QCOMPARE(images.currentDir, picture("2025-02"));
        QCOMPARE(images.imageIndex, -1);
        QCOMPARE(images.dirIndex, 1);
        images.getNextImage();
        QCOMPARE(images.currentImage, QString());
        images.getPrevImage();
        QCOMPARE(images.currentImage, picture("2025-01/im0001.jpg"));
    }

    void emptiedFolderKeepsTheCurrentPicture()
    {
        writeMonth(QStringLiteral("2025-01"), numbered(2));
        writeMonth(QStringLiteral("2025-02"), numbered(2));
        Images images;
        QVERIFY(QDir(picture("2025-02")).removeRecursively());
        writeMonth(QStringLiteral("2025-02"), {});
        images.refreshDir();
        QCOMPARE(images.currentImage, picture("2025-02/im0001.jpg"));
        QCOMPARE(images.imageIndex, -1);
        QVERIFY(images.imageList.isEmpty());
        images.getPrevImage();
        QCOMPARE(images.currentImage, picture("2025-01/im0001.jpg"));
    }

    void vanishedFolderKeepsTheCurrentPicture()
    {
        writeMonth(QStringLiteral("2025-02"), numbered(2));
        Images images;
        QVERIFY(QDir(storage()).removeRecursively());
        images.refreshDir();
        QCOMPARE(images.currentImage, picture("2025-02/im0001.jpg"));
        QCOMPARE(images.imageIndex, -1);
        images.getNextImage();
        images.getPrevImage();
        QCOMPARE(images.currentImage, picture("2025-02/im0001.jpg"));
    }

    void vanishedMonthIsSteppedAcross()
    {
        writeMonth(QStringLiteral("2025-01"), numbered(1));
        writeMonth(QStringLiteral("2025-02"), numbered(1));
        writeMonth(QStringLiteral("2025-03"), numbered(1));
        Images images;
        QVERIFY(QDir(picture("2025-02")).removeRecursively());
        images.getPrevImage();
        QCOMPARE(images.currentImage, picture("2025-03/im0000.jpg"));
        images.getPrevImage();
        QCOMPARE(images.currentImage, picture("2025-01/im0000.jpg"));
    }

    void filledFolderIsEnteredAtItsFirstPicture()
    {
        writeMonth(QStringLiteral("2025-01"), {});
        Images images;
        writeMonth(QStringLiteral("2025-01"), numbered(3));
        images.refreshDir(); // never raises the position
        QCOMPARE(images.imageList, numbered(3));
        QCOMPARE(images.imageIndex, -1);
        QCOMPARE(images.currentImage, QString());
        images.getNextImage();
        QCOMPARE(images.currentImage, picture("2025-01/im0000.jpg"));
    }

    void folderThatComesBackIsRead()
    {
        writeMonth(QStringLiteral("2025-01"), numbered(2));
        writeMonth(QStringLiteral("2025-02"), numbered(2));
        Images images;
        QVERIFY(QDir(picture("2025-01")).removeRecursively());
        images.getPrevDir();
        QCOMPARE(images.imageIndex, -1);
        QCOMPARE(images.currentImage, picture("2025-02/im0001.jpg"));
        writeMonth(QStringLiteral("2025-01"), numbered(4));
        images.getNextImage(); // the list of the vanished folder is empty: on to the next one
        QCOMPARE(images.currentImage, picture("2025-02/im0000.jpg"));
        images.getPrevImage();
        QCOMPARE(images.currentImage, picture("2025-01/im0003.jpg"));
    }

    void reinitInStorageModeReadsFromTheStart()
    {
        writeMonth(QStringLiteral("2025-01"), numbered(2));
        Images images;
        images.getPrevImage();
        images.setDir(QStringLiteral("/somewhere/else"));
        writeMonth(QStringLiteral("2025-01"), numbered(6));
        images.reinit();
        QCOMPARE(images.rootDir, storage());
        QCOMPARE(images.currentImage, picture("2025-01/im0005.jpg"));
        QCOMPARE(images.imageIndex, 5);
    }

    void reinitInStorageModeKeepsWhatHasNoSuccessor()
    {
        writeMonth(QStringLiteral("2025-01"), numbered(2));
        Images images;
        QVERIFY(QDir(picture("2025-01")).removeRecursively());
        images.reinit();
        QVERIFY(images.dirList.isEmpty());
        QVERIFY(images.imageList.isEmpty());
        QCOMPARE(images.dirIndex, -1);
        QCOMPARE(images.imageIndex, -1);
        QCOMPARE(images.currentDir, picture("2025-01"));
        QCOMPARE(images.currentImage, picture("2025-01/im0001.jpg"));
    }

    void reinitAfterTheTreeVanishedChangesNothing()
    {
        writeMonth(QStringLiteral("2025-01"), numbered(2));
        Images images;
        const State before(images);
        QVERIFY(QDir(storage()).removeRecursively());
        images.reinit();
        QVERIFY(State(images) == before);
    }

    void setDirChangesOnlyTheRoot()
    {
        writeMonth(QStringLiteral("2025-01"), numbered(2));
        Images images;
        const State before(images);
        images.setDir(QStringLiteral("/somewhere/else"));
        QCOMPARE(images.rootDir, QStringLiteral("/somewhere/else"));
        QVERIFY(State(images) == before);
        QVERIFY(images.useStorageRoot);
    }

    void openedFolderIsWalkedWithoutLeavingIt()
    {
        writeMonth(QStringLiteral("2025-01"), numbered(3));
        writeMonth(QStringLiteral("2025-02"), numbered(3));
        writeMonth(QStringLiteral("2025-03"), numbered(3));
        Images images = opened(picture("2025-02"));
        QCOMPARE(images.dirIndex, -1);
        QVERIFY(images.dirList.isEmpty());
        QCOMPARE(images.currentDir, picture("2025-02"));
        QCOMPARE(images.currentImage, picture("2025-02/im0002.jpg"));
        const State newest(images);
        images.getNextImage();
        images.getNextDir();
        images.getPrevDir();
        QVERIFY(State(images) == newest);
        images.getPrevImage();
        images.getPrevImage();
        QCOMPARE(images.currentImage, picture("2025-02/im0000.jpg"));
        const State oldest(images);
        images.getPrevImage();
        QVERIFY(State(images) == oldest);
        images.getNextImage();
        QCOMPARE(images.currentImage, picture("2025-02/im0001.jpg"));
    }

    void openedFolderCanBeTheCurrentOne()
    {
        QTemporaryDir folder;
        write(folder.filePath(QStringLiteral("here.jpg")));
        const QString previous = QDir::currentPath();
        QDir::setCurrent(folder.path());
        const Images images = opened(QStringLiteral("."));
        QDir::setCurrent(previous);
        QCOMPARE(images.currentImage, QStringLiteral("./here.jpg"));
    }

    void openedFolderWithSubfoldersJoinsTheLastName()
    {
        QTemporaryDir folder;
        write(folder.filePath(QStringLiteral("root.jpg")));
        write(folder.filePath(QStringLiteral("a/inA.jpg")));
        write(folder.filePath(QStringLiteral("b/inB1.jpg")));
        write(folder.filePath(QStringLiteral("b/inB2.jpg")));
        Images images = opened(folder.path());
        QCOMPARE(images.dirList, (QStringList{QStringLiteral("a"), QStringLiteral("b")}));
        QCOMPARE(images.dirIndex, 1);
        QCOMPARE(images.imageList, QStringList{QStringLiteral("root.jpg")});
        QCOMPARE(images.currentDir, folder.path() + QLatin1Char('b'));
        QCOMPARE(images.currentImage, folder.path() + QStringLiteral("b/root.jpg"));
        images.getPrevImage(); // into a folder that does not exist under that name
        QCOMPARE(images.currentDir, folder.path() + QLatin1Char('a'));
        QCOMPARE(images.currentImage, folder.path() + QStringLiteral("b/root.jpg"));
        QCOMPARE(images.imageIndex, -1);
    }

    void openedFolderThatIsMissingChangesNothing()
    {
        writeMonth(QStringLiteral("2025-01"), numbered(2));
        Images images;
        const State before(images);
        images.useStorageRoot = false;
        images.setDir(QStringLiteral("/nowhere/at/all"));
        images.reinit();
        QVERIFY(State(images) == before);
        QVERIFY(!images.useStorageRoot);
    }

    void openedFolderWithoutPicturesKeepsTheCurrentOne()
    {
        writeMonth(QStringLiteral("2025-01"), numbered(2));
        QTemporaryDir folder;
        Images images = opened(folder.path());
        QCOMPARE(images.currentDir, folder.path());
        QCOMPARE(images.currentImage, picture("2025-01/im0001.jpg"));
        QCOMPARE(images.imageIndex, -1);
        QCOMPARE(images.dirIndex, -1);
        images.getNextImage();
        images.getPrevImage();
        QCOMPARE(images.currentImage, picture("2025-01/im0001.jpg"));
    }

    void openedFolderIsReadAgainByReinit()
    {
        writeMonth(QStringLiteral("2025-01"), numbered(2));
        Images images = opened(picture("2025-01"));
        images.getPrevImage();
        writeMonth(QStringLiteral("2025-01"), numbered(4));
        writeMonth(QStringLiteral("2025-02"), numbered(1));
        images.reinit();
        QCOMPARE(images.currentImage, picture("2025-01/im0003.jpg"));
    }
};

KIVRA_TEST(TestImages)
#include "test_images.moc"
