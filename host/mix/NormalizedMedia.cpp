// SPDX-License-Identifier: MIT
#include "host/mix/NormalizedMedia.h"

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

Normalization RenderNormalizedMedia(sonrel::AudioMixer& mixer,
                                    const std::shared_ptr<project::Project>& project,
                                    const project::MediaAsset& asset, const FrameGrid& grid,
                                    const zrtl::FrameRange& span, long long total,
                                    const MixOptions& options, MixSink& sink,
                                    const ReadCheck& reads, Progress& progress) {
    const std::shared_ptr<project::EditorSequence> sequence = project->Sequence();
    PlaceAsset(*sequence, asset, grid, total);
    const RepeatedMix mix{
        mixer, SequenceBlocks(mixer, project, sequence),   GainOfSequence(sequence, {}), grid, span,
        1,     [&](long long, int) { reads.RequireAll(); }};
    const Normalization normalization = Normalize(mix, options, progress);
    StartMix(mixer, options, 1, grid);
    RenderFrames(mix.block, grid, span, sink, mix.check, progress);
    mixer.StopMeterSession();
    return normalization;
}

}  // namespace orlo::host
