#include "cameras/video/videodevice.h"

#include "cameras/video/kernel.h"
#include "cameras/video/offers.h"

#include <algorithm>
#include <cctype>
#include <dirent.h>
#include <fcntl.h>
#include <initializer_list>
#include <optional>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>

namespace kivra::cameras {

namespace {

constexpr const char *nodePrefix = "video";
// How many folders above the node's device the USB device can be; further up there is only the bus.
constexpr int mostParents = 6;

std::string trimmed(const std::string &text)
{
    const char *const blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// The beginning of a kernel file; none if it cannot be read.
std::optional<std::string> contentOf(const std::string &path)
{
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file == -1)
        return std::nullopt;
    char content[4096];
    const ssize_t length = ::read(file, content, sizeof content);
    ::close(file);
    if (length < 0)
        return std::nullopt;
    return std::string(content, std::size_t(length));
}

std::string attribute(const std::string &folder, const char *name)
{
    return trimmed(contentOf(folder + '/' + name).value_or(std::string()));
}

/// The number in "video12"; none for another name.
std::optional<int> numberOf(const std::string &name)
{
    const std::string prefix = nodePrefix;
    const std::string digits = name.size() > prefix.size() ? name.substr(prefix.size()) : "";
    const bool isNumber = !digits.empty() && digits.size() < 7 &&
                          std::all_of(digits.begin(), digits.end(),
                                      [](unsigned char letter) { return std::isdigit(letter); });
    if (name.compare(0, prefix.size(), prefix) != 0 || !isNumber)
        return std::nullopt;
    return std::stoi(digits);
}

std::vector<int> nodeNumbers(const std::string &folder)
{
    std::vector<int> numbers;
    DIR *const entries = ::opendir(folder.c_str());
    if (!entries)
        return numbers;
    while (const dirent *const entry = ::readdir(entries)) {
        if (const std::optional<int> number = numberOf(entry->d_name))
            numbers.push_back(*number);
    }
    ::closedir(entries);
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

/// The sysfs folder of the USB device that \a device is part of; empty if it is on another bus.
std::string usbFolder(const std::string &device)
{
    std::string folder = device;
    for (int parent = 0; parent < mostParents; ++parent) {
        if (contentOf(folder + "/idVendor"))
            return folder;
        folder += "/..";
    }
    return {};
}

/// Whether one of the words of \a name, whatever its case, is one of \a words.
bool hasWord(const std::string &name, std::initializer_list<const char *> words)
{
    std::string word;
    for (const char letter : name + ' ') {
        if (std::isalnum(static_cast<unsigned char>(letter))) {
            word += static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
            continue;
        }
        if (std::find(words.begin(), words.end(), word) != words.end())
            return true;
        word.clear();
    }
    return false;
}

/// The kind by the capabilities in udev's record of the node; Unknown if there are none.
NodeKind kindByUdev(const DeviceFolders &folders, const std::string &numbers)
{
    const std::optional<std::string> record = contentOf(folders.udev + "/c" + numbers);
    const std::string key = "E:ID_V4L_CAPABILITIES=";
    const std::size_t start = record ? record->find(key) : std::string::npos;
    if (start == std::string::npos)
        return NodeKind::Unknown;
    const std::size_t value = start + key.size();
    const std::string words = record->substr(value, record->find('\n', value) - value);
    const auto has = [&](const char *word) { return words.find(word) != std::string::npos; };
    const bool captures = has(":capture:");
    const bool outputs = has(":video_output:");
    // Both together mean a converter or a loopback device; only the node itself tells which.
    if (captures && outputs)
        return NodeKind::Unknown;
    if (captures)
        return NodeKind::Camera;
    if (outputs)
        return NodeKind::Output;
    // Radio and the like are listed; a node with an empty list delivers metadata or converts.
    return words == ":" ? NodeKind::Metadata : NodeKind::Other;
}

NodeKind kindOf(const Capabilities &node)
{
    if (node.converts)
        return NodeKind::Converter;
    if (node.captures && node.streams)
        return NodeKind::Camera;
    if (node.outputs)
        return NodeKind::Output;
    return node.hasMetadata ? NodeKind::Metadata : NodeKind::Other;
}

void addUsbFacts(VideoDevice &device, const std::string &usb)
{
    device.usb = true;
    device.model = attribute(usb, "idVendor") + ':' + attribute(usb, "idProduct");
    device.serial = attribute(usb, "serial");
    device.place = "usb-" + attribute(usb, "busnum") + '-' + attribute(usb, "devpath");
    device.builtIn = attribute(usb, "removable") == "fixed";
    device.usbSpeed = std::atoi(attribute(usb, "speed").c_str());
}

/// Asks the node itself, if the system does not know.
void ask(VideoDevice &device, Kernel &kernel, bool hasName)
{
    int error = 0;
    const std::unique_ptr<Node> node = kernel.open(device.node, error);
    if (!node)
        return;
    const Capabilities told = capabilitiesOf(*node);
    if (told.error != 0)
        return;
    device.kind = kindOf(told);
    if (!hasName && !trimmed(told.card).empty())
        device.name = trimmed(told.card);
    if (device.place.empty())
        device.place = told.bus;
    device.usb = device.usb || told.bus.compare(0, 4, "usb-") == 0;
}

VideoDevice describe(const DeviceFolders &folders, Kernel &kernel, const std::string &name)
{
    const std::string folder = folders.classes + '/' + name;
    VideoDevice device;
    device.node = folders.nodes + '/' + name;
    const std::string title = attribute(folder, "name");
    device.name = title.empty() ? name : title;
    const std::string usb = usbFolder(folder + "/device");
    if (!usb.empty())
        addUsbFacts(device, usb);
    device.kind = kindByUdev(folders, attribute(folder, "dev"));
    if (device.kind == NodeKind::Unknown || title.empty())
        ask(device, kernel, !title.empty());
    // The first node of a device delivers its pictures; metadata and the like follow.
    const std::string index = attribute(folder, "index");
    if (device.kind == NodeKind::Unknown && !index.empty())
        device.kind = index == "0" ? NodeKind::Camera : NodeKind::Unknown;
    device.infrared = hasWord(device.name, {"ir", "infrared"});
    device.builtIn = device.builtIn || !device.usb ||
                     hasWord(device.name, {"integrated", "built", "builtin", "internal"});
    return device;
}

auto rankOf(const VideoDevice &device)
{
    return std::make_tuple(device.infrared, device.builtIn);
}

} // namespace

std::vector<VideoDevice> findDevices(const DeviceFolders &folders, Kernel &kernel,
                                     const std::vector<VideoDevice> &known)
{
    std::vector<VideoDevice> devices;
    for (const int number : nodeNumbers(folders.nodes)) {
        const std::string name = nodePrefix + std::to_string(number);
        const std::string node = folders.nodes + '/' + name;
        const auto same = std::find_if(known.begin(), known.end(), [&](const VideoDevice &device) {
            return device.node == node && device.kind != NodeKind::Unknown;
        });
        devices.push_back(same != known.end() ? *same : describe(folders, kernel, name));
    }
    // They are sorted by number; a stable sort keeps that order among equals.
    std::stable_sort(
        devices.begin(), devices.end(),
        [](const VideoDevice &a, const VideoDevice &b) { return rankOf(a) < rankOf(b); });
    return devices;
}

std::vector<VideoDevice> camerasAmong(const std::vector<VideoDevice> &devices)
{
    std::vector<VideoDevice> cameras;
    std::copy_if(devices.begin(), devices.end(), std::back_inserter(cameras),
                 [](const VideoDevice &device) { return device.kind == NodeKind::Camera; });
    return cameras;
}

bool isSameModel(const VideoDevice &a, const VideoDevice &b)
{
    return a.model == b.model && a.name == b.name && a.serial == b.serial;
}

} // namespace kivra::cameras
