// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace orlo::host {

/// Converts a path for the engine. @throws JobError when it is not valid UTF-8
std::wstring WidePath(const std::string& path);

/// The absolute form of a path, with "." and ".." resolved and links kept. Media files are recorded
/// under this path.
std::string AbsolutePath(const std::string& path);

}  // namespace orlo::host
