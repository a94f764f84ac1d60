// Makes the pictures of the manual and of the README: the program in its window, driven by keys, in
// front of the demonstration camera. Takes the folder to write them into.

#include "docs/picturemaker/studio.h"
#include "tests/support/sandbox.h"

#include <QApplication>
#include <QDebug>
#include <QPainter>

using kivra::documents::Studio;

namespace {

// The numbers of FrameSettings: this many presses of F7 or F6 lead there.
enum Mode { Plain, Automatic, DifficultLight, Text, Handwriting, Board };
enum Effect { NoEffect, BlackAndWhite, Negative, TwoColours };

struct Subject
{
    const char *device;
    QRect detail; // what the pictures show of it
};

constexpr Subject page{"demo:texte", {130, 40, 560, 336}};
constexpr Subject exercise{"demo:manuscrit", {100, 40, 560, 336}};
constexpr Subject board{"demo:tableau", {20, 60, 560, 336}};
constexpr Subject plate{"demo:eclairage", {120, 10, 560, 336}};

struct Shot
{
    const char *name;
    int mode;
    int effect = NoEffect;
};

// Steps mode and effect only forwards, from one shot to the next.
void photographShots(const Studio &studio, const Subject &subject,
                     std::initializer_list<Shot> shots)
{
    int mode = Plain;
    int effect = NoEffect;
    for (const Shot &shot : shots) {
        for (; mode < shot.mode; ++mode)
            studio.press("F7");
        for (; effect < shot.effect; ++effect)
            studio.press("F6");
        studio.photographPicture(shot.name, {mode, effect}, subject.detail);
    }
}

void photographPage(const Studio &studio)
{
    photographShots(studio, page,
                    {{"page", Plain}, {"page-automatique", Automatic}, {"page-texte", Text}});
}

void photographExercise(const Studio &studio)
{
    photographShots(
        studio, exercise,
        {{"cahier", Plain}, {"cahier-texte", Text}, {"cahier-texte-manuscrit", Handwriting}});
}

void photographBoard(const Studio &studio)
{
    photographShots(studio, board, {{"tableau", Plain}, {"tableau-tableau-vert", Board}});
}

void photographDifficultLight(const Studio &studio)
{
    photographShots(studio, plate,
                    {{"ombre", Plain}, {"ombre-eclairage-difficile", DifficultLight}});
}

void photographEffects(const Studio &studio)
{
    photographShots(studio, page,
                    {{"page-noir-et-blanc", Plain, BlackAndWhite},
                     {"page-negatif", Plain, Negative},
                     {"page-bicolore", Plain, TwoColours}});
}

void photographCoefficients(const Studio &studio)
{
    studio.press("l Up Up");
    studio.photographPicture("page-lumiere", {Plain, NoEffect, 40, 100}, page.detail);
    studio.press("Left c Up Up Up");
    studio.photographPicture("page-contraste", {Plain, NoEffect, 0, 172}, page.detail);
}

// Alt leads into the menu bar.
void photographWindow(const Studio &studio)
{
    studio.pressAndSee("ctrl+m");
    studio.photographWindow("window");
    studio.pressAndSee("ctrl+m alt Right Right Down");
    studio.photographWindow("menu-rendu", {0, 0, 420, 240});
    studio.pressAndSee("Right");
    studio.photographWindow("menu-effet", {0, 0, 420, 240});
    studio.pressAndSee("Escape");
}

void photographDialogs(const Studio &studio)
{
    studio.press("F8");
    studio.waitForDialog();
    studio.photographDialog("image-settings");
    studio.press("Escape");
    studio.waitForMainWindow();

    // The second entry of the last menu but one.
    studio.pressAndSee("alt Left Left Down Down");
    studio.press("Return");
    studio.waitForDialog();
    studio.photographDialog("preferences");
    studio.press("Return"); // messages are shown from the first OK on
    studio.waitForMainWindow();
    studio.pressAndSee("Up");
    studio.photographWindow("message", {0, 0, 560, 260});
}

// An A4 page in landscape with the small print of a textbook, as a camera of eight megapixels sees
// it.
QImage smallPrint()
{
    constexpr QSize size(3840, 2160);
    constexpr int margin = 130;
    constexpr int lineHeight = 92;
    const QString lines[] = {
        QStringLiteral("Exercice 12.  Calcule, puis simplifie :  3/4 + 5/8 = 6/8 + 5/8 = 11/8"),
        QStringLiteral("a)  2/3 + 1/6 − 1/2      b)  7/9 − 4/9 + 2/3      c)  0,125 + 0,375 − 0,5"),
        QStringLiteral(
            "Exercice 13.  Vérifie que  x² − 2x + 1 = (x − 1)²  et que  a + b ≥ a − b  si  b ≥ 0."),
        QStringLiteral("Exercice 14.  Un train part à 8 h 45 et roule 1 h 38 min ; à quelle heure "
                       "arrive-t-il ?"),
        QStringLiteral("Rappel :  1 L = 10 dL = 100 cL ;  1 m³ = 1 000 L ;  une demie + un quart = "
                       "trois quarts."),
    };
    QImage sheet(size, QImage::Format_RGB32);
    sheet.fill(QColor(250, 249, 244));
    QPainter painter(&sheet);
    QFont font(QStringLiteral("serif"));
    font.setPixelSize(52);
    font.setHintingPreference(QFont::PreferNoHinting);
    painter.setFont(font);
    painter.setPen(QColor(25, 25, 30));
    int y = margin + lineHeight;
    for (const QString &line : lines) {
        painter.drawText(margin, y, line);
        y += lineHeight;
    }
    return sheet;
}

void photographSmallPrint(Studio &studio)
{
    studio.openFile(smallPrint());
    studio.photographReduced("petits-caracteres", "petits-caracteres-avant", {14, 22, 330, 92});
    studio.close();
}

struct Session
{
    const Subject &subject;
    void (*photograph)(const Studio &);
};

const Session sessions[] = {
    {page, photographPage},    {exercise, photographExercise},
    {board, photographBoard},  {plate, photographDifficultLight},
    {page, photographEffects}, {page, photographCoefficients},
    {page, photographWindow},  {page, photographDialogs},
};

} // namespace

int main(int argc, char **argv)
{
    const QString target = argc == 2 ? QFile::decodeName(argv[1]) : QString();
    if (target.isEmpty())
        qFatal("usage: picturemaker FOLDER");
    const kivra::test::Sandbox sandbox;
    const QApplication application(argc, argv);
    Studio studio{QDir(target)};
    for (const Session &session : sessions) {
        studio.open(session.subject.device);
        session.photograph(studio);
        studio.close();
    }
    photographSmallPrint(studio);
    return 0;
}
