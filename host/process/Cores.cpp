// SPDX-License-Identifier: MIT
#include "host/process/Cores.h"

#include <sched.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <limits>
#include <sstream>
#include <string_view>
#include <thread>

namespace orlo::host {

namespace {

constexpr double NO_LIMIT = std::numeric_limits<double>::infinity();

/// Cores of a quota in a period; "max" and negative quotas set no limit.
double CoresOf(const std::string& quota, double period) {
    std::istringstream text(quota);
    double microseconds = 0.0;
    if (!(text >> microseconds) || microseconds <= 0.0 || period <= 0.0) return NO_LIMIT;
    return microseconds / period;
}

/// The limit of one group: cpu.max of version 2, or the two files of version 1.
double LimitOf(const std::string& folder) {
    std::string quota;
    double period = 0.0;
    std::ifstream unified(folder + "/cpu.max");
    if (unified >> quota >> period) return CoresOf(quota, period);
    std::ifstream quotaFile(folder + "/cpu.cfs_quota_us");
    std::ifstream periodFile(folder + "/cpu.cfs_period_us");
    return quotaFile >> quota && periodFile >> period ? CoresOf(quota, period) : NO_LIMIT;
}

/// The smallest limit of a group and the groups above it.
/// @param group  "/user.slice/job"
double LimitOfPath(const std::string& mount, std::string group) {
    double cores = LimitOf(mount);
    while (group.size() > 1) {
        cores = std::min(cores, LimitOf(mount + group));
        group.erase(group.rfind('/'));
    }
    return cores;
}

bool HasController(std::string_view controllers, std::string_view wanted) {
    while (!controllers.empty()) {
        const std::size_t comma = controllers.find(',');
        if (controllers.substr(0, comma) == wanted) return true;
        if (comma == std::string_view::npos) break;
        controllers.remove_prefix(comma + 1);
    }
    return false;
}

/// The limit of a line of /proc/self/cgroup: "4:cpu,cpuacct:/job", or "0::/job" of version 2.
double LimitOfLine(const std::string& mount, const std::string& line) {
    const std::size_t first = line.find(':');
    const std::size_t second = line.find(':', first + 1);
    if (first == std::string::npos || second == std::string::npos) return NO_LIMIT;
    const std::string controllers = line.substr(first + 1, second - first - 1);
    const std::string group = line.substr(second + 1);
    if (group.empty() || group[0] != '/') return NO_LIMIT;
    if (controllers.empty()) return LimitOfPath(mount, group);
    if (!HasController(controllers, "cpu")) return NO_LIMIT;
    return std::min(LimitOfPath(mount + "/cpu", group),
                    LimitOfPath(mount + "/" + controllers, group));
}

int CoresOfAffinity() {
    cpu_set_t set;
    CPU_ZERO(&set);
    if (sched_getaffinity(0, sizeof(set), &set) == 0) return CPU_COUNT(&set);
    return static_cast<int>(std::thread::hardware_concurrency());
}

std::string ReadText(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

}  // namespace

int CoresOfControlGroups(const std::string& mount, const std::string& groups) {
    double cores = NO_LIMIT;
    std::istringstream lines(groups);
    for (std::string line; std::getline(lines, line);) {
        cores = std::min(cores, LimitOfLine(mount, line));
    }
    if (!(cores < std::numeric_limits<int>::max())) return 0;
    return std::max(1, static_cast<int>(std::ceil(cores)));
}

int AvailableCores() {
    const int cores = std::max(1, CoresOfAffinity());
    const int limit = CoresOfControlGroups("/sys/fs/cgroup", ReadText("/proc/self/cgroup"));
    return limit > 0 ? std::min(cores, limit) : cores;
}

}  // namespace orlo::host
