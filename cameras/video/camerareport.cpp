#include "cameras/video/camerareport.h"

#include "cameras/video/kernel.h"
#include "cameras/video/offers.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kivra::cameras {

namespace {

/// The names in \a folder that are numbers.
std::vector<std::string> numberedEntries(const std::string &folder)
{
    std::vector<std::string> names;
    DIR *const entries = ::opendir(folder.c_str());
    if (!entries)
        return names;
    while (const dirent *const entry = ::readdir(entries)) {
        if (std::all_of(entry->d_name, entry->d_name + std::string(entry->d_name).size(),
                        [](char letter) { return letter >= '0' && letter <= '9'; }))
            names.emplace_back(entry->d_name);
    }
    ::closedir(entries);
    return names;
}

std::string targetOf(const std::string &link)
{
    char target[4096];
    const ssize_t length = ::readlink(link.c_str(), target, sizeof target);
    return length > 0 ? std::string(target, std::size_t(length)) : std::string();
}

bool hasOpen(const std::string &process, const std::string &node)
{
    const std::string descriptors = process + "/fd";
    const std::vector<std::string> numbers = numberedEntries(descriptors);
    return std::any_of(numbers.begin(), numbers.end(), [&](const std::string &number) {
        return targetOf(descriptors + '/' + number) == node;
    });
}

/// 0 if nobody else streams; a node that is only open elsewhere can still be used. Changes nothing.
int askForStream(Node &node, bool multiPlanar)
{
    v4l2_requestbuffers request = {};
    request.type = bufferType(multiPlanar);
    request.memory = V4L2_MEMORY_MMAP;
    const int error = node.control(VIDIOC_REQBUFS, &request);
    return error == EBUSY ? error : 0;
}

} // namespace

std::vector<NodeUser> nodeUsers(const std::string &node, const std::string &processes)
{
    std::vector<NodeUser> users;
    for (const std::string &number : numberedEntries(processes)) {
        std::string process = processes;
        process.append(1, '/').append(number);
        const int id = std::atoi(number.c_str());
        if (id == ::getpid() || !hasOpen(process, node))
            continue;
        std::string name;
        std::ifstream file(process + "/comm");
        std::getline(file, name);
        users.push_back({id, name});
    }
    return users;
}

std::string groupOf(const std::string &node)
{
    struct stat file = {};
    if (::stat(node.c_str(), &file) != 0)
        return {};
    char names[4096];
    group entry = {};
    group *found = nullptr;
    if (::getgrgid_r(file.st_gid, &entry, names, sizeof names, &found) != 0 || !found)
        return {};
    return found->gr_name;
}

FaultReport faultReport(const VideoDevice &device, Fault fault, int error)
{
    FaultReport report{fault, device.node, device.name, {}, {}, error};
    if (fault == Fault::InUse) {
        const std::vector<NodeUser> users = nodeUsers(device.node);
        report.user = users.empty() ? std::string() : users.front().program;
    } else if (fault == Fault::NoRight) {
        report.group = groupOf(device.node);
    }
    return report;
}

CameraReport examineCamera(Kernel &kernel, const VideoDevice &device,
                           const std::optional<FormatWish> &wish)
{
    CameraReport report;
    report.device = device;
    report.group = groupOf(device.node);
    report.users = nodeUsers(device.node);
    int error = 0;
    const std::unique_ptr<Node> node = kernel.open(device.node, error);
    report.mayOpen = node != nullptr;
    if (node) {
        const Capabilities told = capabilitiesOf(*node);
        report.driver = told.driver;
        error = told.error;
        if (device.kind == NodeKind::Camera && error == 0) {
            report.offers = offersOf(*node, told.multiPlanar);
            error = askForStream(*node, told.multiPlanar);
        }
    }
    report.ranked = rankFormats(report.offers, wish);
    report.wishOffered =
        !wish || (!report.ranked.empty() && report.ranked.front().reason == ChoiceReason::Wished);
    if (device.kind != NodeKind::Camera)
        return report;
    if (error != 0)
        report.fault = faultReport(device, faultOf(error), error);
    else if (report.ranked.empty())
        report.fault = faultReport(device, Fault::NothingReadable, 0);
    return report;
}

} // namespace kivra::cameras
