// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/shell/TimeRuler.h"
#include "host/waveform/AmplitudeRows.h"
#include "host/waveform/PictureArguments.h"
#include "host/waveform/PictureColors.h"
#include "host/waveform/WaveformOptions.h"
#include "sonrel/base/FrameRange.h"

namespace orlo::host {

/// Height in rows of a time ruler below a waveform.
constexpr int RULER_HEIGHT = 20;
/// Size of the labels, and the rows of a label with its gap.
constexpr int LABEL_PIXELS = 11;
constexpr int LABEL_ROWS = 13;
/// Rows of the mark of a clipped stretch.
constexpr int CLIP_ROWS = 4;

/// A filled rectangle. The kind is its class in an SVG.
struct FrameMark {
    const char* kind;
    double x;
    int y;
    double width;
    int height;
    PictureColors::Color color;
};

/// A text that starts at x, with its baseline at the upper edge of a row.
struct FrameLabel {
    const char* kind;
    double x;
    int baseline;
    std::string text;
    PictureColors::Color color;
};

/// A part of a picture in pixels.
struct PictureArea {
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
};

/// The surroundings of a waveform: rulers, scales, names and marks. Marks may be on the waveform,
/// labels are beside it.
struct Frame {
    PictureSize size;      ///< of the whole picture
    PictureArea waveform;  ///< place of the waveform
    PictureColors::Color background{};
    std::vector<FrameMark> marks;
    std::vector<FrameLabel> labels;
};

/// The properties of the sound that a frame shows.
struct FrameContent {
    int rate = 0;
    int channels = 0;
    zrtl::FrameRange shown;          ///< samples between the left and the right edge
    std::vector<std::string> names;  ///< of the channels
    RulerClock clock;
    /// The clipped stretches of each channel, in samples.
    std::vector<std::vector<zrtl::FrameRange>> clipped;
};

/// Whether a picture has labels.
bool HasLabels(const WaveformOptions& options);

/// Whether a picture has anything but its waveform.
bool HasFrame(const WaveformOptions& options);

/// The height of the lane of a channel, in whole rows.
int LaneHeight(const WaveformOptions& options, int height, int channels);

/// The place of the waveform, which depends on the names and the number of the channels.
/// @throws UsageError when labels leave no column
PictureArea PlaceWaveform(const WaveformOptions& options, const FrameContent& content,
                          const TextWidth& widthOf);

/// Lays out a frame.
/// @throws UsageError when a part does not fit
Frame LayOutFrame(const WaveformOptions& options, const PictureColors& colors,
                  const FrameContent& content, const TextWidth& widthOf);

}  // namespace orlo::host
