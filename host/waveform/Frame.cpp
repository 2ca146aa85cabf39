// SPDX-License-Identifier: MIT
#include "host/waveform/Frame.h"

#include <algorithm>
#include <cmath>

#include "host/shell/Errors.h"

namespace orlo::host {

namespace {

using Style = sonrel::WaveformPreview::Style;
using zrtl::FrameRange;

constexpr int TEXT_BASELINE = 17;  ///< of the labels of the ruler, from its top
constexpr int ASCENT = 9;          ///< rows from the top of a label to its baseline
constexpr int TICK_LENGTH = 3;
constexpr int MARGIN = 4;
constexpr int LABEL_GAP_TO_TICK = 2;
constexpr double MIN_CLIP_WIDTH = 2.0;

int WidestOf(const std::vector<std::string>& texts, const TextWidth& widthOf) {
    int widest = 0;
    for (const std::string& text : texts) widest = std::max(widest, widthOf(text));
    return widest;
}

/// The lanes of a picture of @p rows rows.
std::vector<AmplitudeLane> LanesOf(const WaveformOptions& options, int channels, int rows) {
    if (options.style == Style::RMSEnvelope) return {{0, rows, options.scale, true}};
    if (options.style != Style::ChannelLanes) return {{0, rows, options.scale, false}};
    const int height = LaneHeight(options, rows, channels);
    std::vector<AmplitudeLane> lanes;
    lanes.reserve(static_cast<std::size_t>(channels));
    for (int channel = 0; channel < channels; ++channel) {
        lanes.push_back({channel * height, height, options.scale, false});
    }
    return lanes;
}

/// Columns of the scale of amplitudes.
int AxisWidth(const std::vector<AmplitudeLane>& lanes, AmplitudeUnit unit,
              const TextWidth& widthOf) {
    std::vector<std::string> labels;
    for (const AmplitudeLane& lane : lanes) {
        for (const AmplitudeTick& tick : AmplitudeTicks(lane, unit, LABEL_ROWS)) {
            labels.push_back(tick.label);
        }
    }
    return WidestOf(labels, widthOf) + 2 * MARGIN + TICK_LENGTH + 1;
}

/// Places the parts of a frame around its waveform.
class FrameLayout {
public:
    FrameLayout(const WaveformOptions& options, const PictureColors& colors,
                const FrameContent& content, const TextWidth& widthOf)
        : options_(options), colors_(colors), content_(content), widthOf_(widthOf) {
        frame_.size = options.size;
        frame_.background = colors.background;
        frame_.waveform = PlaceWaveform(options, content, widthOf);
        lanes_ = LanesOf(options, content.channels, frame_.waveform.height);
    }

    Frame Take() {
        if (options_.ruler) AddRuler();
        if (options_.axis != AmplitudeUnit::None) AddAxis();
        if (options_.names) AddNames();
        if (options_.clips) AddClips();
        return std::move(frame_);
    }

private:
    using Color = PictureColors::Color;

    void Mark(const char* kind, double x, int y, double width, int height, const Color& color) {
        frame_.marks.push_back({kind, x, y, width, height, color});
    }

    void Label(const char* kind, double x, int baseline, const std::string& text,
               const Color& color) {
        frame_.labels.push_back({kind, x, baseline, text, color});
    }

    void AddRuler() {
        const PictureArea& area = frame_.waveform;
        const double start = static_cast<double>(content_.shown.start) / content_.rate;
        const double end = static_cast<double>(content_.shown.end) / content_.rate;
        const std::vector<RulerTick> ticks =
            options_.timecode ? TimecodeTicks(start, end, area.width, content_.clock, widthOf_)
                              : RulerTicks(start, end, area.width, widthOf_);
        Mark("ruler", area.left, area.height, area.width, 1, colors_.ink);
        for (const RulerTick& tick : ticks) {
            const double x = area.left + tick.x;
            Mark("tick", x, area.height, 1, tick.label.empty() ? 3 : 6, colors_.ink);
            if (tick.label.empty()) continue;
            Label("time", x + RULER_LABEL_X, area.height + TEXT_BASELINE, tick.label, colors_.ink);
        }
    }

    void AddAxis() {
        const PictureArea& area = frame_.waveform;
        Mark("axis", area.left - 1, 0, 1, area.height, colors_.ink);
        for (const AmplitudeLane& lane : lanes_) {
            for (const AmplitudeTick& tick : AmplitudeTicks(lane, options_.axis, LABEL_ROWS)) {
                const int right = area.left - 1 - TICK_LENGTH;
                Mark("tick", right, tick.row, TICK_LENGTH, 1, colors_.ink);
                const int left = right - LABEL_GAP_TO_TICK - widthOf_(tick.label);
                Label("amplitude", left, LabelTop(lane, tick.row, LABEL_ROWS) + ASCENT + 1,
                      tick.label, colors_.ink);
            }
        }
    }

    void AddNames() {
        const bool stacked = options_.style != Style::ChannelLanes;
        const int room = stacked ? frame_.waveform.height / content_.channels : lanes_[0].height;
        if (room < LABEL_ROWS) {
            throw UsageError("--names needs " + std::to_string(LABEL_ROWS) +
                             " rows a channel; choose a larger --size");
        }
        for (int channel = 0; channel < content_.channels; ++channel) {
            const int top =
                stacked ? channel * LABEL_ROWS
                        : lanes_[static_cast<std::size_t>(channel)].Baseline() - LABEL_ROWS / 2;
            Label("name", MARGIN, top + ASCENT + 1,
                  content_.names[static_cast<std::size_t>(channel)], colors_.OfChannel(channel));
        }
    }

    void AddClips() {
        for (std::size_t channel = 0; channel < content_.clipped.size(); ++channel) {
            const std::size_t lane = lanes_.size() > 1 ? channel : 0;
            AddClipsOf(content_.clipped[channel], lanes_[lane].top);
        }
    }

    /// Marks that would touch are one mark.
    void AddClipsOf(const std::vector<FrameRange>& stretches, int top) {
        const PictureArea& area = frame_.waveform;
        const double width = area.width;
        const double scale = width / static_cast<double>(content_.shown.Count());
        double begin = 0.0;
        double end = -1.0;
        const auto add = [&] {
            if (end <= begin) return;
            Mark("clip", area.left + begin, top, end - begin, CLIP_ROWS, colors_.clip);
        };
        for (const FrameRange& stretch : stretches) {
            const double from = static_cast<double>(stretch.start - content_.shown.start) * scale;
            const double to = static_cast<double>(stretch.end - content_.shown.start) * scale;
            const double first = std::clamp(std::floor(from), 0.0, width - 1.0);
            const double last = std::min(width, std::max(std::ceil(to), first + MIN_CLIP_WIDTH));
            if (first > end) {
                add();
                begin = first;
            }
            end = std::max(end, last);
        }
        add();
    }

    const WaveformOptions& options_;
    const PictureColors& colors_;
    const FrameContent& content_;
    const TextWidth& widthOf_;
    std::vector<AmplitudeLane> lanes_;
    Frame frame_;
};

}  // namespace

bool HasLabels(const WaveformOptions& options) {
    return options.ruler || options.axis != AmplitudeUnit::None || options.names;
}

bool HasFrame(const WaveformOptions& options) {
    return HasLabels(options) || options.clips;
}

int LaneHeight(const WaveformOptions& options, int height, int channels) {
    return options.style == Style::ChannelLanes ? height / channels : height;
}

PictureArea PlaceWaveform(const WaveformOptions& options, const FrameContent& content,
                          const TextWidth& widthOf) {
    const int rows = options.size.height - (options.ruler ? RULER_HEIGHT : 0);
    int left = 0;
    if (options.names) left += WidestOf(content.names, widthOf) + 2 * MARGIN;
    if (options.axis != AmplitudeUnit::None) {
        left += AxisWidth(LanesOf(options, content.channels, rows), options.axis, widthOf);
    }
    if (left >= options.size.width) {
        throw UsageError("the labels need " + std::to_string(left) +
                         " columns and leave none for the waveform; choose a larger --size");
    }
    return {left, 0, options.size.width - left, rows};
}

Frame LayOutFrame(const WaveformOptions& options, const PictureColors& colors,
                  const FrameContent& content, const TextWidth& widthOf) {
    return FrameLayout(options, colors, content, widthOf).Take();
}

}  // namespace orlo::host
