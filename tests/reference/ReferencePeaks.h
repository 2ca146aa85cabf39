// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "sonrel/base/Timing.h"
#include "sonrel/base/ZRMediaTypes.h"
#include "sonrel/cache/PeakFile.h"

/// The reference of peak files: the documented rules, one sample and one byte after the other.
namespace orlo::sonrel::reference {

/// Minimum and maximum of each channel, and RMS.
struct BlockPeaks {
    explicit BlockPeaks(int channels) : limits(static_cast<std::size_t>(channels)) {}

    std::vector<std::pair<double, double>> limits;
    double rms = 0.0;
};

template <class Number>
Number NumberAt(const unsigned char* at) {
    Number number;
    std::memcpy(&number, at, sizeof number);
    return number;
}

inline double Limited(double x) {
    if (x > 1.0) return 1.0;
    if (x < -1.0) return -1.0;
    return x;
}

/// The value of a stored sample. @return false for a sample without a value
inline bool ValueOf(zrh::media::ZRSampleDataType type, int bits, const unsigned char* at,
                    double* x) {
    if (type == zrh::media::ZRSampleDataType::Integer && bits == 8) {
        const double v = at[0] / 255.0 - 0.5;
        *x = Limited(v + v);
    } else if (type == zrh::media::ZRSampleDataType::Integer && bits == 16) {
        *x = Limited(NumberAt<std::int16_t>(at) / 32767.0);
    } else if (type == zrh::media::ZRSampleDataType::Integer && bits == 24) {
        unsigned char word[4] = {0, at[0], at[1], at[2]};
        *x = Limited(NumberAt<std::int32_t>(word) / 2147483391.0);
    } else if (type == zrh::media::ZRSampleDataType::Integer && bits == 32) {
        *x = Limited(NumberAt<std::int32_t>(at) / 2147483647.0);
    } else if (type == zrh::media::ZRSampleDataType::Float && bits == 32) {
        *x = NumberAt<float>(at);
    } else if (type == zrh::media::ZRSampleDataType::Float && bits == 64) {
        *x = NumberAt<double>(at);
    } else {
        return false;
    }
    return true;
}

/// Analyses a block; samples without a value leave @p peaks unchanged.
inline void Analyse(zrh::media::ZRSampleDataType type, int bits, const unsigned char* samples,
                    int channels, int frames, BlockPeaks* peaks) {
    double x = 0.0;
    if (!ValueOf(type, bits, samples, &x)) return;
    for (auto& limit : peaks->limits) limit = {0.0, 0.0};
    double sum = 0.0;
    for (int frame = 0; frame < frames; ++frame) {
        for (auto& [low, high] : peaks->limits) {
            ValueOf(type, bits, samples, &x);
            samples += bits / 8;
            if (x > high) {
                high = x;
            } else if (low > x) {
                low = x;
            }
            sum += x * x;
        }
    }
    peaks->rms = std::sqrt(sum / static_cast<double>(channels * frames));
}

inline unsigned char LowByte(double value) {
    return static_cast<unsigned char>(static_cast<std::uint32_t>(zrtl::TruncToInt32(value)) & 255);
}

/// RMS, then minimum and maximum of each channel.
inline std::vector<unsigned char> Quantised(const BlockPeaks& peaks) {
    std::vector<unsigned char> bytes{LowByte(peaks.rms * 255.0)};
    for (const auto& [low, high] : peaks.limits) {
        bytes.push_back(LowByte(low * 127.0));
        bytes.push_back(LowByte(high * 127.0));
    }
    return bytes;
}

/// The reader of a file with a valid header.
class PeakReader {
public:
    PeakReader(const std::string& path, int channels, int blocks)
        : file_(std::fopen(path.c_str(), "rb")), channels_(channels), blocks_(blocks) {}
    ~PeakReader() {
        if (file_ != nullptr) std::fclose(file_);
    }
    PeakReader(const PeakReader&) = delete;
    PeakReader& operator=(const PeakReader&) = delete;

    PeakFile::Result GetChannelPeaks(int first, int end, double step,
                                     std::vector<signed char>& peaks) {
        std::vector<std::pair<signed char, signed char>> point;
        return Walk(
            first, end, step, peaks,
            [&] {
                point.assign(static_cast<std::size_t>(channels_), {0, 0});
            },
            [&] {
                if (std::fseek(file_, 1, SEEK_CUR) != 0) return false;
                for (auto& [low, high] : point) {
                    signed char least = 0;
                    signed char most = 0;
                    if (std::fread(&least, 1, 1, file_) != 1) return false;
                    if (std::fread(&most, 1, 1, file_) != 1) return false;
                    if (least < low) low = least;
                    if (most > high) high = most;
                }
                return true;
            },
            [&] {
                for (const auto& [low, high] : point) {
                    peaks.push_back(low);
                    peaks.push_back(high);
                }
            });
    }

    PeakFile::Result GetRMSAmplitude(int first, int end, double step,
                                     std::vector<unsigned char>& amplitudes) {
        double sum = 0.0;
        int count = 0;
        return Walk(
            first, end, step, amplitudes, [&] { sum = count = 0; },
            [&] {
                unsigned char r = 0;
                if (std::fread(&r, 1, 1, file_) != 1) return false;
                if (std::fseek(file_, 2 * channels_, SEEK_CUR) != 0) return false;
                sum += (r / 255.0) * (r / 255.0);
                ++count;
                return true;
            },
            [&] { amplitudes.push_back(LowByte(std::sqrt(sum / count) * 255.0)); });
    }

private:
    template <class Points, class Begin, class ReadBlock, class End>
    PeakFile::Result Walk(int first, int end, double step, Points& points, Begin begin,
                          ReadBlock readBlock, End endPoint) {
        if (file_ == nullptr) return PeakFile::Result::NotOpen;
        if (first < 0 || end > blocks_ || !(step >= 1.0)) {
            return PeakFile::Result::InvalidArgument;
        }
        points.clear();
        if (std::fseek(file_, (1 + 2 * channels_) * static_cast<long>(first) + 20, SEEK_SET) != 0) {
            return PeakFile::Result::ReadFailed;
        }
        if (first >= end) return PeakFile::Result::Ok;
        int block = first;
        double position = first;
        for (;;) {
            position += step;
            double limit = zrtl::RoundHalfAway(position);
            if (limit > blocks_) limit = blocks_;
            begin();
            for (; block < limit; ++block) {
                if (!readBlock()) return PeakFile::Result::ReadFailed;
            }
            endPoint();
            if (block >= end) return PeakFile::Result::Ok;
        }
    }

    std::FILE* file_;
    int channels_;
    int blocks_;
};

}  // namespace orlo::sonrel::reference
