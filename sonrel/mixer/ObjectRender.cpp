// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/ObjectRender.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "sonrel/base/Timing.h"
#include "sonrel/mixer/detail/AssetSource.h"
#include "sonrel/mixer/detail/AudioMixerImpl.h"
#include "sonrel/mixer/detail/EffectChain.h"
#include "sonrel/mixer/detail/PropertyReaders.h"

namespace orlo::sonrel::detail {
namespace {

constexpr int FRAME_BYTES = 4;

/// Samples that effects may ask for at once. A plan beyond it is no plan: the object is silent.
constexpr long long MAX_EFFECT_RANGE = 1 << 24;

/// Positions further out than any timeline reaches; sums of a few of them do not overflow.
constexpr long long MAX_POSITION = LLONG_MAX / 8;

long long CutToReach(long long position) {
    return std::clamp(position, -MAX_POSITION, MAX_POSITION);
}

/// Where an object or layer lies, and what it plays.
struct Instance {
    std::shared_ptr<project::AbstractAsset> asset;
    int startFrame = 0;
    int inPointFrame = 0;
    double frameRate = 0.0;
    double startSeconds = 0.0;
    const EffectList& effects;
    const project::PropertyManager& animation;
    KindTest kindTest = KindTest::Skip;
};

/// Reads the top range of the plan from the source to the beginning of @p samples, with silence
/// where the source gives less, and cuts the range to what it gave.
/// @return false when something was wanted and nothing is there
bool ReadSource(AudioMixerImpl& mixer, const std::shared_ptr<project::Project>& project,
                const Instance& instance, const ChainContext& context, project::SampleRange& range,
                std::vector<unsigned char>& samples) {
    const auto wanted = static_cast<int>(range.endExclusive - range.first);
    const double speed = Speed(instance.animation);
    int got = 0;
    if (wanted > 0) {
        // Speed scales the whole distance from the source's first sample, the in-point included.
        const long long start = zrtl::TruncToInt64(
            static_cast<double>(CutToReach(range.first) - context.objectOffset) * speed);
        got = ReadAssetSamples(mixer, project, instance.asset, start, wanted, speed, context.rate,
                               samples.data(), static_cast<int>(samples.size()));
    }
    if (got < wanted) {
        const int valid = std::max(got, 0);
        std::memset(samples.data() + static_cast<std::size_t>(valid) * FRAME_BYTES, 0,
                    static_cast<std::size_t>(wanted - valid) * FRAME_BYTES);
    }
    if (got < 1 && wanted != 0) return false;
    range.endExclusive = range.first + got;
    return true;
}

int Render(AudioMixerImpl& mixer, const std::shared_ptr<project::Project>& project,
           const Instance& instance, long long start, int count, int rate,
           std::vector<unsigned char>& samples, const zrtl::ZRID& stopAtEffect) {
    if (!instance.asset) return -1;
    // The object's start is rounded and the in-point is cut, so an object that shows its source
    // from frame n can begin one sample before the source's frame n.
    const long long objectStart =
        CutToReach(zrtl::ObjectStartSample(instance.startFrame, rate, instance.frameRate));
    const long long inPoint =
        CutToReach(zrtl::InPointSample(instance.inPointFrame, rate, instance.frameRate));
    const long long position = CutToReach(start) + inPoint - objectStart;
    if (position < 0) return -1;

    ChainContext context;
    context.objectOffset = -inPoint;
    context.request = {position + context.objectOffset, position + context.objectOffset + count};
    context.objectStartSeconds = instance.startSeconds;
    context.rate = rate;
    context.stopAtEffect = stopAtEffect;

    std::vector<project::SampleRange> ranges{context.request};
    const long long longest = PlanEffectRanges(context, instance.effects, ranges);
    if (longest > count && longest > MAX_EFFECT_RANGE) return -1;
    if (longest > INT_MAX / FRAME_BYTES) return -1;
    samples.resize(static_cast<std::size_t>(std::max(longest, 0LL)) * FRAME_BYTES);

    if (ranges.back().endExclusive < ranges.back().first) return -1;
    if (!ReadSource(mixer, project, instance, context, ranges.back(), samples)) return -1;
    RunEffects(context, instance.effects, instance.kindTest, ranges, samples);
    // An effect that was switched off between the two walks leaves its own range on the stack,
    // which may be longer than what was asked for.
    const long long delivered = ranges.back().endExclusive - ranges.back().first;
    return static_cast<int>(std::min<long long>(delivered, count));
}

}  // namespace

int RenderAudioObject(AudioMixerImpl& mixer, const std::shared_ptr<project::Project>& project,
                      const std::shared_ptr<project::EditorSequence>& sequence,
                      const std::shared_ptr<project::AudioObject>& object, long long start,
                      int count, int rate, std::vector<unsigned char>& samples,
                      const zrtl::ZRID& stopAtEffect) {
    if (object->ObjectType() != 0) return -1;
    const Instance instance{.asset = object->Asset(project->Assets()),
                            .startFrame = object->StartFrame(),
                            .inPointFrame = object->SourceStartFrame(),
                            .frameRate = sequence->Settings().FrameRate(),
                            .startSeconds = object->StartTime(sequence) / 1000.0,
                            .effects = object->Effects(),
                            .animation = object->Animation(),
                            .kindTest = KindTest::Skip};
    return Render(mixer, project, instance, start, count, rate, samples, stopAtEffect);
}

int RenderLayer(AudioMixerImpl& mixer, const std::shared_ptr<project::Project>& project,
                const std::shared_ptr<project::AbstractLayer>& layer, long long start, int count,
                int rate, std::vector<unsigned char>& samples, const zrtl::ZRID& stopAtEffect) {
    if (layer->LayerType() != 0 || !layer->HasAudio()) return -1;
    project::AssetList& assets = project->Assets();
    const auto parent = layer->ParentComposition(assets);
    if (!parent) return -1;
    const Instance instance{.asset = layer->Asset(assets),
                            .startFrame = layer->StartFrame(),
                            .inPointFrame = layer->SourceStartFrame(),
                            .frameRate = parent->Settings().FrameRate(),
                            .startSeconds = layer->StartTime(assets) / 1000.0,
                            .effects = layer->Effects(),
                            .animation = layer->Animation(),
                            .kindTest = KindTest::Apply};
    return Render(mixer, project, instance, start, count, rate, samples, stopAtEffect);
}

}  // namespace orlo::sonrel::detail
