// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace orlo::host {

/// The number of cores that this process may use: the cores of its affinity, and no more than the
/// processor time that the control groups of the system (containers, batch systems, systemd) allow
/// it. At least 1.
int AvailableCores();

/// The limit of the control groups on processor time, in cores, rounded up; 0 without a limit.
/// Versions 1 and 2 of the interface are read; a group also has the limits of the groups above it.
/// @param mount   folder of the control groups: "/sys/fs/cgroup"
/// @param groups  content of /proc/self/cgroup
int CoresOfControlGroups(const std::string& mount, const std::string& groups);

}  // namespace orlo::host
