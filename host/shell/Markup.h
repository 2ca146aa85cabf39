// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace orlo::host {

/// A text for an element or a quoted attribute of XML or HTML: on one line, with the characters of
/// markup escaped.
std::string XmlText(std::string_view text);

}  // namespace orlo::host
