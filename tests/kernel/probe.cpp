// kernel_probe NODE [FORMAT...]: streams from a node of the kernel's virtual camera in each of its
// formats, or in these, and compares the decoded picture with the colour bars that the camera
// shows. Prints one line for each format; exit status 1 if a format that must be readable is not,
// or is decoded wrongly.

#include "cameras/video/capture.h"
#include "cameras/video/framedecoder.h"
#include "cameras/video/kernel.h"
#include "cameras/video/offers.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <set>

using namespace kivra::cameras;

namespace {

constexpr int frames = 3;
constexpr std::chrono::seconds patience{20}; // the machine is emulated
constexpr int tolerance = 3;                 // cost of limited range and subsampled colours

// From left to right: white, yellow, cyan, green, magenta, red, blue, black at three quarters.
constexpr int lit = 191;
constexpr std::array<std::array<int, 3>, 8> bars = {{
    {lit, lit, lit},
    {lit, lit, 0},
    {0, lit, lit},
    {0, lit, 0},
    {lit, 0, lit},
    {lit, 0, 0},
    {0, 0, lit},
    {0, 0, 0},
}};

// The formats that must be readable, as far as the virtual camera has them.
const std::set<std::string> expected = {"YUYV", "UYVY", "NV12", "YU12", "YV12", "RGB3", "BGR3",
                                        "RGB4", "BGR4", "XR24", "XB24", "BX24", "RX24", "GREY"};

// As the virtual camera makes its grey: the weights of BT.709, full range.
int luma(const std::array<int, 3> &colour)
{
    return (2126 * colour[0] + 7152 * colour[1] + 722 * colour[2] + 5000) / 10000;
}

// The largest difference of a channel, in the middle of a bar.
int difference(std::uint32_t pixel, const std::array<int, 3> &colour, bool grey)
{
    int largest = (pixel >> 24) == 0xff ? 0 : 255;
    for (int channel = 0; channel < 3; ++channel) {
        const int is = int(pixel >> (16 - 8 * channel)) & 0xff;
        const int want = grey ? luma(colour) : colour.at(std::size_t(channel));
        largest = std::max(largest, std::abs(is - want));
    }
    return largest;
}

int worstBar(const std::vector<std::uint32_t> &pixels, Size size, bool grey)
{
    int worst = 0;
    for (std::size_t bar = 0; bar < bars.size(); ++bar) {
        const int x = int(2 * bar + 1) * size.width / 16;
        const std::uint32_t pixel =
            pixels.at(std::size_t(size.height / 2) * std::size_t(size.width) + std::size_t(x));
        worst = std::max(worst, difference(pixel, bars.at(bar), grey));
    }
    return worst;
}

// Takes some frames and decodes the last. Returns what is wrong; empty if all is well.
std::string tryFormat(Node &node, const Offer &offer)
{
    Capture capture(node);
    if (capture.begin(offer) != Fault::None)
        return "does not start, error " + std::to_string(capture.error());
    FrameDecoder decoder(capture.format(), {});
    const Size size = decoder.size();
    std::vector<std::uint32_t> pixels(std::size_t(size.width) * std::size_t(size.height));
    const std::unique_ptr<Waiter> waiter = Kernel::system().makeWaiter();
    const auto end = std::chrono::steady_clock::now() + patience;
    for (int got = 0; got < frames;) {
        if (std::chrono::steady_clock::now() > end)
            return "no frames";
        waiter->wait(&node, std::chrono::seconds(1));
        CapturedFrame frame;
        const Capture::Next next = capture.dequeue(frame);
        if (next == Capture::Next::Failed)
            return "fails, error " + std::to_string(capture.error());
        if (next != Capture::Next::Frame)
            continue;
        const Picture picture{pixels.data(), size, std::size_t(size.width) * 4};
        const bool good = decoder.decode(frame.frame, picture);
        capture.giveBack(frame.buffer);
        if (!good)
            return "cannot be decoded";
        ++got;
    }
    const int worst = worstBar(pixels, size, fourccName(offer.fourcc) == "GREY");
    return worst <= tolerance ? std::string() : "colours are off by " + std::to_string(worst);
}

// The smallest size of each format.
std::map<std::string, Offer> smallest(const std::vector<Offer> &offers)
{
    std::map<std::string, Offer> each;
    for (const Offer &offer : offers) {
        const auto [known, isNew] = each.emplace(fourccName(offer.fourcc), offer);
        if (!isNew && offer.size.width < known->second.size.width)
            known->second = offer;
    }
    return each;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2)
        return 2;
    const std::set<std::string> wanted(argv + 2, argv + argc);
    int error = 0;
    const std::unique_ptr<Node> node = Kernel::system().open(argv[1], error);
    if (!node) {
        std::printf("%s: error %d\n", argv[1], error);
        return 1;
    }
    const Capabilities told = capabilitiesOf(*node);
    bool allGood = true;
    for (const auto &[name, offer] : smallest(offersOf(*node, told.multiPlanar))) {
        if (!wanted.empty() && wanted.count(name) == 0)
            continue;
        if (!isReadable(offer.fourcc)) {
            const bool right = expected.count(name) == 0;
            allGood = allGood && right;
            std::printf("%s %s declined\n", right ? "ok  " : "FAIL", name.c_str());
            continue;
        }
        const std::string fault = tryFormat(*node, offer);
        allGood = allGood && fault.empty();
        std::printf("%s %s %dx%d %s\n", fault.empty() ? "ok  " : "FAIL", name.c_str(),
                    offer.size.width, offer.size.height, fault.c_str());
    }
    return allGood ? 0 : 1;
}
