// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace orlo::host {

/// A path for the engine. @throws JobError when it is not valid UTF-8
std::wstring WidePath(const std::string& path);

/// The absolute form of a path, with "." and ".." taken out and links left as they are. Media are
/// recorded under this form.
std::string AbsolutePath(const std::string& path);

}  // namespace orlo::host
