// SPDX-License-Identifier: MIT
#pragma once

#include <boost/shared_array.hpp>

#include "sonrel/mixer/detail/MixBlockPool.h"
#include "sonrel/mixer/detail/PropertyReaders.h"
#include "sonrel/mixer/detail/Quantiser.h"

namespace orlo::sonrel {
class SampleConverter;
}

namespace orlo::sonrel::detail {

/// The sum of the layers in one block of a composition, and its conversion to 16 bits.
///
/// Most compositions inside other compositions have a single layer at a constant level in a block.
/// Its samples are converted directly, with the same result as through the float block.
class LayerSum {
public:
    /// Takes a float block.
    /// @param frames  length of the block
    LayerSum(MixBlockPool& pool, int frames) : pool_(pool), taken_(pool.Take()), frames_(frames) {}

    /// Adds a layer. Its samples must stay valid until ReleaseSamples or Convert.
    /// @param samples  2 * count values, left first
    /// @param count    at most the length of the block
    void Add(const short* samples, int count, const BlockLevels& levels);

    /// Ends the use of the samples of the layer before.
    void ReleaseSamples() {
        if (single_.samples != nullptr) Values();
    }

    /// The sum as 2 * frames values.
    float* Values();

    /// @param output  room for 2 * frames samples
    void Convert(SampleConverter& converter, short* output);

private:
    MixBlockPool& pool_;
    const int taken_;
    const int frames_;
    ScaledFrames single_;                ///< of the only layer; without samples when there is none
    boost::shared_array<float> floats_;  ///< null until the float block is needed
};

}  // namespace orlo::sonrel::detail
