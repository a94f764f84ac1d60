// Makes the pictures of the manual and of the README: the program in its window, driven by keys, in
// front of the demonstration camera. Takes the folder to write them into.

#include "docs/picturemaker/studio.h"
#include "tests/support/sandbox.h"

#include <QApplication>
#include <QDebug>

using kivra::documents::Studio;

namespace {

// By the numbers of FrameSettings, reached by that many presses of F7 and F6.
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

// One after the other, stepping mode and effect forwards.
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

    // The last menu but one, its second entry.
    studio.pressAndSee("alt Left Left Down Down");
    studio.press("Return");
    studio.waitForDialog();
    studio.photographDialog("preferences");
    studio.press("Return"); // messages are shown from the first OK on
    studio.waitForMainWindow();
    studio.pressAndSee("Up");
    studio.photographWindow("message", {0, 0, 560, 260});
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
    return 0;
}
