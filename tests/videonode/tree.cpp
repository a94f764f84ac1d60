#include "tests/videonode/tree.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <linux/videodev2.h>
#include <sstream>
#include <sys/stat.h>

namespace kivra::test::videonode {

namespace {

struct Mapping
{
    const char *from;
    const char *to;
};

constexpr Mapping mappings[] = {
    {"/sys/class/video4linux", "sys"},
    {"/run/udev/data", "udev"},
    {"/dev/video", "dev/video"},
};

} // namespace

std::string inTree(const std::string &path)
{
    const char *const folder = std::getenv("KIVRA_TEST_DEVICES");
    return std::string(folder ? folder : "/nowhere") + '/' + path;
}

std::string replacement(const std::string &path)
{
    if (path == "/dev" || path == "/dev/")
        return inTree("dev");
    for (const Mapping &mapping : mappings) {
        const std::size_t length = std::strlen(mapping.from);
        if (path.compare(0, length, mapping.from) == 0)
            return inTree(mapping.to + path.substr(length));
    }
    return {};
}

bool exists(const std::string &path)
{
    struct stat ignored = {};
    return lstat(inTree(path).c_str(), &ignored) == 0;
}

std::string contentOf(const std::string &path)
{
    std::ifstream file(inTree(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<Format> formatsOf(const std::string &node)
{
    std::vector<Format> formats;
    std::istringstream lines(contentOf("formats/" + node));
    for (std::string line; std::getline(lines, line);) {
        char name[5] = {};
        Format format;
        const int read = std::sscanf(line.c_str(), "%4c %dx%d@%d", name, &format.width,
                                     &format.height, &format.rate);
        format.fourcc = v4l2_fourcc(name[0], name[1], name[2], name[3]);
        if (read == 4)
            formats.push_back(format);
    }
    return formats;
}

bool isCompressed(std::uint32_t fourcc)
{
    return fourcc == V4L2_PIX_FMT_MJPEG || fourcc == V4L2_PIX_FMT_JPEG;
}

double bandwidthOf(const Format &format)
{
    const double bytesPerPixel = isCompressed(format.fourcc) ? 0.25 : 2;
    return double(format.width) * format.height * format.rate * bytesPerPixel;
}

std::vector<std::vector<char>> framesOf(const Format &format)
{
    const __u32 code = format.fourcc;
    const std::string name = {char(code), char(code >> 8), char(code >> 16), char(code >> 24)};
    const std::string stem = "frames/" + name + '-' + std::to_string(format.width) + 'x' +
                             std::to_string(format.height) + '.';
    std::vector<std::vector<char>> frames;
    while (exists(stem + std::to_string(frames.size()))) {
        const std::string content = contentOf(stem + std::to_string(frames.size()));
        frames.emplace_back(content.begin(), content.end());
    }
    return frames;
}

} // namespace kivra::test::videonode
