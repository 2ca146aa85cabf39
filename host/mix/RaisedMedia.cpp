// SPDX-License-Identifier: MIT
#include "host/mix/RaisedMedia.h"

#include "sonrel/project/AssetAudioObject.h"
#include "sonrel/project/EditorSequence.h"

namespace orlo::host {

namespace {

/// Fills the sequence of a project with one clip that has the whole of an asset.
void PlaceAsset(project::EditorSequence& sequence, const project::MediaAsset& asset,
                const FrameGrid& grid, long long total) {
    const auto frames = static_cast<int>(grid.FrameOf(total - 1) + 1);
    sequence.Settings().SetFrameRate(grid.fps);
    sequence.Settings().SetCustomAudioSampleRate(grid.rate);
    sequence.Settings().SetFrameCount(frames);
    const auto object = std::make_shared<project::AssetAudioObject>(asset.ID());
    object->SetRange(0, frames);
    sequence.AddAudioTrack()->Objects().Add(object);
}

}  // namespace

std::optional<Normalization> RenderRaisedMedia(sonrel::AudioMixer& mixer, const RaisedMedia& media,
                                               MixSink& sink, Progress& progress) {
    const auto& [project, asset, range, total, options] = media;
    const std::shared_ptr<project::EditorSequence> sequence = project->Sequence();
    PlaceAsset(*sequence, asset, range.grid, total);
    const MixSource source(project, sequence);
    const SetGain setGain = GainOfSequence(sequence, {});
    std::optional<Normalization> normalization;
    if (options.gain) {
        setGain(*options.gain);
    } else {
        normalization = Normalize({mixer, source, setGain, range, 1}, options, progress);
    }
    StartMix(mixer, options, 1, range.grid);
    RenderFrames({{&mixer, {{source, &sink}}}}, range, progress);
    mixer.StopMeterSession();
    return normalization;
}

}  // namespace orlo::host
