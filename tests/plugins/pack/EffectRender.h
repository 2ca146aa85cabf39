// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "sonrel/plugins/AbstractPluginAudio.h"
#include "tests/support/ProjectBuilder.h"

namespace sonrel_tests {

/// The direction of a cross-fade for the object that is entered, and for the object that is left.
inline constexpr int ENTERED = 1;
inline constexpr int LEFT = 2;

using Effects = std::vector<std::shared_ptr<project::AbstractPluginAudio>>;

/// An object with a chain of effects, rendered as in a mix: RequiredRanges of the effects from the
/// last to the first, a read of the source, and ProcessAudio from the first to the last on one
/// buffer.
struct RenderedObject {
    Samples source;              ///< silence follows
    long long objectOffset = 0;  ///< minus the in-point
    int rate = 48000;
    Effects effects;

    /// The output of the chain for @p count frames from object position @p first; empty if the
    /// object is silent because an effect requested frames before the source.
    Samples Render(long long first, int count) const;

    /// The output in separate blocks of @p block frames.
    Samples RenderInBlocks(long long first, int count, int block) const;
};

/// The range that one effect requests; the range to deliver if it requests none.
project::SampleRange RequiredRange(project::AbstractPluginAudio& effect, int rate, long long first,
                                   int count, long long objectOffset);

/// The left channel.
Samples Left(const Samples& samples);

/// The right channel.
Samples Right(const Samples& samples);

/// The same values on both channels.
Samples Stereo(const Samples& values);

}  // namespace sonrel_tests
