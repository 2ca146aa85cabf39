// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/CompositionMixer.h"

#include <functional>
#include <mutex>
#include <utility>

#include "sonrel/base/Timing.h"
#include "sonrel/mixer/detail/AudioMixerImpl.h"
#include "sonrel/mixer/detail/LayerSum.h"
#include "sonrel/mixer/detail/ObjectRenderer.h"
#include "sonrel/mixer/detail/PropertyReaders.h"

namespace orlo::sonrel::detail {

CompositionMixer::CompositionMixer(AudioMixerImpl& mixer,
                                   const std::shared_ptr<project::Project>& project,
                                   const std::shared_ptr<project::CompositionAsset>& composition,
                                   Metering metering)
    : mixer_(mixer), project_(project), composition_(composition), metering_(metering) {}

int CompositionMixer::Mix(const TimelineRequest& request) {
    return RenderInBlocks(composition_->Settings(), request, *this);
}

int CompositionMixer::MixBlock(const Block& block, double frameRate, zrtl::StereoFrame* output) {
    const RequestBlock requestBlock(mixer_.requestBlock, block.timelineStart);
    if (block.count > zrtl::SamplesPerFrame(block.rate, frameRate)) return TOO_LONG;

    const int videoFrame = zrtl::FrameAtSample(block.timelineStart, block.rate, frameRate);
    if (mixer_.OnlyCounts()) return CountBlock(block, videoFrame);
    LayerSum sum(mixer_.floatBlocks, block.count);
    SampleBufferPool::Buffer buffer(mixer_.sampleBuffers);
    ObjectRenderer renderer(mixer_, project_, block, buffer.Get());
    auto addLayer = [&](const std::shared_ptr<project::AbstractLayer>& layer) {
        if (!Sounds(*layer, videoFrame)) return;
        sum.ReleaseSamples();  // the buffer is for the samples of this layer
        Clip clip = ClipOf(*project_, *layer);
        const double startSeconds = clip.startSeconds;
        const int frames = renderer.Render(std::move(clip));
        if (frames < 1) return;

        BlockLevels levels;
        {
            const std::lock_guard lock(mixer_.mutex);
            levels = ReadLevels(layer->Animation(), BlockTimes::Of(block).Since(startSeconds));
        }
        sum.Add(zrtl::ValuesOf(renderer.Frames()), frames, levels);
    };
    composition_->Layers().ForEach(std::ref(addLayer));

    if (metering_ == Metering::Allowed) {
        const BlockMeters meters = mixer_.meters.ForMixBlock();
        if (meters.IsRunning()) meters.FeedMaster(sum.Values(), block.count);
    }
    sum.Convert(mixer_.converter, zrtl::ValuesOf(output));
    return block.count;
}

int CompositionMixer::CountBlock(const Block& block, int videoFrame) {
    SampleBufferPool::Buffer buffer(mixer_.sampleBuffers);
    ObjectRenderer renderer(mixer_, project_, block, buffer.Get());
    auto countLayer = [&](const std::shared_ptr<project::AbstractLayer>& layer) {
        if (Sounds(*layer, videoFrame)) renderer.Render(ClipOf(*project_, *layer));
    };
    composition_->Layers().ForEach(std::ref(countLayer));
    *mixer_.noiseSamples += block.count;
    return block.count;
}

/// A hidden layer is silent: visibility applies to sound as well as to the picture.
bool CompositionMixer::Sounds(const project::AbstractLayer& layer, int videoFrame) const {
    bool muted = false;
    {
        const std::lock_guard lock(mixer_.mutex);
        muted = layer.IsMuted();
    }
    return layer.LayerType() == 0 && layer.HasAudio() && layer.IsVisible() && !muted &&
           layer.StartFrame() <= videoFrame && videoFrame < layer.EndFrame();
}

}  // namespace orlo::sonrel::detail
