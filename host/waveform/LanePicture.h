// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "host/waveform/Picture.h"
#include "host/waveform/PictureColors.h"
#include "sonrel/waveform/WaveformPreview.h"

namespace orlo::host {

/// The drawn channels of a stream without colours: for each channel a lane of coverages, 0 to 255.
struct LaneMasks {
    int width = 0;
    int height = 0;  ///< of a lane
    int channels = 0;
    std::vector<unsigned char> coverage;  ///< channel after channel, rows from the top

    LaneMasks(int laneWidth, int laneHeight, int channelCount)
        : width(laneWidth),
          height(laneHeight),
          channels(channelCount),
          coverage(static_cast<std::size_t>(laneWidth) * static_cast<std::size_t>(laneHeight) *
                   static_cast<std::size_t>(channelCount)) {}

    unsigned char* Row(int channel, int row) {
        return coverage.data() +
               static_cast<std::size_t>(width) * static_cast<std::size_t>(channel * height + row);
    }
};

/// A picture of lanes, each channel in its colour: stacked from the top, or one over another in the
/// order of the channels.
/// @param height  of the picture; at least that of all stacked lanes
/// @return a picture without bytes when there is not enough memory
Picture PaintLanes(LaneMasks& masks, bool stacked, const PictureColors& colors,
                   sonrel::WaveformPreview::Format format, int height);

}  // namespace orlo::host
