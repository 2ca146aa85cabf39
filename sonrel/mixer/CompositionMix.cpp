// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/CompositionMix.h"

#include <mutex>
#include <vector>

#include "sonrel/base/Timing.h"
#include "sonrel/mixer/detail/AudioMixerImpl.h"
#include "sonrel/mixer/detail/BlockWalk.h"
#include "sonrel/mixer/detail/GainLaw.h"
#include "sonrel/mixer/detail/ObjectRender.h"
#include "sonrel/mixer/detail/PropertyReaders.h"

namespace orlo::sonrel::detail {
namespace {

/// One block of a composition.
struct LayerBlock {
    const std::shared_ptr<project::Project>& project;
    BlockTimes times;
    int frame = 0;  ///< the block's one video frame
    long long start = 0;
    int count = 0;
    int rate = 0;
};

/// A hidden layer is silent: visibility governs sound as well as picture.
bool Sounds(AudioMixerImpl& mixer, const project::AbstractLayer& layer, int frame) {
    bool muted = false;
    {
        const std::lock_guard lock(mixer.mutex);
        muted = layer.IsMuted();
    }
    return layer.LayerType() == 0 && layer.HasAudio() && layer.IsVisible() && !muted &&
           layer.StartFrame() <= frame && frame < layer.EndFrame();
}

void MixLayerIntoBlock(AudioMixerImpl& mixer, const LayerBlock& block,
                       const std::shared_ptr<project::AbstractLayer>& layer, float* floats,
                       std::vector<unsigned char>& samples) {
    if (!Sounds(mixer, *layer, block.frame)) return;
    const BlockTimes times = block.times.Since(layer->StartTime(block.project->Assets()) / 1000.0);
    const int frames = RenderLayer(mixer, block.project, layer, block.start, block.count,
                                   block.rate, samples, zrtl::ZRID());
    if (frames < 1) return;

    BlockLevels levels;
    {
        const std::lock_guard lock(mixer.mutex);
        levels = ReadLevels(layer->Animation(), times);
    }
    MixObjectIntoBlock(reinterpret_cast<const short*>(samples.data()), frames, floats, levels.start,
                       levels.end, 0.0f);
}

}  // namespace

int MixCompositionBlock(AudioMixerImpl& mixer, const std::shared_ptr<project::Project>& project,
                        const std::shared_ptr<project::CompositionAsset>& composition,
                        long long start, int count, short* output, int rate, double frameRate,
                        Metering metering) {
    const RequestBlock requestBlock(mixer.requestBlock, start);
    if (count > zrtl::SamplesPerFrame(rate, frameRate)) return TOO_LONG;

    const LayerBlock block{project,
                           BlockTimes::OnTimeline(start, count, rate),
                           zrtl::FrameAtSample(start, rate, frameRate),
                           start,
                           count,
                           rate};
    const auto floats = mixer.floatBlocks.Acquire(count);
    std::vector<unsigned char> samples;
    composition->Layers().ForEach([&](const std::shared_ptr<project::AbstractLayer>& layer) {
        MixLayerIntoBlock(mixer, block, layer, floats.get(), samples);
    });

    const std::shared_ptr<const MeterSet> meters =
        metering == Metering::Allowed ? mixer.meters.ForMixBlock() : nullptr;
    if (meters) meters->master->ProcessSamples(floats.get(), count);
    mixer.converter.FloatToInt16(floats.get(), output, count);
    return count;
}

int GetCompositionSamples(AudioMixerImpl& mixer, const std::shared_ptr<project::Project>& project,
                          const std::shared_ptr<project::CompositionAsset>& composition,
                          long long start, int count, unsigned char* buffer, int rateOverride,
                          int sampleRate, Metering metering) {
    return WalkBlocks(
        composition->Settings(), start, count, buffer, rateOverride, sampleRate,
        [&](long long blockStart, int blockCount, short* output, int rate, double frameRate) {
            return MixCompositionBlock(mixer, project, composition, blockStart, blockCount, output,
                                       rate, frameRate, metering);
        });
}

}  // namespace orlo::sonrel::detail
