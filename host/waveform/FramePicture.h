// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/waveform/Frame.h"
#include "host/waveform/LabelFont.h"
#include "host/waveform/Picture.h"

namespace orlo::host {

/// The picture of a waveform in its frame. The pixels of the waveform are unchanged, except where
/// marks are on it.
/// @param font  null: labels are left out
/// @return a picture without bytes when there is not enough memory
Picture PaintFrame(const Picture& waveform, const Frame& frame, LabelFont* font);

/// An SVG document of a waveform in its frame, with labels as text.
/// @param png    the waveform as a PNG file
/// @param title  title of the picture, in UTF-8
std::string SvgDocument(const std::string& png, const Frame& frame, const std::string& title);

}  // namespace orlo::host
