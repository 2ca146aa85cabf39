// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/EffectChain.h"

#include <algorithm>
#include <climits>
#include <functional>

#include "sonrel/base/Numbers.h"
#include "sonrel/mixer/detail/Block.h"
#include "sonrel/plugins/AbstractPluginAudio.h"

namespace orlo::sonrel::detail {
namespace {

using project::SampleRange;

constexpr int AUDIO_PLUGIN = 1;

/// The times of a range that a plugin receives, in milliseconds.
struct PluginTimes {
    int timelineMs;
    int startMs;
    int endMs;
};

/// Cut toward zero in exactly this order: the first block of an object at 1001 ms is at 1000.
PluginTimes TimesOf(const SampleRange& range, const ChainContext& context) {
    const double t = static_cast<double>(range.first) / context.rate;
    const double end = static_cast<double>(range.endExclusive) / context.rate;
    return {zrtl::TruncToInt32((t + context.objectStartSeconds) * 1000.0),
            zrtl::TruncToInt32(t * 1000.0), zrtl::TruncToInt32(((end - t) + t) * 1000.0)};
}

/// Length of any range, however far apart its ends are.
long long LengthOf(const SampleRange& range) {
    long long length = 0;
    if (!__builtin_sub_overflow(range.endExclusive, range.first, &length)) return length;
    return range.endExclusive > range.first ? LLONG_MAX : LLONG_MIN;
}

bool IsStop(const project::EffectInstance& effect, const zrtl::ZRID& stop) {
    return !stop.IsNull() && effect.ID() == stop;
}

project::AbstractPluginAudio& AsAudio(project::AbstractPlugin& plugin) {
    return static_cast<project::AbstractPluginAudio&>(plugin);
}

SampleRange RequiredRange(project::EffectInstance& effect, project::AbstractPlugin& plugin,
                          const SampleRange& output, const ChainContext& context) {
    const PluginTimes times = TimesOf(output, context);
    std::vector<SampleRange> needed;
    AsAudio(plugin).RequiredRanges(&effect, MIX_CHANNELS, context.rate, MIX_BITS_PER_SAMPLE,
                                   static_cast<int>(LengthOf(output)), times.timelineMs,
                                   times.startMs, times.endMs, output.first, context.objectOffset,
                                   &needed, !context.stopAtEffect.IsNull());
    return needed.empty() ? output : needed.front();
}

}  // namespace

long long PlanEffectRanges(const ChainContext& context, const EffectList& effects,
                           std::vector<SampleRange>& ranges) {
    long long longest = LengthOf(context.request);
    auto plan = [&](const std::shared_ptr<project::EffectInstance>& effect) {
        // The plan of the effects after the stop effect is dropped.
        if (IsStop(*effect, context.stopAtEffect)) {
            ranges.clear();
            ranges.push_back(context.request);
            return;
        }
        if (!effect->Enabled()) return;
        const auto plugin = effect->Plugin();
        if (plugin->PluginKind() != AUDIO_PLUGIN) return;

        const SampleRange needed = RequiredRange(*effect, *plugin, ranges.back(), context);
        longest = std::max(longest, LengthOf(needed));
        ranges.push_back(needed);
    };
    effects.ForEachReverse(std::ref(plan));
    return longest;
}

void RunEffects(const ChainContext& context, const EffectList& effects, KindTest kindTest,
                std::vector<SampleRange>& ranges, std::vector<unsigned char>& samples) {
    bool stopped = false;
    auto run = [&](const std::shared_ptr<project::EffectInstance>& effect) {
        if (stopped) return;
        if (IsStop(*effect, context.stopAtEffect)) {
            stopped = true;
            return;
        }
        if (!effect->Enabled()) return;
        const auto plugin = effect->Plugin();
        if (kindTest == KindTest::Apply && plugin->PluginKind() != AUDIO_PLUGIN) return;
        // An effect that was switched on between the two walks has planned nothing: it is skipped
        // when only the range of the caller is left.
        if (ranges.size() < 2) return;

        const SampleRange input = ranges.back();
        ranges.pop_back();
        const SampleRange output = ranges.back();
        const PluginTimes times = TimesOf(output, context);
        AsAudio(*plugin).ProcessAudio(effect.get(), MIX_CHANNELS, context.rate, MIX_BITS_PER_SAMPLE,
                                      samples.data(), static_cast<int>(LengthOf(input)),
                                      static_cast<int>(LengthOf(output)), times.timelineMs,
                                      times.startMs, times.endMs, output.first, input.first,
                                      context.objectOffset, !context.stopAtEffect.IsNull());
    };
    effects.ForEach(std::ref(run));
}

}  // namespace orlo::sonrel::detail
