// SPDX-License-Identifier: MIT

// Measures the loudness meter on every path, and another implementation of the standard:
//   loudness_bench    integrated loudness and true peak together, and the integrated loudness only
//                     of the other implementation
#include <ebur128.h>

#include <cmath>
#include <cstddef>
#include <memory>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "bench/RatioBench.h"
#include "sonrel/loudness/LoudnessMeter.h"

namespace orlo::sonrel::bench {
namespace {

constexpr double MIN_RATIO = 4.0;
constexpr int SECONDS = 10;

using Frames = std::vector<short>;

Frames Noise(int rate) {
    std::mt19937 random(1);
    Frames frames(2 * static_cast<std::size_t>(SECONDS * rate));
    for (short& value : frames) value = static_cast<short>(random() >> 16);
    return frames;
}

/// Low-pass noise and two tones that swell, limited to full scale.
Frames Music(int rate) {
    std::mt19937 random(2);
    Frames frames;
    double first = 0.0;
    double second = 0.0;
    for (int i = 0; i < SECONDS * rate; ++i) {
        const double time = static_cast<double>(i) / rate;
        first += 0.1 * (static_cast<double>(random()) / 2147483648.0 - 1.0 - first);
        second += 0.5 * (first - second);
        const double swell = 0.3 + 0.7 * std::pow(std::sin(1.4 * time), 2.0);
        const double tones = 0.3 * std::sin(2.0 * std::numbers::pi * 230.0 * time) +
                             0.2 * std::sin(2.0 * std::numbers::pi * 540.0 * time);
        const double value = std::tanh(1.5 * swell * (2.0 * second + tones));
        frames.push_back(static_cast<short>(32000.0 * value));
        frames.push_back(static_cast<short>(25600.0 * value));
    }
    return frames;
}

void AddJob(const std::string& name, int rate, Frames frames) {
    const std::string job = name + " at " + std::to_string(rate) + " Hz";
    const auto count = frames.size() / 2;
    const auto signal = std::make_shared<const Frames>(std::move(frames));
    AddVariant(job, "libebur128, integrated only", static_cast<int>(count), [=] {
        ebur128_state* library = ebur128_init(2, static_cast<unsigned long>(rate), EBUR128_MODE_I);
        ebur128_add_frames_short(library, signal->data(), count);
        double lufs = 0.0;
        ebur128_loudness_global(library, &lufs);
        ebur128_destroy(&library);
    });
    AddOwnVariants(job, static_cast<int>(count), [=] {
        LoudnessMeter meter(rate);
        meter.Add(signal->data(), count);
        static_cast<void>(meter.IntegratedLufs());
        static_cast<void>(meter.TruePeakDb());
    });
    Demand(job, NameOf(detail::CpuPath::Avx2), "libebur128, integrated only", MIN_RATIO);
}

void AddLoudnessJobs() {
    for (const int rate : {44100, 48000, 96000, 192000}) {
        AddJob("noise", rate, Noise(rate));
        AddJob("music", rate, Music(rate));
    }
}

}  // namespace
}  // namespace orlo::sonrel::bench

int main(int argc, char** argv) {
    orlo::sonrel::bench::AddLoudnessJobs();
    return orlo::sonrel::bench::RunAndReport(argc, argv);
}
