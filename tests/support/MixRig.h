// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "sonrel/engine/Sonrel.h"
#include "sonrel/mixer/AudioMixer.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/ProjectBuilder.h"

namespace sonrel_tests {

namespace sonrel = orlo::sonrel;

/// The result of a request.
struct Mix {
    int result = 0;
    GuardedBuffer buffer;
    std::pair<short, short> operator[](int frame) const { return buffer.Frame(frame); }
};

/// The result of rendering one object or layer.
struct Rendered {
    int result = 0;
    std::vector<unsigned char> bytes;

    std::pair<short, short> operator[](int frame) const {
        short values[2];
        std::memcpy(values, bytes.data() + 4 * static_cast<std::size_t>(frame), sizeof(values));
        return {values[0], values[1]};
    }
    /// The frames that the result reports as valid, interleaved.
    Samples Valid() const {
        Samples values(result > 0 ? 2 * static_cast<std::size_t>(result) : 0);
        if (!values.empty()) std::memcpy(values.data(), bytes.data(), values.size() * 2);
        return values;
    }
    /// Frames in the bytes.
    int Capacity() const { return static_cast<int>(bytes.size() / 4); }
};

/// The mixer of an engine without database and cache. No dither until a test sets one.
class MixRig {
public:
    MixRig()
        : engine_(
              sonrel::Sonrel::Create(L"", L"", nullptr, sonrel::Sonrel::LogOption::NoErrorLog)) {
        Mixer().SetDither(sonrel::DitherType::None, 1);
    }

    sonrel::AudioMixer& Mixer() { return *engine_->Mixer(); }

    /// Mixes a sequence or a composition.
    template <class Timeline>
    Mix Request(const std::shared_ptr<project::Project>& project,
                const std::shared_ptr<Timeline>& timeline, long long start, int count,
                int rateOverride = 0, int sampleRate = 0) {
        Mix mix{0, GuardedBuffer(4 * static_cast<std::size_t>(count > 0 ? count : 0))};
        mix.result = Mixer().GetSamples(project, timeline, start, count, mix.buffer.Data(),
                                        mix.buffer.Size(), rateOverride, sampleRate);
        return mix;
    }
    /// Mixes the builder's sequence.
    Mix Request(const ProjectBuilder& builder, long long start, int count, int rateOverride = 0,
                int sampleRate = 0) {
        return Request(builder.Project(), builder.Sequence(), start, count, rateOverride,
                       sampleRate);
    }

    /// Renders an object of the builder's sequence at the sequence's rate.
    Rendered Render(const ProjectBuilder& builder,
                    const std::shared_ptr<project::AudioObject>& object, long long start, int count,
                    const zrtl::ZRID& stopAtEffect = {}) {
        Rendered rendered;
        rendered.result = Mixer().GetSamples(
            builder.Project(), builder.Sequence(), object, start, count,
            builder.Sequence()->Settings().AudioSampleRateValue(), rendered.bytes, stopAtEffect);
        return rendered;
    }

    /// Renders a layer at a rate.
    Rendered Render(const ProjectBuilder& builder,
                    const std::shared_ptr<project::AbstractLayer>& layer, int rate, long long start,
                    int count, const zrtl::ZRID& stopAtEffect = {}) {
        Rendered rendered;
        rendered.result = Mixer().GetSamples(builder.Project(), layer, start, count, rate,
                                             rendered.bytes, stopAtEffect);
        return rendered;
    }

private:
    std::shared_ptr<sonrel::Sonrel> engine_;
};

}  // namespace sonrel_tests
