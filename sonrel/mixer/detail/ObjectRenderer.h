// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "sonrel/base/StereoFrame.h"
#include "sonrel/mixer/detail/AssetSource.h"
#include "sonrel/mixer/detail/Block.h"
#include "sonrel/mixer/detail/EffectChain.h"
#include "sonrel/project.h"

namespace orlo::sonrel {
struct AudioMixerImpl;
}

namespace orlo::sonrel::detail {

/// An audio object or a layer: its place on its timeline, and the asset that it plays.
struct Clip {
    std::shared_ptr<project::AbstractAsset> asset;  ///< null: the clip has no audio
    int startFrame = 0;                             ///< video frame on the timeline
    int inPointFrame = 0;                           ///< video frame of the asset at its start
    double frameRate = 0.0;                         ///< of the timeline
    double startSeconds = 0.0;                      ///< start on the timeline
    const EffectList* effects = nullptr;
    const project::PropertyManager* animation = nullptr;
    KindTest kindTest = KindTest::Skip;
};

/// The clip of an audio object of a sequence. It points into the object.
Clip ClipOf(project::Project& project, const std::shared_ptr<project::EditorSequence>& sequence,
            project::AudioObject& object);

/// The clip of a layer, on the timeline of its composition. It points into the layer.
Clip ClipOf(project::Project& project, project::AbstractLayer& layer);

/// Renders the clips of one block with speed and effects, without level and balance.
///
/// Plan, Read, Resample and RunEffects are the stages of one clip, in this order. A stage runs only
/// after the stage before it has succeeded. All clips of a block use one buffer: effects of a clip
/// may see the samples that the clip before it left beyond its own.
class ObjectRenderer {
public:
    /// @param samples  the buffer; outlives the renderer
    ObjectRenderer(AudioMixerImpl& mixer, const std::shared_ptr<project::Project>& project,
                   const Block& block, std::vector<unsigned char>& samples);

    /// Determines the source range of a clip and the ranges of its effects, and resizes the buffer
    /// to the longest range. Bytes that the buffer already had keep their values.
    /// @param stopAtEffect  the effect before which the chain ends; null runs all effects
    /// @return false when the clip has no audio in this block
    bool Plan(Clip clip, const zrtl::ZRID& stopAtEffect = {});

    /// Reads the source, before its speed is applied.
    SourceFrames Read();

    /// Applies the speed: puts the frames at the beginning of the buffer, and silence after them
    /// where the source ended.
    /// @return false when frames were wanted and the source has none
    bool Resample(const SourceFrames& source);

    /// Runs the effects in place.
    /// @return frames valid at the beginning of the buffer: with effects all frames of the block,
    ///         otherwise the frames that the source had
    int RunEffects();

    /// Runs all stages. @return the result of RunEffects; -1 when a stage before it failed
    int Render(Clip clip, const zrtl::ZRID& stopAtEffect = {});

    zrtl::StereoFrame* Frames() { return zrtl::FramesOf(samples_.data()); }

private:
    AudioMixerImpl& mixer_;
    const std::shared_ptr<project::Project>& project_;
    const Block block_;
    std::vector<unsigned char>& samples_;

    Clip clip_;
    ChainContext context_;
    std::vector<project::SampleRange> ranges_;  ///< the stack of the effect chain
};

}  // namespace orlo::sonrel::detail
