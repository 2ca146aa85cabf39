// SPDX-License-Identifier: MIT
#include "host/align/LevelProfile.h"

#include <algorithm>
#include <cmath>

#include "host/shell/Errors.h"
#include "host/shell/Text.h"
#include "sonrel/base/Paths.h"
#include "sonrel/cache/PeakFile.h"

namespace orlo::host {

namespace {

using sonrel::PeakFile;

constexpr double FULL_RMS = 255.0;
constexpr double FULL_PEAK = 127.0;

/// Windows of a second begin at every half second.
std::vector<FrameRange> SecondsOf(long long begin, long long end, long long frames, int rate) {
    std::vector<FrameRange> places;
    for (long long start = begin; start < end; start += std::max(1, rate / 2)) {
        const long long fitting = std::max(0LL, std::min(start, frames - rate));
        places.push_back({fitting, std::min<long long>(rate, frames)});
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

bool Overlap(const FrameRange& a, const FrameRange& b) {
    return a.start < b.start + b.length && b.start < a.start + a.length;
}

}  // namespace

LevelProfile::LevelProfile(const project::MediaAsset& asset, int rate) : rate_(rate) {
    const project::MediaAudioStream& stream = *asset.AudioStream();
    PeakFile file;
    std::vector<unsigned char> amplitudes;
    std::vector<signed char> peaks;
    const auto fail = [&] {
        throw JobError("cannot read the peak file " +
                       Quoted(zrtl::ToUtf8(stream.WaveformPeakFilePath())) +
                       "; run the command again, or remove the file");
    };
    if (!file.Open(stream.WaveformPeakFilePath())) {
        if (stream.NativeSampleCount() > 0) fail();
        energy_ = {0.0};
        return;
    }
    const double step = std::max(1.0, static_cast<double>(stream.NativeSampleRate()) /
                                          BINS_PER_SECOND / file.SamplesPerBlock());
    const int blocks = file.BlockCount();
    if (file.GetRMSAmplitude(0, blocks, step, amplitudes) != PeakFile::Result::Ok ||
        file.GetChannelPeaks(0, blocks, step, peaks) != PeakFile::Result::Ok) {
        fail();
    }
    energy_.reserve(amplitudes.size() + 1);
    energy_.push_back(0.0);
    for (const unsigned char amplitude : amplitudes) {
        const double level = amplitude / FULL_RMS;
        energy_.push_back(energy_.back() + level * level);
    }
    const std::size_t values = 2 * static_cast<std::size_t>(file.ChannelCount());
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

std::vector<FrameRange> LoudestSeconds(const LevelProfile& profile, long long frames, int rate) {
    std::vector<FrameRange> found;
    const auto rms = [&](const FrameRange& p) { return profile.Rms(p.start, p.start + p.length); };
    const auto peak = [&](const FrameRange& p) {
        return profile.Peak(p.start, p.start + p.length);
    };
    std::vector<FrameRange> seconds = SecondsOf(0, frames, frames, rate);
    if (const FrameRange* loudest = Loudest(seconds, rms)) found.push_back(*loudest);
    std::erase_if(seconds,
                  [&](const FrameRange& p) { return !found.empty() && Overlap(p, found.front()); });
    if (const FrameRange* loudest = Loudest(seconds, peak)) found.push_back(*loudest);
    return found;
}

std::vector<FrameRange> SpreadSeconds(const LevelProfile& profile, long long frames, int rate,
                                      int parts) {
    std::vector<FrameRange> found;
    const auto rms = [&](const FrameRange& p) { return profile.Rms(p.start, p.start + p.length); };
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
    add({std::max(0LL, frames - rate), std::min<long long>(rate, frames)});
    return found;
}

}  // namespace orlo::host
