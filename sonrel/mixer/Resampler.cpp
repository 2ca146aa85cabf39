// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/Resampler.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <mutex>
#include <vector>

#include "sonrel/mixer/detail/ResamplerKernels.h"
#include "sonrel/mixer/detail/ResamplerTables.h"

namespace orlo::sonrel::detail {

struct ResamplerImpl {
    std::mutex lock;                                             // guards tables
    std::vector<std::shared_ptr<const ResamplerTables>> tables;  // last made last
};

namespace {

// A project has one rate, its compositions may add some. More than that are made again when needed.
constexpr std::size_t KEPT_TABLES = 4;

// Positions from here on are regular: no tap index is negative, so that none is cut upward to 0,
// and k + position is exact or rounds to a grid on which it keeps its whole part, except just below
// a whole number, which IsRegular tests.
constexpr double FIRST_REGULAR_POSITION = 32.0;
constexpr double LAST_REGULAR_POSITION = 2147483000.0;

// Source frames of one batch, channel by channel, and room for the zero taps of the last frame.
constexpr int BATCH_SPAN = 1280;

// Adding and subtracting this rounds a double of moderate size to the nearest whole number.
constexpr double ROUNDER = 6755399441055744.0;  // 1.5 * 2^52

std::shared_ptr<const ResamplerTables> TablesOfRate(ResamplerImpl& impl, int rate) {
    const std::lock_guard<std::mutex> guard(impl.lock);
    for (const auto& tables : impl.tables) {
        if (tables->rate == rate) return tables;
    }
    if (impl.tables.size() == KEPT_TABLES) impl.tables.erase(impl.tables.begin());
    impl.tables.push_back(std::make_shared<const ResamplerTables>(rate));
    return impl.tables.back();
}

// Everything about one call that its stages share.
struct Request {
    const ResamplerTables& tables;
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
// 0 if the first of them isn't regular. Positions rise or fall steadily, so the two ends tell.
int BatchLength(const Request& request, int first, int limit) {
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

// Splits frames @p from to @p to of the source into channels; frames outside it are silence.
void SplitChannels(const Request& request, int from, int to, double* left, double* right) {
    const int validFrom = std::clamp(0, from, to);
    const int validTo = std::clamp(request.sourceCount, validFrom, to);
    const auto silence = [&](int begin, int end) {
        std::fill(left + (begin - from), left + (end - from), 0.0);
        std::fill(right + (begin - from), right + (end - from), 0.0);
    };
    silence(from, validFrom);
    for (int i = validFrom; i < validTo; ++i) {
        left[i - from] = request.source[2 * static_cast<std::ptrdiff_t>(i)];
        right[i - from] = request.source[2 * static_cast<std::ptrdiff_t>(i) + 1];
    }
    silence(validTo, to);
}

void ResampleBatch(const Request& request, const ResamplerKernels& kernels, bool rows, int first,
                   int count) {
    TapBatch batch;
    batch.count = count;
    const double ends[2] = {request.PositionOf(first), request.PositionOf(first + count - 1)};
    const int from = static_cast<int>(std::min(ends[0], ends[1])) + FIRST_TAP;
    const int to = static_cast<int>(std::max(ends[0], ends[1])) + FIRST_TAP + ROW_LENGTH;
    bool roundsUp[BATCH_FRAMES];
    for (int i = 0; i < count; ++i) {
        const double position = request.PositionOf(first + i);
        const int whole = static_cast<int>(position);
        const double fraction = position - whole;
        const int interval = static_cast<int>(fraction * INTERVAL_COUNT);
        batch.firstTap[i] = whole + FIRST_TAP - from;
        batch.table[i] = interval;
        batch.t[i] = fraction - (interval + 0.5) * (1.0 / INTERVAL_COUNT);
        roundsUp[i] = static_cast<int>(position + LAST_TAP) != whole + LAST_TAP;
    }

    alignas(64) double left[BATCH_SPAN];
    alignas(64) double right[BATCH_SPAN];
    SplitChannels(request, from, to, left, right);
    (rows ? kernels.sumWithRows : kernels.sumWithPolynomials)(request.tables, left, right, batch);

    const double margin = rows ? ROW_MARGIN : POLYNOMIAL_MARGIN;
    short* output = request.output + 2 * static_cast<std::ptrdiff_t>(first);
    for (int i = 0; i < count; ++i) {
        bool decided = !roundsUp[i];
        for (int channel = 0; channel < 2; ++channel) {
            const double sum = batch.sums[2 * i + channel];
            const double nearest = (sum + ROUNDER) - ROUNDER;
            decided &= !(std::fabs(sum - nearest) < margin) | (nearest == 0.0);
            output[2 * i + channel] =
                static_cast<short>(static_cast<std::uint16_t>(static_cast<int>(sum)));
        }
        if (!decided) request.ByFormula(first + i);
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
    const Request request{*tables, speed, source, sourceOffset, sourceCount, output};
    const ResamplerKernels& kernels = KernelsOfPath(ActiveCpuPath());
    const double rowSpeed = speed * ROW_COUNT;
    const bool rows = rowSpeed == std::floor(rowSpeed) && std::fabs(speed) < 65536.0;
    for (int i = 0; i < outputCount;) {
        const int count = BatchLength(request, i, outputCount - i);
        if (count == 0) {
            request.ByFormula(i);
            ++i;
        } else {
            ResampleBatch(request, kernels, rows, i, count);
            i += count;
        }
    }
}

}  // namespace orlo::sonrel::detail
