// SPDX-License-Identifier: MIT
#include "sonrel/plugins/pack/detail/CellGains.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "sonrel/plugins/pack/detail/StereoSamples.h"

namespace orlo::sonrel::detail {
namespace {

/// A gain that is a straight line over the frames of a cell: first + n * step in frame n.
struct GainRamp {
    double first;
    double step;
};

/// @param to      first frame of the output, at or before @p from
/// @param from    first frame of the input
/// @param inside  number of this frame in its cell
void ApplyRamp(unsigned char* to, const unsigned char* from, long long frames, const GainRamp& gain,
               long long inside) {
    if (gain.first == 1.0 && gain.step == 0.0) {
        std::memmove(to, from, static_cast<std::size_t>(frames) * FRAME_BYTES);
        return;
    }
    for (long long i = 0; i < frames; ++i) {
        // Computed from the start of the cell: a block that begins inside it has the same gains.
        const double factor = gain.first + static_cast<double>(inside + i) * gain.step;
        WriteFrame(to, i, ReadFrame(from, i) * factor);
    }
}

}  // namespace

void ApplyGains(const EffectBlock& block, const Raster& cells, long long position,
                const std::vector<double>& gains) {
    const auto frames = static_cast<double>(cells.Frames());
    WriteSilence(block.samples, block.inputCount, block.lookBack + block.outputCount);
    long long inside = cells.Inside(position);
    long long done = 0;
    for (std::size_t cell = 0; done < block.outputCount; ++cell) {
        const GainRamp ramp{gains[cell], (gains[cell + 1] - gains[cell]) / frames};
        const long long count = std::min(cells.Frames() - inside, block.outputCount - done);
        ApplyRamp(block.samples + ByteOf(done), block.samples + ByteOf(block.lookBack + done),
                  count, ramp, inside);
        done += count;
        inside = 0;
    }
}

}  // namespace orlo::sonrel::detail
