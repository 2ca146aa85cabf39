// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/waveform/PictureArguments.h"
#include "sonrel/waveform/WaveformPreview.h"

namespace orlo::host {

struct WaveformOptions {
    std::string input;
    std::string output;
    PictureSize size;
    sonrel::WaveformPreview::Style style = sonrel::WaveformPreview::Style::RMSEnvelope;
    sonrel::WaveformPreview::Scale scale = sonrel::WaveformPreview::Scale::Linear;
    sonrel::WaveformPreview::Format format = sonrel::WaveformPreview::Format::ARGB32;
    sonrel::WaveformPreview::Color color{};
    sonrel::WaveformPreview::Color background{};
    std::string range;  ///< empty: the whole stream
    bool ruler = false;
    bool overwrite = false;  ///< whether write-protected files may be replaced
};

}  // namespace orlo::host
