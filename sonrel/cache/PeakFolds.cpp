// SPDX-License-Identifier: MIT
#include "sonrel/cache/detail/PeakFolds.h"

#include <algorithm>
#include <cmath>

#include "sonrel/base/Numbers.h"

namespace orlo::sonrel::detail {

namespace {

constexpr std::array<double, 256> MakeSquares() {
    std::array<double, 256> squares{};
    for (int r = 0; r < 256; ++r) squares[static_cast<std::size_t>(r)] = (r / 255.0) * (r / 255.0);
    return squares;
}

constexpr std::array<double, 256> SQUARES = MakeSquares();

/// @tparam CHANNELS  the channels, or 0 to use the argument
template <int CHANNELS>
void AddPeaks(const unsigned char* blocks, int count, int channelArgument, signed char* low,
              signed char* high) {
    const int channels = CHANNELS > 0 ? CHANNELS : channelArgument;
    for (int block = 0; block < count; ++block, blocks += PeakBlockBytes(channels)) {
        for (int channel = 0; channel < channels; ++channel) {
            const auto minimum = static_cast<signed char>(blocks[1 + 2 * channel]);
            const auto maximum = static_cast<signed char>(blocks[2 + 2 * channel]);
            low[channel] = std::min(low[channel], minimum);
            high[channel] = std::max(high[channel], maximum);
        }
    }
}

}  // namespace

void PeakFold::Add(const unsigned char* blocks, int count) {
    if (channels_ == 1) {
        AddPeaks<1>(blocks, count, channels_, low_.data(), high_.data());
    } else if (channels_ == 2) {
        AddPeaks<2>(blocks, count, channels_, low_.data(), high_.data());
    } else {
        AddPeaks<0>(blocks, count, channels_, low_.data(), high_.data());
    }
}

void PeakFold::EndPoint(std::vector<signed char>& points) {
    for (std::size_t channel = 0; channel < static_cast<std::size_t>(channels_); ++channel) {
        points.push_back(low_[channel]);
        points.push_back(high_[channel]);
    }
    low_.fill(0);
    high_.fill(0);
}

void RmsFold::Add(const unsigned char* blocks, int count) {
    for (int block = 0; block < count; ++block, blocks += blockBytes_) sum_ += SQUARES[*blocks];
    count_ += count;
}

void RmsFold::EndPoint(std::vector<unsigned char>& points) {
    const double rms = std::sqrt(sum_ / count_) * 255.0;
    points.push_back(static_cast<unsigned char>(zrtl::TruncToInt32(rms)));
    sum_ = 0.0;
    count_ = 0;
}

}  // namespace orlo::sonrel::detail
