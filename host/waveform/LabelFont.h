// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace orlo::host {

/// A drawn text: the coverage of each pixel, 0 to 255, in rows from the top.
struct TextMask {
    int left = 0;  ///< first column, from the start of the text
    int top = 0;   ///< first row, from the baseline; negative above it
    int width = 0;
    int height = 0;
    std::vector<unsigned char> coverage;
};

/// A font at one size. It draws ASCII; another character is drawn as the font's missing character.
class LabelFont {
public:
    virtual ~LabelFont() = default;
    /// Pixels from the start of a text to the start of a text after it.
    virtual int WidthOf(const std::string& text) = 0;
    virtual TextMask Draw(const std::string& text) = 0;
};

/// Opens a font: in a module, where the font library is linked.
/// @param file    a font file
/// @param pixels  size of the font
/// @return null when the file is not a font, or has no character for a digit or a letter of ASCII
using OpenLabelFont = std::unique_ptr<LabelFont> (*)(const std::string& file, int pixels);

/// Opens the font of labels.
/// @param file  the font file; empty: the first usable file of FontFiles
/// @return null without a usable font on the machine
/// @throws JobError when @p file is not usable
std::unique_ptr<LabelFont> FindLabelFont(const std::string& file, OpenLabelFont open);

/// The font files of the machine, in the folders `fonts` of $XDG_DATA_HOME and $XDG_DATA_DIRS:
/// first DejaVu Sans, Liberation Sans and Noto Sans, so that machines that have them draw equal
/// labels, then all others by their paths.
std::vector<std::string> FontFiles();

}  // namespace orlo::host
