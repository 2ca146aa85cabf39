// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "sonrel/waveform/WaveformPreview.h"

/// The rows at which the engine draws amplitudes, as docs/waveforms.md specifies them, and a scale
/// of amplitudes for them.
namespace orlo::host {

/// A lane of a picture of peaks, or the whole picture of an envelope.
struct AmplitudeLane {
    int top = 0;  ///< first row
    int height = 0;
    sonrel::WaveformPreview::Scale scale = sonrel::WaveformPreview::Scale::Linear;
    bool isEnvelope = false;

    /// The row of silence.
    int Baseline() const { return isEnvelope ? top + height - 1 : top + height / 2; }
    /// The row of an amplitude, full scale 1.0; of an envelope from 0.0. May be outside the lane.
    int RowOf(double amplitude) const;
};

enum class AmplitudeUnit { None, Linear, Decibels };

/// A mark of a scale of amplitudes.
struct AmplitudeTick {
    int row = 0;
    std::string label;

    friend bool operator==(const AmplitudeTick&, const AmplitudeTick&) = default;
};

/// The marks of a lane from top to bottom. Their labels need @p labelHeight rows each, are within
/// the lane and never overlap: of two labels at one place the less important is left out.
std::vector<AmplitudeTick> AmplitudeTicks(const AmplitudeLane& lane, AmplitudeUnit unit,
                                          int labelHeight);

/// The first row of a label that is centred at a row, but within its lane.
int LabelTop(const AmplitudeLane& lane, int row, int labelHeight);

}  // namespace orlo::host
