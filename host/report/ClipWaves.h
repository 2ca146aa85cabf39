// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "host/report/ReportPage.h"
#include "sonrel/media/SoundChoice.h"

namespace orlo::host {

/// A peak file in the cache.
struct PeakSound {
    std::string path;
    int rate = 0;  ///< of the stream, hertz
};

/// The peak files of the sounds of a timeline, by path and sound.
using PeakSounds = std::map<std::pair<std::string, zrh::media::SoundChoice>, PeakSound>;

/// Maximum number of points in the waveforms of a page, and in a second of a waveform.
constexpr int MAX_WAVE_POINTS = 160000;
constexpr double MAX_POINTS_PER_SECOND = 100.0;

/// Reads a part of a sound as a waveform.
/// @param from    seconds in the media; a part outside the media is silent
/// @param points  at least 1; there are fewer where a point would have less than a peak block
/// @throws JobError when the peak file cannot be read
Envelope ReadEnvelope(const PeakSound& sound, double from, double end, int points);

/// Gives the clips on lanes their waveforms, each second of a lane equally many points.
/// @param engineRate  frames of the engine a second
/// @throws as in ReadEnvelope; CommandError when the program is asked to stop
void AddWaves(const PeakSounds& sounds, double engineRate, std::vector<PageLane>& lanes);

}  // namespace orlo::host
