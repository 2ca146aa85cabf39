// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/ObjectRenderer.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <utility>

#include "sonrel/base/Timing.h"
#include "sonrel/mixer/detail/AudioMixerImpl.h"
#include "sonrel/mixer/detail/PropertyReaders.h"

namespace orlo::sonrel::detail {
namespace {

using zrtl::FRAME_BYTES;

/// The maximum number of samples that an effect may request. A clip whose effect requests more is
/// silent.
constexpr long long MAX_EFFECT_RANGE = 1 << 24;

/// Positions beyond this exceed every timeline. Sums of a few such positions do not overflow.
constexpr long long MAX_POSITION = LLONG_MAX / 8;

long long Limited(long long position) {
    return std::clamp(position, -MAX_POSITION, MAX_POSITION);
}

int CountOf(const project::SampleRange& range) {
    return static_cast<int>(range.endExclusive - range.first);
}

}  // namespace

Clip ClipOf(project::Project& project, const std::shared_ptr<project::EditorSequence>& sequence,
            project::AudioObject& object) {
    if (object.ObjectType() != 0) return {};
    return {.asset = object.Asset(project.Assets()),
            .startFrame = object.StartFrame(),
            .inPointFrame = object.SourceStartFrame(),
            .frameRate = sequence->Settings().FrameRate(),
            .startSeconds = object.StartTime(sequence) / 1000.0,
            .effects = &object.Effects(),
            .animation = &object.Animation(),
            .kindTest = KindTest::Skip};
}

Clip ClipOf(project::Project& project, project::AbstractLayer& layer) {
    if (layer.LayerType() != 0 || !layer.HasAudio()) return {};
    project::AssetList& assets = project.Assets();
    const auto parent = layer.ParentComposition(assets);
    if (!parent) return {};
    return {.asset = layer.Asset(assets),
            .startFrame = layer.StartFrame(),
            .inPointFrame = layer.SourceStartFrame(),
            .frameRate = parent->Settings().FrameRate(),
            .startSeconds = layer.StartTime(assets) / 1000.0,
            .effects = &layer.Effects(),
            .animation = &layer.Animation(),
            .kindTest = KindTest::Apply};
}

ObjectRenderer::ObjectRenderer(AudioMixerImpl& mixer,
                               const std::shared_ptr<project::Project>& project, const Block& block,
                               std::vector<unsigned char>& samples)
    : mixer_(mixer), project_(project), block_(block), samples_(samples) {}

bool ObjectRenderer::Plan(Clip clip, const zrtl::ZRID& stopAtEffect) {
    if (!clip.asset) return false;
    clip_ = std::move(clip);
    // The start on the timeline is rounded and the in-point is cut, so an object that shows its
    // source from frame n can begin one sample before the source's frame n.
    const long long clipStart =
        Limited(zrtl::ObjectStartSample(clip_.startFrame, block_.rate, clip_.frameRate));
    const long long inPoint =
        Limited(zrtl::InPointSample(clip_.inPointFrame, block_.rate, clip_.frameRate));
    const long long sourceStart = Limited(block_.timelineStart) + inPoint - clipStart;
    if (sourceStart < 0) return false;

    const long long objectStart = sourceStart - inPoint;
    context_ = {.request = {objectStart, objectStart + block_.count},
                .objectOffset = -inPoint,
                .objectStartSeconds = clip_.startSeconds,
                .rate = block_.rate,
                .stopAtEffect = stopAtEffect};
    ranges_.assign(1, context_.request);
    const long long longest = PlanEffectRanges(context_, *clip_.effects, ranges_);
    if (longest > block_.count && longest > MAX_EFFECT_RANGE) return false;
    if (longest > INT_MAX / FRAME_BYTES) return false;
    samples_.resize(static_cast<std::size_t>(std::max(longest, 0LL)) * FRAME_BYTES);
    return ranges_.back().endExclusive >= ranges_.back().first;
}

SourceFrames ObjectRenderer::Read() {
    const project::SampleRange& range = ranges_.back();
    const double speed = Speed(*clip_.animation);
    const int wanted = CountOf(range);
    if (wanted < 1) return {};
    // Speed scales the whole distance from the source's first sample, the in-point included.
    const long long sourceStart = zrtl::TruncToInt64(
        static_cast<double>(Limited(range.first) - context_.objectOffset) * speed);
    return ReadAsset(mixer_, project_, clip_.asset, {sourceStart, wanted, speed, block_.rate},
                     {Frames(), static_cast<int>(samples_.size())});
}

bool ObjectRenderer::Resample(const SourceFrames& source) {
    project::SampleRange& range = ranges_.back();
    const int wanted = CountOf(range);
    const int count = mixer_.OnlyCounts() ? CountAfterFilter(source)
                                          : ResampleSource(mixer_.resampler, source, Frames());
    if (count < wanted) {
        const int valid = std::max(count, 0);
        std::memset(zrtl::BytesOf(Frames() + valid), 0,
                    static_cast<std::size_t>(wanted - valid) * FRAME_BYTES);
    }
    if (count < 1 && wanted != 0) return false;
    range.endExclusive = range.first + count;
    return true;
}

int ObjectRenderer::RunEffects() {
    if (mixer_.OnlyCounts()) {
        ranges_.erase(ranges_.begin() + 1, ranges_.end());
    } else {
        detail::RunEffects(context_, *clip_.effects, clip_.kindTest, ranges_, samples_);
    }
    // An effect that was switched off between the two walks leaves its own range on the stack,
    // which may be longer than the block.
    const long long delivered = ranges_.back().endExclusive - ranges_.back().first;
    return static_cast<int>(std::min<long long>(delivered, block_.count));
}

int ObjectRenderer::Render(Clip clip, const zrtl::ZRID& stopAtEffect) {
    return Plan(std::move(clip), stopAtEffect) && Resample(Read()) ? RunEffects() : -1;
}

}  // namespace orlo::sonrel::detail
