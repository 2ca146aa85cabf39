// SPDX-License-Identifier: MIT
#pragma once

#include <string>

/// The names of timelines.
namespace orlo::host::otio {

/// Whether a path ends in ".otio" (a timeline file) or ".otiod" (a timeline folder).
bool IsTimelinePath(const std::string& path);

/// Absolute path of the document of a timeline: in an ".otiod" folder its content.otio.
std::string TimelineFile(const std::string& path);

}  // namespace orlo::host::otio
