// An input is a frame as a driver may give it, with the mode and effect that it meets. The video
// surface takes what it has of a picture, and the window shows it.
//
// The header has 16 bytes (a shorter one is padded with zeros): pixel format, flags, width and
// height (2 bytes each), stride and reported length (4 bytes each), mode, effect. The memory of the
// frame is the bytes that follow.

#include "tests/app/window.h"
#include "tests/fuzz/desktop.h"
#include "tests/support/dialogwatch.h"
#include "tests/support/driverbuffer.h"
#include "video/videosurface.h"

#include <QDialog>
#include <QVideoSurfaceFormat>
#include <algorithm>
#include <array>
#include <cstring>

namespace kivra::fuzz {

namespace {

using test::TestCamera;
using test::Window;

constexpr std::size_t headerSize = 16;
constexpr int trailer = 32;         // bytes at the end of a frame's memory that are no picture
constexpr int mostPixels = 1 << 17; // larger ones only take longer
constexpr int unholdable = 1 << 30;

struct Header
{
    std::uint16_t width;
    std::uint16_t height;
    std::int32_t stride;
    std::int32_t length;
    std::uint8_t format;
    std::uint8_t flags;
    std::uint8_t mode;
    std::uint8_t effect;
};
static_assert(sizeof(Header) == headerSize);

enum Flag : std::uint8_t {
    CannotBeMapped = 1,
    TooLarge = 2,
    Negative = 4,
    ChangesFormat = 8,
};

// Closes the box about a refused format.
class Closer : public test::DialogWatch
{
protected:
    void opened(QDialog *dialog) override { dialog->reject(); }
};

QSize sizeOf(const Header &header)
{
    if (header.flags & TooLarge)
        return {unholdable, unholdable};
    if (header.flags & Negative)
        return {-int(header.width), int(header.height)};
    const int width = header.width;
    return {width,
            width == 0 ? int(header.height) : std::min(int(header.height), mostPixels / width)};
}

struct Input
{
    Header header;
    QSize size;
    QVideoFrame::PixelFormat format;
    QByteArray memory;
    int length; // as reported, never more than there is

    Input(const std::uint8_t *data, std::size_t count)
        : header{}
    {
        const std::size_t headed = std::min(count, headerSize);
        std::memcpy(&header, data, headed);
        size = sizeOf(header);
        format = QVideoFrame::PixelFormat(header.format % (QVideoFrame::NPixelFormats + 1));
        memory = QByteArray(reinterpret_cast<const char *>(data + headed), int(count - headed));
        length = std::min(header.length, memory.size());
    }

    // The frame owns the buffer.
    QVideoFrame frame() const
    {
        return QVideoFrame(
            new test::DriverBuffer(memory, length, header.stride, !(header.flags & CannotBeMapped)),
            size, format);
    }
};

// Requires the words of the frame's memory without the trailer. The rest repeats the last of them
// if the memory has the whole picture, and is black otherwise.
void requirePicture(const QImage &picture, const Input &input)
{
    const QSize expected = input.size.isEmpty() ? QSize(0, 0) : input.size;
    require(picture.size() == expected, "the picture is not of the frame's size");
    const int words = std::max(0, input.length - trailer) / 4;
    const auto wordAt = [&](int place) {
        QRgb word = 0;
        std::memcpy(&word, input.memory.constData() + qsizetype(place) * 4, 4);
        return word;
    };
    const bool isWhole = words > 0 && input.length >= picture.sizeInBytes();
    const QRgb rest = isWhole ? wordAt(words - 1) : 0xff000000;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const int word = y * picture.width() + x;
            const QRgb colour = word < words ? wordAt(word) : rest;
            require((picture.pixel(x, y) & RGB_MASK) == (colour & RGB_MASK), "a pixel is wrong");
        }
    }
}

void runSurface(const Input &input)
{
    VideoSurface surface;
    if (surface.present(input.frame()))
        requirePicture(surface.frame(), input);
    else
        require(surface.frame().isNull(), "a dropped frame leaves a picture");
}

void select(Window &window, const Header &header)
{
    constexpr std::array<const char *, 7> modes{"on_actionTrNormal_triggered",
                                                "on_actionAutomatique_triggered",
                                                "on_actionEclairage_difficile_triggered",
                                                "on_actionTexte_triggered",
                                                "on_actionTexte_manuscrit_triggered",
                                                "on_actionTableau_vert_triggered",
                                                "on_actionEffet_artistique_triggered"};
    constexpr std::array<const char *, 4> effects{
        "on_actionNormal_triggered", "on_actionNoir_et_blanc_triggered",
        "on_actionNegatif_triggered", "on_actionBicolore_triggered"};
    window.call(modes[header.mode % modes.size()]);
    window.call(effects.front());
    window.call(effects[header.effect % effects.size()]);
}

void startCamera(Window &window)
{
    while (!TestCamera::instance().isRunning()) {
        window.call("startCamera");
        QCoreApplication::processEvents();
    }
}

// A format that the window does not take stops the camera; the user starts it again.
void changeFormat(Window &window, const Input &input)
{
    TestCamera &camera = TestCamera::instance();
    camera.changeFormat(QVideoSurfaceFormat(input.size, input.format));
    QCoreApplication::processEvents();
    camera.pushFrame(input.frame());
    camera.changeFormat(QVideoSurfaceFormat({64, 48}, QVideoFrame::Format_RGB32));
    startCamera(window);
}

void runWindow(Window &window, const Input &input)
{
    select(window, input.header);
    if (input.header.flags & ChangesFormat)
        changeFormat(window, input);
    TestCamera::instance().pushFrame(input.frame());
    QCoreApplication::processEvents();
    require(!window.probe.view()->busy, "the window waits for something");
}

} // namespace

std::unique_ptr<Surroundings> prepare(int &argc, char **argv)
{
    return std::make_unique<Desktop>(argc, argv);
}

void run(const std::uint8_t *data, std::size_t size)
{
    const Input input(data, size);
    runSurface(input);
    TestCamera::instance().reset();
    const Closer closer;
    Window window;
    startCamera(window);
    runWindow(window, input);
}

} // namespace kivra::fuzz
