// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/Resampler.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <mutex>
#include <vector>

#include "sonrel/mixer/detail/ResamplerKernels.h"
#include "sonrel/mixer/detail/ResamplerTables.h"

// The output is defined by a formula: 49 taps per frame, each with a cosine, a sine and a division,
// and a sum in a fixed order (ResamplerFormula.h). This file returns the same samples 20 to 90
// times as fast. The idea: a sample is the sum cut to a whole number, so an approximate sum gives
// the same sample unless it is very near a whole number.
//
// - Positions. The position of a frame is computed exactly as the formula does. A batch is a number
//   of frames whose positions are regular: no tap index is negative, and position + tap keeps the
//   whole part of the position. A frame without a regular position is computed by the formula.
// - Weights. The weight of a tap depends only on the fraction of the position. A rate has two
//   tables: rows with the formula's own weights for 64 fractions, for speeds that are multiples of
//   1/64, and polynomials of degree 4 on 64 intervals for all other speeds (ResamplerTables.h).
// - Sums. The kernels add the products in any order, fused or not, as wide as the processor allows
//   (ResamplerKernels.cpp). ROW_MARGIN and POLYNOMIAL_MARGIN bound the distance to the formula's
//   sum.
// - Decision. A sum within its margin of a whole number other than 0 is undecided, and the formula
//   computes this frame. About one frame in 12,000 is undecided with the polynomials.
//
// The number 0 is not a border, because sums are cut toward zero from both sides: silence costs
// nothing more than sound. resampler_proof compares the result with the formula on millions of
// frames.
namespace orlo::sonrel::detail {

struct ResamplerImpl {
    std::mutex lock;                                             // guards tables
    std::vector<std::shared_ptr<const ResamplerTables>> tables;  // newest last
};

namespace {

// A project has one rate, and its compositions may add others. Tables of further rates are made
// again when needed.
constexpr std::size_t KEPT_TABLES = 4;

// Positions from here on are regular: no tap index is negative, so that none is cut upward to 0,
// and k + position is exact or rounds to a grid on which it keeps its whole part, except just below
// a whole number, which IsRegular tests.
constexpr double FIRST_REGULAR_POSITION = 32.0;
constexpr double LAST_REGULAR_POSITION = 2147483000.0;

std::shared_ptr<const ResamplerTables> TablesOfRate(ResamplerImpl& impl, int rate) {
    const std::lock_guard<std::mutex> guard(impl.lock);
    for (const auto& tables : impl.tables) {
        if (tables->rate == rate) return tables;
    }
    if (impl.tables.size() == KEPT_TABLES) impl.tables.erase(impl.tables.begin());
    impl.tables.push_back(std::make_shared<const ResamplerTables>(rate));
    return impl.tables.back();
}

// The arguments of one call, and the tables and kernels for it.
struct ResampleRequest {
    const ResamplerTables& tables;
    const ResamplerKernels& kernels;
    bool rows;
    double speed;
    const short* source;
    int sourceOffset;
    int sourceCount;
    short* output;

    double PositionOf(int i) const { return FramePosition(i, speed, sourceOffset); }
    void ByFormula(int i) const {
        ResampleFrame(tables.cutoff, PositionOf(i), source, sourceCount,
                      output + 2 * static_cast<std::ptrdiff_t>(i));
    }
};

bool IsRegular(double position) {
    return position >= FIRST_REGULAR_POSITION && position < LAST_REGULAR_POSITION;
}

// Frames from @p first on, at most @p limit, that form one batch: all regular and within one span.
// 0 if the first of them is not regular. Positions rise or fall steadily, so the two ends decide.
int BatchLength(const ResampleRequest& request, int first, int limit) {
    const double start = request.PositionOf(first);
    if (!IsRegular(start)) return 0;
    int count = std::min(limit, BATCH_FRAMES);
    while (count > 1) {
        const double end = request.PositionOf(first + count - 1);
        if (IsRegular(end) && std::fabs(end - start) < BATCH_SPAN - ROW_LENGTH - 2) break;
        count /= 2;
    }
    return count;
}

// Takes the source frames that the batch needs, up to @p to; frames after the source are silence.
// None is before it: all positions are regular.
void LoadSource(const ResampleRequest& request, int to, TapBatch& batch) {
    const int from = batch.firstSourceFrame;
    const int valid = std::clamp(request.sourceCount, from, to) - from;
    if (valid > 0) {
        request.kernels.splitChannels(request.source + 2 * static_cast<std::ptrdiff_t>(from), valid,
                                      batch);
    }
    std::fill(batch.left + valid, batch.left + (to - from), 0.0);
    std::fill(batch.right + valid, batch.right + (to - from), 0.0);
}

void ResampleBatch(const ResampleRequest& request, int first, int count) {
    TapBatch batch;
    batch.first = first;
    batch.count = count;
    const auto [lowest, highest] =
        std::minmax({request.PositionOf(first), request.PositionOf(first + count - 1)});
    batch.firstSourceFrame = static_cast<int>(lowest) + FIRST_TAP;
    LoadSource(request, static_cast<int>(highest) + FIRST_TAP + ROW_LENGTH, batch);
    const ResamplerKernels& kernels = request.kernels;
    kernels.placeTaps(request.speed, request.sourceOffset, batch);
    (request.rows ? kernels.sumWithRows : kernels.sumWithPolynomials)(request.tables, batch);
    if (count % 2 != 0) {  // the other half of the last vector
        batch.sums[2 * count] = 0.0;
        batch.sums[2 * count + 1] = 0.0;
    }

    short* output = request.output + 2 * static_cast<std::ptrdiff_t>(first);
    if (!kernels.storeSums(request.rows ? ROW_MARGIN : POLYNOMIAL_MARGIN, output, batch)) return;
    for (int i = 0; i < count; ++i) {
        if (batch.undecided[2 * i] != 0 || batch.undecided[2 * i + 1] != 0) {
            request.ByFormula(first + i);
        }
    }
}

}  // namespace

Resampler::Resampler() : impl_(std::make_unique<ResamplerImpl>()) {}
Resampler::~Resampler() = default;

void Resampler::ResampleStereo(int rate, double speed, const short* source, int sourceOffset,
                               int sourceCount, short* output, int outputCount) {
    if (rate < 2) {
        const double cutoff = ResamplerCutoff(rate);
        for (int i = 0; i < outputCount; ++i) {
            ResampleFrame(cutoff, FramePosition(i, speed, sourceOffset), source, sourceCount,
                          output + 2 * static_cast<std::ptrdiff_t>(i));
        }
        return;
    }
    const auto tables = TablesOfRate(*impl_, rate);
    const double rowSpeed = speed * ROW_COUNT;
    const bool rows = rowSpeed == std::floor(rowSpeed) && std::fabs(speed) < 65536.0;
    const ResampleRequest request{
        *tables, RESAMPLER_KERNELS.Active(), rows, speed, source, sourceOffset, sourceCount,
        output};
    for (int i = 0; i < outputCount;) {
        const int count = BatchLength(request, i, outputCount - i);
        if (count == 0) {
            request.ByFormula(i);
            ++i;
        } else {
            ResampleBatch(request, i, count);
            i += count;
        }
    }
}

}  // namespace orlo::sonrel::detail
