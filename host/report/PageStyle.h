// SPDX-License-Identifier: MIT
#pragma once

namespace orlo::host {

/// The style sheet of a page: light and dark colours, and paper.
extern const char* const PAGE_STYLE;

/// The script of a page: the ruler, zoom, and the levels under the pointer. Without it the page
/// shows the whole timeline.
extern const char* const PAGE_SCRIPT;

}  // namespace orlo::host
