#include "tests/endurance/mishaps.h"

#include "tests/support/driverbuffer.h"
#include "tests/support/pictures.h"
#include "tests/support/testcamera.h"

#include <map>
#include <utility>

namespace kivra::test {

namespace {

using Answer = TestCamera::Answer;

TestCamera &camera()
{
    return TestCamera::instance();
}

const QList<cameras::Device> &allDevices()
{
    static const QList<cameras::Device> devices = {{"un", QStringLiteral("Un")},
                                                   {"deux", QStringLiteral("Deux")},
                                                   {"trois", QStringLiteral("Trois")}};
    return devices;
}

constexpr QSize frameSizes[] = {{640, 480}, {320, 240}, {1280, 720}, {101, 77}, {1, 1}, {3, 900}};

// Drawn once each, because drawing takes longer than showing.
QImage frameOf(const QSize &size)
{
    static std::map<std::pair<int, int>, QImage> drawn;
    QImage &frame = drawn[{size.width(), size.height()}];
    if (frame.isNull())
        frame = gradient(size);
    return frame;
}

constexpr Answer answers[] = {Answer::AtOnce, Answer::AtOnce, Answer::OnCall, Answer::Refuse};

} // namespace

Mishaps::Mishaps(Dice &chance)
    : dice(chance)
{
    repair();
}

void Mishaps::happen(const Tell &tell)
{
    const struct
    {
        const char *name;
        int weight;
        void (Mishaps::*happens)();
    } table[] = {
        {"frames", 50, &Mishaps::pushFrames},
        {"odd frame", 10, &Mishaps::pushOddFrame},
        {"format", 4, &Mishaps::changeFormat},
        {"plug", 4, &Mishaps::plug},
        {"unplug", 3, &Mishaps::unplug},
        {"answers", 4, &Mishaps::changeAnswers},
        {"late answer", 9, &Mishaps::answerLate},
        {"error", 3, &Mishaps::raiseError},
        {"still error", 3, &Mishaps::raiseStillError},
        {"repair", 10, &Mishaps::repair},
    };
    const auto &chosen = dice.byWeight(table);
    tell(chosen.name);
    (this->*chosen.happens)();
}

void Mishaps::pushFrames()
{
    const QImage picture = frameOf(dice.oneOf(frameSizes));
    for (int count = dice.below(4); count >= 0; --count)
        camera().pushPicture(picture);
}

// A frame whose memory and claims disagree, or no frame at all.
void Mishaps::pushOddFrame()
{
    const QSize size = dice.oneOf(frameSizes);
    const QByteArray memory(dice.below(100000), char(dice.below(256)));
    const auto pixels = QVideoFrame::PixelFormat(dice.below(QVideoFrame::NPixelFormats));
    auto *const buffer =
        new DriverBuffer(memory, memory.size(), dice.below(8000), !dice.chance(20));
    const QVideoFrame frame(buffer, size, pixels); // owns the buffer
    camera().pushFrame(dice.chance(10) ? QVideoFrame() : frame);
}

void Mishaps::changeFormat()
{
    constexpr QVideoFrame::PixelFormat formats[] = {
        QVideoFrame::Format_RGB32, QVideoFrame::Format_ARGB32, QVideoFrame::Format_YUYV};
    const QSize size = dice.chance(10) ? QSize() : dice.oneOf(frameSizes);
    camera().changeFormat(QVideoSurfaceFormat(size, dice.oneOf(formats)));
}

void Mishaps::plug()
{
    QList<cameras::Device> there = allDevices();
    while (there.size() > 1 && dice.chance(30))
        there.removeAt(dice.below(there.size()));
    camera().setDevices(there);
}

void Mishaps::unplug()
{
    camera().unplug(dice.chance(70) ? camera().record().device : dice.oneOf(allDevices()).name);
}

void Mishaps::changeAnswers()
{
    camera().setStartAnswer(dice.oneOf(answers));
    camera().setStillAnswer(dice.chance(20) ? Answer::Twice : dice.oneOf(answers));
    camera().setLockAnswer(dice.oneOf(answers));
    camera().setStillPicture(gradient(dice.oneOf(frameSizes)));
}

void Mishaps::answerLate()
{
    switch (dice.below(4)) {
    case 0:
        camera().answerStart();
        break;
    case 1:
        camera().answerStill();
        break;
    case 2:
        camera().exposeStill();
        break;
    default:
        camera().answerLocks(dice.chance(50));
    }
}

void Mishaps::raiseError()
{
    camera().raiseError(QCamera::CameraError, QStringLiteral("La caméra ne répond plus."),
                        dice.chance(50) ? QCamera::LoadedState : QCamera::UnloadedState);
}

void Mishaps::raiseStillError()
{
    if (dice.chance(30))
        camera().raiseSaved(dice.below(20), QStringLiteral("ailleurs.jpg"));
    else
        camera().raiseStillError(dice.below(20), QCameraImageCapture::ResourceError,
                                 QStringLiteral("Pas d'image."));
}

void Mishaps::repair()
{
    camera().setStartAnswer(Answer::AtOnce);
    camera().setStillAnswer(Answer::AtOnce);
    camera().setLockAnswer(Answer::AtOnce);
    camera().setFormat(QVideoSurfaceFormat({64, 48}, QVideoFrame::Format_RGB32));
    camera().setDevices(allDevices());
}

} // namespace kivra::test
