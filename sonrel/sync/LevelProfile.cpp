// SPDX-License-Identifier: MIT
#include "sonrel/sync/LevelProfile.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "sonrel/base/Timing.h"
#include "sonrel/cache/PeakFile.h"
#include "sonrel/project/MediaAudioStream.h"
#include "sonrel/sync/AudioSync.h"

namespace orlo::sonrel {
namespace {

using zrtl::FrameRange;

constexpr double FULL_RMS = 255.0;
constexpr double FULL_PEAK = 127.0;
constexpr std::size_t MAX_ENVELOPE = std::size_t{1} << 20;  // values: limits the memory

/// How much louder each moment is than the moment before, with quiet moments raised.
std::vector<float> Onsets(const LevelProfile& levels, std::size_t binsInOne, std::size_t count) {
    const std::vector<float> bins = levels.Bins();
    std::vector<float> onsets(count, 0.0f);
    float before = 0.0f;
    for (std::size_t i = 0; i * binsInOne < bins.size() && i < count; ++i) {
        float sum = 0.0f;
        const std::size_t end = std::min(bins.size(), (i + 1) * binsInOne);
        for (std::size_t bin = i * binsInOne; bin < end; ++bin) sum += bins[bin];
        const float level = std::sqrt(sum);
        if (i > 0) onsets[i] = level - before;
        before = level;
    }
    return onsets;
}

/// Windows of a second begin at every half second.
std::vector<FrameRange> SecondsOf(long long begin, long long end, long long frames, int rate) {
    std::vector<FrameRange> places;
    for (long long start = begin; start < end; start += std::max(1, rate / 2)) {
        const long long fitting = std::max(0LL, std::min(start, frames - rate));
        places.push_back({fitting, fitting + std::min<long long>(rate, frames)});
    }
    return places;
}

template <class Level>
const FrameRange* Loudest(const std::vector<FrameRange>& places, const Level& level) {
    const FrameRange* loudest = nullptr;
    double best = 0.0;
    for (const FrameRange& place : places) {
        const double here = level(place);
        if (here <= best) continue;
        best = here;
        loudest = &place;
    }
    return loudest;
}

}  // namespace

std::optional<LevelProfile> LevelProfile::Read(const project::MediaAudioStream& stream, int rate) {
    LevelProfile profile;
    profile.rate_ = rate;
    profile.energy_ = {0.0};
    PeakFile file;
    if (!file.Open(stream.WaveformPeakFilePath())) {
        if (stream.NativeSampleCount() > 0) return std::nullopt;
        return profile;
    }
    const double step = std::max(1.0, static_cast<double>(stream.NativeSampleRate()) /
                                          BINS_PER_SECOND / file.SamplesPerBlock());
    const int blocks = file.BlockCount();
    std::vector<unsigned char> amplitudes;
    std::vector<signed char> peaks;
    if (file.GetRMSAmplitude(0, blocks, step, amplitudes) != PeakFile::Result::Ok ||
        file.GetChannelPeaks(0, blocks, step, peaks) != PeakFile::Result::Ok) {
        return std::nullopt;
    }
    profile.AddBins(amplitudes, peaks, file.ChannelCount());
    return profile;
}

void LevelProfile::AddBins(const std::vector<unsigned char>& amplitudes,
                           const std::vector<signed char>& peaks, int channels) {
    for (const unsigned char amplitude : amplitudes) {
        const double level = amplitude / FULL_RMS;
        energy_.push_back(energy_.back() + level * level);
    }
    const std::size_t values = 2 * static_cast<std::size_t>(channels);
    for (std::size_t bin = 0; bin < amplitudes.size(); ++bin) {
        int largest = 0;
        for (std::size_t i = 0; i < values; ++i) {
            largest = std::max(largest, std::abs(static_cast<int>(peaks[bin * values + i])));
        }
        peaks_.push_back(static_cast<unsigned char>(largest));
    }
}

long long LevelProfile::BinAt(long long frame) const {
    const long long bin = frame * BINS_PER_SECOND / rate_;
    return std::clamp<long long>(bin, 0, static_cast<long long>(energy_.size()) - 1);
}

double LevelProfile::Rms(long long begin, long long end) const {
    const long long first = BinAt(begin);
    const long long last = std::max(first, BinAt(end));
    const double bins = static_cast<double>(end - begin) * BINS_PER_SECOND / rate_;
    if (first == last || bins <= 0.0) return 0.0;
    const double energy =
        energy_[static_cast<std::size_t>(last)] - energy_[static_cast<std::size_t>(first)];
    return std::sqrt(std::max(0.0, energy) / std::max(1.0, bins));
}

double LevelProfile::Peak(long long begin, long long end) const {
    const long long last = std::max(BinAt(begin) + 1, BinAt(end));
    int largest = 0;
    for (long long bin = BinAt(begin);
         bin < std::min<long long>(last, static_cast<long long>(peaks_.size())); ++bin) {
        largest = std::max<int>(largest, peaks_[static_cast<std::size_t>(bin)]);
    }
    return largest / FULL_PEAK;
}

std::vector<float> LevelProfile::Bins() const {
    std::vector<float> bins;
    for (std::size_t i = 0; i + 1 < energy_.size(); ++i) {
        bins.push_back(static_cast<float>(std::sqrt(std::max(0.0, energy_[i + 1] - energy_[i]))));
    }
    return bins;
}

std::vector<FrameRange> SpreadSeconds(const LevelProfile& profile, long long frames, int rate,
                                      int parts) {
    std::vector<FrameRange> found;
    const auto rms = [&](const FrameRange& p) { return profile.Rms(p.start, p.end); };
    const auto add = [&](const FrameRange& place) {
        for (const FrameRange& other : found) {
            if (other.start == place.start) return;
        }
        found.push_back(place);
    };
    for (int part = 0; part < parts; ++part) {
        const std::vector<FrameRange> seconds =
            SecondsOf(frames * part / parts, frames * (part + 1) / parts, frames, rate);
        if (const FrameRange* loudest = Loudest(seconds, rms)) add(*loudest);
    }
    std::stable_sort(found.begin(), found.end(),
                     [&](const FrameRange& a, const FrameRange& b) { return rms(a) > rms(b); });
    add({0, std::min<long long>(rate, frames)});
    add({std::max(0LL, frames - rate), frames});
    return found;
}

long long OffsetByLevels(const LevelProfile& a, const LevelProfile& b, int rate) {
    const std::size_t bins = std::max(a.Bins().size(), b.Bins().size());
    const std::size_t binsInOne = bins / MAX_ENVELOPE + 1;
    const std::size_t count = bins / binsInOne + 1;
    const std::vector<float> inA = Onsets(a, binsInOne, count);
    const std::vector<float> inB = Onsets(b, binsInOne, count);
    const AudioSync::CorrelationResult found =
        AudioSync::CrossCorrelate(inA.data(), 1, inB.data(), 1, static_cast<int>(count));
    const double seconds = static_cast<double>(found.offset) * static_cast<double>(binsInOne) /
                           LevelProfile::BINS_PER_SECOND;
    return zrtl::TruncToInt64(zrtl::RoundHalfAway(seconds * rate));
}

}  // namespace orlo::sonrel
