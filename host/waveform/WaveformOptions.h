// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/options/SoundOptions.h"
#include "host/waveform/AmplitudeRows.h"
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
    std::vector<sonrel::WaveformPreview::Color> colors;        ///< empty: the default colours
    std::optional<sonrel::WaveformPreview::Color> background;  ///< empty: by the colours
    std::string range;                                         ///< empty: the whole stream
    bool ruler = false;
    bool timecode = false;  ///< the ruler shows timecode
    AmplitudeUnit axis = AmplitudeUnit::None;
    bool names = false;
    bool clips = false;
    bool samples = false;
    std::string font;        ///< empty: the first usable font of the machine
    bool overwrite = false;  ///< whether write-protected files may be replaced
};

void DeclareWaveformOptions(CLI::App& command, WaveformOptions& options);

}  // namespace orlo::host
