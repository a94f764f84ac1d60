// An input is the content of the settings store. The window starts with it, shows a picture, and
// the first step of each coefficient, up and down, brings the coefficient into its range.

#include "storage/settings.h"
#include "dialogs/preferences.h"
#include "tests/app/window.h"
#include "tests/fuzz/desktop.h"
#include "tests/support/pictures.h"

#include <QFile>
#include <array>

namespace kivra::fuzz {

namespace {

using test::TestCamera;
using test::Window;

struct Range
{
    int (CameraProbe::*value)() const;
    int lowest;
    int highest;
};

// Indexed by the number of the coefficient.
constexpr std::array<Range, 4> ranges{{{&CameraProbe::contraste, 10, 1000},
                                       {&CameraProbe::lumiere, -100, 100},
                                       {&CameraProbe::reglage, 0, 100},
                                       {&CameraProbe::coefZoom, 12, 800}}};

// The store reads its file again only if size or time differ, and two inputs may have the same: so
// it is synchronised once without a file in between.
void store(const std::uint8_t *data, std::size_t size)
{
    QFile file(settingsStore().fileName());
    file.remove();
    settingsStore().sync();
    require(file.open(QIODevice::WriteOnly), "the input cannot be stored");
    file.write(reinterpret_cast<const char *>(data), qint64(size));
}

void requireLivePicture(Window &window)
{
    while (!TestCamera::instance().isRunning())
        QCoreApplication::processEvents();
    const QSize whole(40, 24);
    TestCamera::instance().pushPicture(test::gradient(whole));
    const QSize shown = window.probe.lastFrame().size();
    require(shown == whole || shown == whole / 2, "the window shows no picture");
    require(!window.grab().isNull(), "the window cannot be drawn");
}

void requireRangeAfterStep(Window &window, int number, const char *step)
{
    const Range &range = ranges[std::size_t(number)];
    const int before = (window.probe.*range.value)();
    window.probe.setCoefCourant(number);
    window.call(step);
    const int after = (window.probe.*range.value)();
    require(after >= range.lowest && after <= range.highest, "a step leaves the range");
    window.probe.setCoefficient(number, before);
}

} // namespace

std::unique_ptr<Surroundings> prepare(int &argc, char **argv)
{
    auto desktop = std::make_unique<Desktop>(argc, argv);
    settingsStore().setValue(QStringLiteral("folder"), true); // makes the file's folder
    return desktop;
}

void run(const std::uint8_t *data, std::size_t size)
{
    store(data, size);
    TestCamera::instance().reset();
    Window window;
    requireLivePicture(window);
    for (int number = 0; number < int(ranges.size()); ++number) {
        requireRangeAfterStep(window, number, "on_incCoef");
        requireRangeAfterStep(window, number, "on_decCoef");
    }
    preferences dialog(&window);
    require(!dialog.grab().isNull(), "the preferences cannot be drawn");
    window.call("aTimerSlot");
    requireLivePicture(window);
}

} // namespace kivra::fuzz
