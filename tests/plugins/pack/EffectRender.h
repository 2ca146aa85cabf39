// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "sonrel/plugins/AbstractPluginAudio.h"
#include "tests/support/ProjectBuilder.h"

namespace sonrel_tests {

using Effects = std::vector<std::shared_ptr<project::AbstractPluginAudio>>;

/// An object with a chain of effects, rendered the way the mix renders one: the effects are asked
/// from the last to the first which input they need, the source is read, and the effects run from
/// the first to the last on one buffer.
struct RenderedObject {
    Samples source;              ///< silence beyond its end
    long long objectOffset = 0;  ///< minus the in-point
    int rate = 48000;
    Effects effects;

    /// What the mix hears of @p count frames from object position @p first; empty where the object
    /// is silent because an effect asked for something before the source.
    Samples Render(long long first, int count) const;

    /// The same with every block of @p block frames rendered for itself.
    Samples RenderInBlocks(long long first, int count, int block) const;
};

/// The range that one effect asks for; the range to deliver where it asks for nothing.
project::SampleRange RequiredRange(project::AbstractPluginAudio& effect, int rate, long long first,
                                   int count, long long objectOffset);

/// The left channel.
Samples Left(const Samples& samples);

/// The right channel.
Samples Right(const Samples& samples);

/// The same values on both channels.
Samples Stereo(const Samples& values);

}  // namespace sonrel_tests
