// SPDX-License-Identifier: MIT
#include "host/media/DuckedTracks.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "host/media/ReadCheck.h"
#include "host/shell/Errors.h"
#include "host/shell/Interrupt.h"
#include "host/timeline/Ducking.h"
#include "sonrel/base/StereoFrame.h"
#include "sonrel/base/Timing.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/plugins/pack/Ducking.h"
#include "sonrel/project/EditorSequence.h"

namespace orlo::host {

namespace {

namespace pack = sonrel::PluginPack;

/// The peaks of the cells of a sound that arrives in blocks.
class CellPeakMeter {
public:
    explicit CellPeakMeter(int cellFrames) : cellFrames_(cellFrames) {}

    void Add(const std::vector<short>& values) {
        for (std::size_t at = 0; at < values.size(); at += 2) {
            if (frames_++ % cellFrames_ == 0) peaks_.push_back(0);
            peaks_.back() =
                std::max({peaks_.back(), std::abs(values[at]), std::abs(values[at + 1])});
        }
    }

    const std::vector<int>& Peaks() const { return peaks_; }

private:
    int cellFrames_;
    long long frames_ = 0;
    std::vector<int> peaks_;
};

/// Measures tracks of a sequence, each without the others.
class KeyMeter {
public:
    KeyMeter(const otio::Arrangement& arrangement, const FrameGrid& grid,
             std::shared_ptr<project::Project> project, Progress& progress)
        : arrangement_(arrangement),
          grid_(grid),
          project_(std::move(project)),
          progress_(progress),
          engine_(NewEngine()),
          reads_(*engine_->Mixer(), grid_) {}

    /// The peaks of a track.
    std::vector<int> Measure(std::size_t track) {
        const auto sequence = Only(track);
        const FrameGrid blocks = grid_.Engine();
        const long long total =
            zrtl::TotalSamples(arrangement_.frameCount, grid_.rate, grid_.EngineRate());
        CellPeakMeter meter(pack::DuckingCellFrames(grid_.rate));
        progress_.Begin("duck", "samples", total, grid_.rate);
        for (long long frame = 0; blocks.Start(frame) < total; ++frame) {
            const long long position = blocks.Start(frame);
            meter.Add(Mix(sequence, position, std::min(blocks.Start(frame + 1), total) - position));
            progress_.Update(position);
        }
        progress_.End();
        return meter.Peaks();
    }

private:
    static std::shared_ptr<sonrel::Sonrel> NewEngine() {
        std::string error;
        auto engine = sonrel::Sonrel::Create({}, {}, &error, sonrel::Sonrel::LogOption::NoErrorLog);
        if (engine == nullptr) throw JobError("cannot create an engine for the ducking: " + error);
        return engine;
    }

    /// A sequence of one track, at a master level of 0 dB.
    std::shared_ptr<project::EditorSequence> Only(std::size_t track) const {
        auto sequence = std::make_shared<project::EditorSequence>();
        sequence->Settings().SetFrameRate(grid_.EngineRate());
        sequence->Settings().SetCustomAudioSampleRate(grid_.rate);
        sequence->Settings().SetFrameCount(arrangement_.frameCount);
        sequence->AudioTracks().push_back(project_->Sequence()->AudioTracks()[track]);
        return sequence;
    }

    std::vector<short> Mix(const std::shared_ptr<project::EditorSequence>& sequence,
                           long long position, long long count) {
        if (Interrupted()) ThrowInterrupted("nothing was mixed");
        std::vector<short> values(2 * static_cast<std::size_t>(count));
        const int frames = static_cast<int>(count);
        const int mixed = engine_->Mixer()->GetSamples(
            project_, sequence, position, frames, reinterpret_cast<unsigned char*>(values.data()),
            frames * zrtl::FRAME_BYTES, 0, 0);
        reads_.RequireAll();
        if (mixed == frames) return values;
        throw JobError("the mixer returned " + std::to_string(mixed) + " for " +
                       std::to_string(frames) + " samples at " + FormatTimecode(position, grid_));
    }

    const otio::Arrangement& arrangement_;
    FrameGrid grid_;
    std::shared_ptr<project::Project> project_;
    Progress& progress_;
    std::shared_ptr<sonrel::Sonrel> engine_;
    ReadCheck reads_;
};

bool IsAudible(const std::vector<otio::PlacedTrack>& tracks, std::size_t track) {
    const bool anySolo = std::any_of(tracks.begin(), tracks.end(),
                                     [](const otio::PlacedTrack& each) { return each.solo; });
    return !tracks[track].muted && (!anySolo || tracks[track].solo);
}

/// Adds a gain curve to the objects of a track.
void AddCurve(const std::shared_ptr<const pack::GainCurve>& curve, double engineRate,
              project::AudioTrack& track) {
    for (const auto& object : track.Objects().All()) {
        object->AddEffect(pack::CreateDucking(
            curve, zrtl::ObjectStartSample(object->StartFrame(), curve->sampleRate, engineRate)));
    }
}

}  // namespace

void DuckTracks(const otio::Arrangement& arrangement, const FrameGrid& grid,
                const std::shared_ptr<project::Project>& project, Progress& progress) {
    const std::vector<otio::PlacedTrack>& tracks = arrangement.tracks;
    // All are measured before the first is lowered: the order of the tracks does not matter.
    std::map<std::size_t, std::vector<int>> peaks;
    for (const otio::PlacedTrack& track : tracks) {
        if (!track.duck) continue;
        const std::size_t key = KeyTrackOf(tracks, track);
        if (!IsAudible(tracks, key) || peaks.count(key) != 0) continue;
        peaks[key] = KeyMeter(arrangement, grid, project, progress).Measure(key);
    }
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        if (!tracks[i].duck) continue;
        const auto key = peaks.find(KeyTrackOf(tracks, tracks[i]));
        if (key == peaks.end()) continue;
        AddCurve(pack::DuckingCurve(key->second, tracks[i].duck->parameters, grid.rate),
                 arrangement.EngineRate(), *project->Sequence()->AudioTracks()[i]);
    }
}

}  // namespace orlo::host
