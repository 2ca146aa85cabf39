// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <optional>
#include <vector>

#include "sonrel/conformed/ConformedAudioFile.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/mixer/SampleConverter.h"
#include "sonrel/mixer/detail/FailedReadLog.h"
#include "sonrel/mixer/detail/MixBlockPool.h"
#include "sonrel/mixer/detail/MixMeters.h"
#include "sonrel/mixer/detail/Resampler.h"
#include "sonrel/mixer/detail/SampleBufferPool.h"

namespace orlo::sonrel {

/// The state of a mixer between calls.
struct AudioMixerImpl {
    std::vector<project::ConformedAudioFile> conformedFiles;  ///< most recently used first
    detail::MixBlockPool floatBlocks;
    detail::SampleBufferPool sampleBuffers;
    DitherType ditherType = DitherType::HighPassTriangular;
    unsigned int ditherSeed = 0;  ///< 0 asks for one from the clock at each reset
    SampleConverter converter{DitherType::HighPassTriangular, 0};
    detail::MixMeters meters;
    std::mutex mutex;  ///< guards reads of the project, never a rendering
    detail::Resampler resampler;
    detail::FailedReadLog failedReads;
    /// First sample of the outermost mix block under way; none while an asset is read directly,
    /// which threads may do side by side.
    std::optional<long long> requestBlock;
    /// Set while NoiseSamples runs: the stages of a mix add the frames that they would convert to
    /// 16 bits, and read and render nothing.
    long long* noiseSamples = nullptr;

    bool OnlyCounts() const { return noiseSamples != nullptr; }
};

/// The engine's own way to a mixer's state.
struct AudioMixerAccess {
    static AudioMixerImpl& Impl(const AudioMixer& mixer) { return *mixer.impl_; }
};

}  // namespace orlo::sonrel
