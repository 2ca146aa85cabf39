// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <type_traits>

#include "tests/support/MixRig.h"
#include "tests/support/ProjectBuilder.h"
#include "tests/support/SpyPlugins.h"

namespace sonrel_tests {

/// One timeline, a sequence or a composition, that plays one media file from its beginning, through
/// an effect that changes nothing and records its calls.
///
/// The media file is one frame longer than the timeline: a block in the second half of the last
/// frame is rounded to the frame after it.
/// @tparam Timeline  EditorSequence or CompositionAsset
template <class Timeline>
class TimelineRig {
public:
    TimelineRig(const Format& format, const Samples& samples) : builder(format) {
        const auto media = builder.AddMedia(samples);
        if constexpr (std::is_same_v<Timeline, project::EditorSequence>) {
            timeline = builder.Sequence();
            spyUse = builder.AddObject(media, 0, format.frames + 1)->AddEffect(spy);
        } else {
            timeline = builder.AddComposition(format);
            spyUse = builder.AddLayer(timeline, media, 0, format.frames + 1)->AddEffect(spy);
        }
    }

    Mix Request(long long start, int count, int rateOverride = 0, int sampleRate = 0) {
        return rig.Request(builder.Project(), timeline, start, count, rateOverride, sampleRate);
    }
    sonrel::AudioMixer& Mixer() { return rig.Mixer(); }

    /// The lengths of the blocks that were rendered so far.
    std::vector<int> BlockLengths() const {
        std::vector<int> lengths;
        for (const ProcessCall& call : spy->processCalls) lengths.push_back(call.outputCount);
        return lengths;
    }

    ProjectBuilder builder;
    std::shared_ptr<Timeline> timeline;
    std::shared_ptr<SpyEffect> spy = std::make_shared<SpyEffect>();
    std::shared_ptr<project::EffectInstance> spyUse;
    MixRig rig;
};

}  // namespace sonrel_tests
