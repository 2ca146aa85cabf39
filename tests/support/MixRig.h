// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "sonrel/engine/Sonrel.h"
#include "sonrel/mixer/AudioMixer.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/ProjectBuilder.h"

namespace sonrel_tests {

namespace sonrel = orlo::sonrel;

/// What a request gave.
struct Mix {
    int result = 0;
    GuardedBuffer buffer;
    std::pair<short, short> operator[](int frame) const { return buffer.Frame(frame); }
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

private:
    std::shared_ptr<sonrel::Sonrel> engine_;
};

}  // namespace sonrel_tests
