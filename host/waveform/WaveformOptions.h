// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/options/SoundOptions.h"
#include "host/waveform/PictureArguments.h"
#include "sonrel/waveform/WaveformPreview.h"

namespace CLI {
class App;
}  // namespace CLI

namespace orlo::host {

struct WaveformOptions {
    std::string input;
    std::string output;
    SoundOptions sound;
    PictureSize size{1800, 280};
    sonrel::WaveformPreview::Style style = sonrel::WaveformPreview::Style::RMSEnvelope;
    sonrel::WaveformPreview::Scale scale = sonrel::WaveformPreview::Scale::Linear;
    sonrel::WaveformPreview::Format format = sonrel::WaveformPreview::Format::ARGB32;
    sonrel::WaveformPreview::Color color{0, 0, 0, 255};
    sonrel::WaveformPreview::Color background{0, 0, 0, 0};
    std::string range;  ///< empty: the whole stream
    bool ruler = false;
    bool overwrite = false;  ///< whether write-protected files may be replaced
};

void DeclareWaveformOptions(CLI::App& command, WaveformOptions& options);

}  // namespace orlo::host
