// SPDX-License-Identifier: MIT
#include "sonrel/plugins/pack/detail/BlockFilter.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "sonrel/plugins/pack/detail/FourFrames.h"

namespace orlo::sonrel::detail {
namespace {

static_assert(FILTER_BLOCK_FRAMES == FRAMES_AT_ONCE);

/// The latest inputs and outputs of a filter; zero at rest.
struct FilterState {
    double inputs[CHANNELS * FRAMES_AT_ONCE] = {};
    double outputs[CHANNELS * FRAMES_AT_ONCE] = {};
};

/// Eight consecutive frames.
template <typename L>
struct EightFrames {
    static constexpr int NOW = FourFrames<L>::PARTS;  ///< the first part of the later four frames

    typename L::Doubles parts[2 * NOW];
};

/// The frames K places before the frames of a part.
template <int K, typename L>
SONREL_ALWAYS_INLINE void Earlier(const EightFrames<L>& frames, int part,
                                  typename L::Doubles& earlier) {
    if constexpr (K % FourFrames<L>::FRAMES_OF_PART == 0) {
        earlier = frames.parts[part - K / FourFrames<L>::FRAMES_OF_PART];
    } else {
        const int before = part - (K + 1) / 2;
        earlier =
            __builtin_shufflevector(frames.parts[before], frames.parts[before + 1], 2, 3, 4, 5);
    }
}

/// Part by part: a copy of the whole keeps the frames out of the registers.
template <typename L>
SONREL_ALWAYS_INLINE void LoadFour(FourFrames<L>& frames, const double* values) {
    for (auto& part : frames.parts) {
        Load(part, values);
        values += L::DOUBLE_COUNT;
    }
}

template <typename L>
SONREL_ALWAYS_INLINE void StoreFour(double* values, const FourFrames<L>& frames) {
    for (const auto& part : frames.parts) {
        Store(values, part);
        values += L::DOUBLE_COUNT;
    }
}

/// Puts one frame of a vector into all its frames.
template <int FRAME, typename L>
SONREL_ALWAYS_INLINE void SpreadFrame(const typename L::Doubles& frames,
                                      typename L::Doubles& spread) {
    if constexpr (FourFrames<L>::FRAMES_OF_PART == 1) {
        spread = frames;
    } else {
        spread = __builtin_shufflevector(frames, frames, 2 * FRAME, 2 * FRAME + 1, 2 * FRAME,
                                         2 * FRAME + 1);
    }
}

/// A factor for each frame of a block, for both channels.
template <typename L>
SONREL_ALWAYS_INLINE void SpreadFactors(const double* factors, FourFrames<L>& spread) {
    double values[CHANNELS * FRAMES_AT_ONCE];
    for (int i = 0; i < CHANNELS * FRAMES_AT_ONCE; ++i) values[i] = factors[i / CHANNELS];
    LoadFour(spread, values);
}

/// The factors of a filter in all lanes.
template <typename L>
struct FilterFactors {
    typename L::Doubles b0, b1, b2;
    typename L::Doubles input1, input2, input3;
    FourFrames<L> last;
    FourFrames<L> oneBefore;

    SONREL_ALWAYS_INLINE explicit FilterFactors(const BlockFilter& filter) {
        Spread(filter.b0, b0);
        Spread(filter.b1, b1);
        Spread(filter.b2, b2);
        Spread(filter.fromInput[1], input1);
        Spread(filter.fromInput[2], input2);
        Spread(filter.fromInput[3], input3);
        SpreadFactors<L>(filter.fromLast, last);
        SpreadFactors<L>(filter.fromOneBefore, oneBefore);
    }
};

/// The filter without its feedback.
template <typename L>
SONREL_ALWAYS_INLINE void FilterInputs(const FilterFactors<L>& factors, const EightFrames<L>& input,
                                       EightFrames<L>& filtered) {
    for (int part = input.NOW; part < 2 * input.NOW; ++part) {
        typename L::Doubles input1;
        typename L::Doubles input2;
        Earlier<1>(input, part, input1);
        Earlier<2>(input, part, input2);
        filtered.parts[part] =
            input.parts[part] * factors.b0 + input1 * factors.b1 + input2 * factors.b2;
    }
}

/// Adds the response of a part to the filtered inputs K frames before its own; nothing where they
/// are before the block.
template <int PART, int K, typename L>
SONREL_ALWAYS_INLINE void AddResponse(const EightFrames<L>& filtered,
                                      const typename L::Doubles& factor,
                                      typename L::Doubles& response) {
    if constexpr ((PART + 1) * FourFrames<L>::FRAMES_OF_PART > K) {
        typename L::Doubles earlier;
        Earlier<K>(filtered, filtered.NOW + PART, earlier);
        response += earlier * factor;
    }
}

/// The outputs before a block, in all frames of a part.
template <typename L>
struct LastOutputs {
    typename L::Doubles last;
    typename L::Doubles oneBefore;

    SONREL_ALWAYS_INLINE explicit LastOutputs(const FourFrames<L>& outputs) {
        constexpr int FRAMES = FourFrames<L>::FRAMES_OF_PART;
        SpreadFrame<(FRAMES_AT_ONCE - 1) % FRAMES, L>(outputs.parts[(FRAMES_AT_ONCE - 1) / FRAMES],
                                                      last);
        SpreadFrame<(FRAMES_AT_ONCE - 2) % FRAMES, L>(outputs.parts[(FRAMES_AT_ONCE - 2) / FRAMES],
                                                      oneBefore);
    }
};

/// The outputs of a part.
/// @param filtered  zero in the first four frames
template <int PART, typename L>
SONREL_ALWAYS_INLINE void FilterPart(const FilterFactors<L>& factors,
                                     const EightFrames<L>& filtered, const LastOutputs<L>& outputs,
                                     typename L::Doubles& part) {
    part = filtered.parts[filtered.NOW + PART];
    AddResponse<PART, 1>(filtered, factors.input1, part);
    AddResponse<PART, 2>(filtered, factors.input2, part);
    AddResponse<PART, 3>(filtered, factors.input3, part);
    part += outputs.oneBefore * factors.oneBefore.parts[PART];
    part += outputs.last * factors.last.parts[PART];
}

/// @param outputs  outputs of the block before; replaced
template <typename L, int... PART>
SONREL_ALWAYS_INLINE void FilterBlock(const FilterFactors<L>& factors,
                                      const EightFrames<L>& filtered, FourFrames<L>& outputs,
                                      [[maybe_unused]] std::integer_sequence<int, PART...> parts) {
    const LastOutputs<L> before(outputs);
    (FilterPart<PART>(factors, filtered, before, outputs.parts[PART]), ...);
}

/// Filters whole blocks.
/// @tparam WRITES  false: the outputs are not needed, only the state after them
template <bool WRITES>
struct FilterKernel {
    using Signature = void(const BlockFilter& filter, FilterState& state,
                           const unsigned char* input, long long blocks, unsigned char* output);
    static constexpr CpuPath WIDEST = CpuPath::Avx2;

    template <typename L>
    SONREL_ALWAYS_INLINE static void Run(const BlockFilter& filter, FilterState& state,
                                         const unsigned char* input, long long blocks,
                                         unsigned char* output) {
        const FilterFactors<L> factors(filter);
        EightFrames<L> inputs;
        EightFrames<L> filtered{};
        FourFrames<L> now;
        FourFrames<L> outputs;
        LoadFour(now, state.inputs);
        LoadFour(outputs, state.outputs);
        for (; blocks > 0; --blocks) {
            std::copy(now.parts, now.parts + inputs.NOW, inputs.parts);
            ReadFour(input, now);
            std::copy(now.parts, now.parts + inputs.NOW, inputs.parts + inputs.NOW);
            FilterInputs(factors, inputs, filtered);
            FilterBlock(factors, filtered, outputs, LANE_NUMBERS<inputs.NOW>);
            input += ByteOf(FRAMES_AT_ONCE);
            if constexpr (!WRITES) continue;
            WriteFour(output, outputs);
            output += ByteOf(FRAMES_AT_ONCE);
        }
        StoreFour(state.inputs, now);
        StoreFour(state.outputs, outputs);
    }
};

constexpr auto SETTLE = KernelsOf<FilterKernel<false>>();
constexpr auto FILTER = KernelsOf<FilterKernel<true>>();

/// A block at an end of the sound, or across the first frame of output.
struct EdgeBlock {
    const unsigned char* input;
    long long frames;    // of the input; silence follows
    long long skip = 0;  // frames before the first frame of output
};

void FilterEdge(const BlockFilter& filter, FilterState& state, const EdgeBlock& edge,
                unsigned char* output) {
    unsigned char block[FRAMES_AT_ONCE * FRAME_BYTES] = {};
    std::memcpy(block, edge.input, static_cast<std::size_t>(ByteOf(edge.frames)));
    FILTER.Active()(filter, state, block, 1, block);
    std::memcpy(output, block + ByteOf(edge.skip),
                static_cast<std::size_t>(ByteOf(edge.frames - edge.skip)));
}

}  // namespace

BlockFilter::BlockFilter(const BiquadCoefficients& c) : b0(c.b0), b1(c.b1), b2(c.b2) {
    double response[FRAMES_AT_ONCE + 1] = {1.0, -c.a1};
    for (int i = 2; i <= FRAMES_AT_ONCE; ++i) {
        response[i] = -c.a1 * response[i - 1] - c.a2 * response[i - 2];
    }
    for (int i = 0; i < FRAMES_AT_ONCE; ++i) {
        fromInput[i] = response[i];
        fromLast[i] = response[i + 1];
        fromOneBefore[i] = -c.a2 * response[i];
    }
}

void BlockFilter::Run(unsigned char* samples, long long lookBack, long long count) const {
    const long long end = lookBack + count;
    const long long skip = lookBack % FRAMES_AT_ONCE;
    FilterState state;
    SETTLE.Active()(*this, state, samples, lookBack / FRAMES_AT_ONCE, nullptr);
    long long at = lookBack - skip;
    unsigned char* output = samples;
    if (skip > 0) {
        const long long frames = std::min<long long>(FRAMES_AT_ONCE, end - at);
        FilterEdge(*this, state, {samples + ByteOf(at), frames, skip}, output);
        at += frames;
        output += ByteOf(frames - skip);
    }
    const long long blocks = (end - at) / FRAMES_AT_ONCE;
    FILTER.Active()(*this, state, samples + ByteOf(at), blocks, output);
    at += blocks * FRAMES_AT_ONCE;
    output += ByteOf(blocks * FRAMES_AT_ONCE);
    if (at < end) FilterEdge(*this, state, {samples + ByteOf(at), end - at}, output);
}

}  // namespace orlo::sonrel::detail
