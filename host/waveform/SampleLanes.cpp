// SPDX-License-Identifier: MIT
#include "host/waveform/SampleLanes.h"

#include <algorithm>
#include <cstdlib>

namespace orlo::host {

namespace {

/// Pixels between samples from which each sample is a square.
constexpr int SQUARE_DISTANCE = 5;

struct Point {
    int x;
    int y;
};

/// Draws into the lane of a channel.
class LanePen {
public:
    LanePen(LaneMasks& masks, int channel) : masks_(masks), channel_(channel) {}

    /// A line of pixels that touch each other.
    void DrawLine(Point from, const Point& to) {
        const int dx = std::abs(to.x - from.x);
        const int dy = -std::abs(to.y - from.y);
        const int stepX = from.x < to.x ? 1 : -1;
        const int stepY = from.y < to.y ? 1 : -1;
        for (int error = dx + dy;;) {
            SetPixel(from.x, from.y);
            if (from.x == to.x && from.y == to.y) return;
            const int doubled = 2 * error;
            if (doubled >= dy) {
                error += dy;
                from.x += stepX;
            }
            if (doubled <= dx) {
                error += dx;
                from.y += stepY;
            }
        }
    }

    void DrawSquare(const Point& middle) {
        for (int y = middle.y - 1; y <= middle.y + 1; ++y) {
            for (int x = middle.x - 1; x <= middle.x + 1; ++x) SetPixel(x, y);
        }
    }

private:
    void SetPixel(int x, int y) {
        if (x < 0 || y < 0 || x >= masks_.width || y >= masks_.height) return;
        masks_.Row(channel_, y)[x] = 255;
    }

    LaneMasks& masks_;
    int channel_;
};

}  // namespace

int SampleColumn(long long index, long long count, int width) {
    return static_cast<int>(index * width / count);
}

LaneMasks DrawSamples(const StreamSamples& samples, int width, int height,
                      sonrel::WaveformPreview::Scale scale) {
    const auto channels = static_cast<int>(samples.channels.size());
    LaneMasks masks(width, height, channels);
    const AmplitudeLane lane{0, height, scale, false};
    const bool squares = width / samples.count >= SQUARE_DISTANCE;
    for (int channel = 0; channel < channels; ++channel) {
        LanePen pen(masks, channel);
        const std::vector<double>& values = samples.channels[static_cast<std::size_t>(channel)];
        Point last{};
        for (std::size_t i = 0; i < values.size(); ++i) {
            const Point point{SampleColumn(static_cast<long long>(i), samples.count, width),
                              lane.RowOf(std::clamp(values[i], -1.0, 1.0))};
            pen.DrawLine(i == 0 ? point : last, point);
            if (squares) pen.DrawSquare(point);
            last = point;
        }
    }
    return masks;
}

}  // namespace orlo::host
