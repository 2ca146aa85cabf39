// SPDX-License-Identifier: MIT
#include "tests/plugins/pack/EffectRender.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "tests/support/GuardedBuffer.h"

namespace sonrel_tests {
namespace {

using project::SampleRange;

constexpr int CHANNELS = 2;
constexpr int BITS = 16;
constexpr int FRAME_BYTES = 4;

int LengthOf(const SampleRange& range) {
    return static_cast<int>(range.endExclusive - range.first);
}

/// Fills the range with the source and silence. @return the frames of the source
int ReadSource(const RenderedObject& object, const SampleRange& range, unsigned char* to) {
    const long long start = range.first - object.objectOffset;
    const int wanted = LengthOf(range);
    const long long available = static_cast<long long>(object.source.size() / CHANNELS) - start;
    const int got = static_cast<int>(std::clamp<long long>(available, 0, wanted));
    std::memset(to, 0, static_cast<std::size_t>(wanted) * FRAME_BYTES);
    if (got > 0) {
        std::memcpy(to, object.source.data() + start * CHANNELS,
                    static_cast<std::size_t>(got) * FRAME_BYTES);
    }
    return got;
}

}  // namespace

Samples RenderedObject::Render(long long first, int count) const {
    std::vector<SampleRange> ranges{{first, first + count}};
    int longest = count;
    for (auto effect = effects.rbegin(); effect != effects.rend(); ++effect) {
        const SampleRange output = ranges.back();
        ranges.push_back(
            RequiredRange(**effect, rate, output.first, LengthOf(output), objectOffset));
        longest = std::max(longest, LengthOf(ranges.back()));
    }
    if (ranges.back().first < objectOffset) return {};

    GuardedBuffer buffer(static_cast<std::size_t>(longest) * FRAME_BYTES);
    const int got = ReadSource(*this, ranges.back(), buffer.Data());
    ranges.back().endExclusive = ranges.back().first + got;
    for (const auto& effect : effects) {
        const SampleRange input = ranges.back();
        ranges.pop_back();
        const SampleRange output = ranges.back();
        effect->ProcessAudio(nullptr, CHANNELS, rate, BITS, buffer.Data(), LengthOf(input),
                             LengthOf(output), 0, 0, 0, output.first, input.first, objectOffset,
                             false);
    }
    EXPECT_TRUE(buffer.GuardsIntact()) << "an effect wrote outside the longest range";

    Samples rendered(static_cast<std::size_t>(count) * CHANNELS);
    std::memcpy(rendered.data(), buffer.Data(), rendered.size() * sizeof(short));
    return rendered;
}

Samples RenderedObject::RenderInBlocks(long long first, int count, int block) const {
    Samples whole;
    for (int done = 0; done < count; done += block) {
        const Samples part = Render(first + done, std::min(block, count - done));
        whole.insert(whole.end(), part.begin(), part.end());
    }
    return whole;
}

SampleRange RequiredRange(project::AbstractPluginAudio& effect, int rate, long long first,
                          int count, long long objectOffset) {
    std::vector<SampleRange> ranges;
    effect.RequiredRanges(nullptr, CHANNELS, rate, BITS, count, 0, 0, 0, first, objectOffset,
                          &ranges, false);
    return ranges.empty() ? SampleRange{first, first + count} : ranges.front();
}

Samples Left(const Samples& samples) {
    Samples values;
    for (std::size_t i = 0; i < samples.size(); i += 2) values.push_back(samples[i]);
    return values;
}

Samples Right(const Samples& samples) {
    Samples values;
    for (std::size_t i = 1; i < samples.size(); i += 2) values.push_back(samples[i]);
    return values;
}

Samples Stereo(const Samples& values) {
    Samples samples;
    for (const short value : values) samples.insert(samples.end(), 2, value);
    return samples;
}

}  // namespace sonrel_tests
