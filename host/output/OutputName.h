// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orlo::host {

/// The extension of a name in lower case, with its dot; empty when it has none.
std::string ExtensionOf(const std::string& name);

/// Refuses the name of an output whose extension is not one of @p extensions. A device or a pipe
/// may have any name. The output is claimed already, so that a protected file has its own message.
/// @throws UsageError that lists the extensions
void RequireExtension(const std::string& output, const std::vector<std::string_view>& extensions);

}  // namespace orlo::host
