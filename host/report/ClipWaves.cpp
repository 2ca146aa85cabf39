// SPDX-License-Identifier: MIT
#include "host/report/ClipWaves.h"

#include <algorithm>
#include <cmath>

#include "host/shell/Errors.h"
#include "host/shell/Interrupt.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "sonrel/cache/PeakFile.h"

namespace orlo::host {

namespace {

using sonrel::PeakFile;

[[noreturn]] void RefuseWave(const PeakSound& sound) {
    throw JobError("the peak file " + Quoted(sound.path) +
                   " is damaged; run the command again to recreate it");
}

/// Combines the channels of points that are read from a peak file.
/// @param peaks  minimum and maximum of each channel, point after point
void AppendPoints(const std::vector<signed char>& peaks, int channels, Envelope& wave) {
    const auto values = 2 * static_cast<std::size_t>(channels);
    for (std::size_t at = 0; at + values <= peaks.size(); at += values) {
        signed char low = 0;
        signed char high = 0;
        for (std::size_t i = at; i < at + values; i += 2) {
            low = std::min(low, peaks[i]);
            high = std::max(high, peaks[i + 1]);
        }
        wave.low.push_back(low);
        wave.high.push_back(high);
    }
}

void Resize(std::size_t points, Envelope& wave) {
    wave.low.resize(points);
    wave.high.resize(points);
}

double SecondsOf(const std::vector<PageLane>& lanes) {
    double seconds = 0.0;
    for (const PageLane& lane : lanes) {
        for (const PageClip& clip : lane.clips) {
            seconds += clip.isNested ? SecondsOf(clip.lanes) : clip.end - clip.start;
        }
    }
    return seconds;
}

/// Adds the waveforms of the clips of all lanes.
class WaveAdder {
public:
    WaveAdder(const PeakSounds& sounds, double engineRate, double pointsPerSecond)
        : sounds_(sounds), engineRate_(engineRate), pointsPerSecond_(pointsPerSecond) {}

    void AddTo(std::vector<PageLane>& lanes) const {
        for (PageLane& lane : lanes) {
            if (Interrupted()) ThrowInterrupted("nothing was written");
            for (PageClip& clip : lane.clips) {
                if (clip.isNested) {
                    AddTo(clip.lanes);
                } else {
                    AddTo(clip);
                }
            }
        }
    }

private:
    void AddTo(PageClip& clip) const {
        const otio::PlacedClip& placed = *clip.placed;
        const auto sound = sounds_.find({placed.media.path, placed.sound});
        if (sound == sounds_.end()) return;
        const double from = placed.sourceStartFrame * placed.speed / engineRate_;
        const double length = (placed.endFrame - placed.startFrame) * placed.speed / engineRate_;
        const double points = std::ceil((clip.end - clip.start) * pointsPerSecond_);
        clip.wave = ReadEnvelope(sound->second, from, from + length,
                                 static_cast<int>(std::clamp(points, 1.0, 1.0 * MAX_WAVE_POINTS)));
    }

    const PeakSounds& sounds_;
    const double engineRate_;
    const double pointsPerSecond_;
};

}  // namespace

Envelope ReadEnvelope(const PeakSound& sound, double from, double end, int points) {
    PeakFile file;
    if (!file.Open(WidePath(sound.path)) || file.BlockCount() < 1) RefuseWave(sound);
    const double blocksPerSecond = static_cast<double>(sound.rate) / PeakFile::SAMPLES_PER_BLOCK;
    const double firstBlock = from * blocksPerSecond;
    const double blocks = (end - from) * blocksPerSecond;
    const double count = std::max(1.0, std::min<double>(points, std::floor(blocks)));
    const double step = std::max(1.0, blocks / count);

    const double last = file.BlockCount();
    const auto begin = static_cast<int>(std::clamp(std::floor(firstBlock), 0.0, last));
    const auto stop = static_cast<int>(std::clamp(std::ceil(firstBlock + blocks), 0.0, last));
    Envelope wave;
    Resize(static_cast<std::size_t>(std::clamp((begin - firstBlock) / step, 0.0, count)), wave);
    std::vector<signed char> peaks;
    if (begin < stop && file.GetChannelPeaks(begin, stop, step, peaks) != PeakFile::Result::Ok) {
        RefuseWave(sound);
    }
    AppendPoints(peaks, file.ChannelCount(), wave);
    Resize(static_cast<std::size_t>(count), wave);
    return wave;
}

void AddWaves(const PeakSounds& sounds, double engineRate, std::vector<PageLane>& lanes) {
    const double density = MAX_WAVE_POINTS / std::max(SecondsOf(lanes), 1e-9);
    WaveAdder(sounds, engineRate, std::min(density, MAX_POINTS_PER_SECOND)).AddTo(lanes);
}

}  // namespace orlo::host
