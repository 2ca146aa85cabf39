// SPDX-License-Identifier: MIT
#include "host/report/MasterLevels.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "host/measure/LevelSummary.h"
#include "host/measure/SignalReading.h"
#include "host/report/PageCurves.h"
#include "host/shell/Text.h"
#include "sonrel/base/StereoFrame.h"
#include "sonrel/mixer/AudioMeter.h"

namespace orlo::host {

namespace {

using sonrel::AudioMeter;
using sonrel::AudioMixer;

constexpr float SHORT_FULL_SCALE = 32768.0f;

void Feed(const short* frames, std::size_t count, AudioMeter& meter) {
    std::vector<float> values(frames, frames + 2 * count);
    for (float& value : values) value /= SHORT_FULL_SCALE;
    meter.ProcessSamples(values.data(), static_cast<int>(count));
}

MeterBlocks BlocksOf(const std::shared_ptr<AudioMeter>& meter) {
    return {meter->MeterBlockCount(), [meter](unsigned long long index) {
                return sonrel::AudioMetrics{{}, meter->MetricsForBlock(index)};
            }};
}

std::string PeakText(float peak) {
    return peak > 0.0f ? FormatNumber(20.0 * std::log10(static_cast<double>(peak)), 1) + " dB"
                       : "silent";
}

}  // namespace

MasterLevels MeasureMix(AudioMixer& mixer, const ProjectMix& mix, const FrameGrid& grid,
                        const zrtl::FrameRange& span, Progress& progress) {
    const std::shared_ptr<project::Project>& project = mix.project;
    const std::shared_ptr<project::CompositionAsset>& composition = mix.composition;
    const auto& sequence = project->Sequence();
    const ReadSamples read = [&](long long position, int count, unsigned char* buffer) {
        const int bytes = count * zrtl::FRAME_BYTES;
        return composition
                   ? mixer.GetSamples(project, composition, position, count, buffer, bytes, 0, 0)
                   : mixer.GetSamples(project, sequence, position, count, buffer, bytes, 0, 0);
    };
    BeginMix(mixer);
    mixer.StartMeterSession(0, MeterBlockFrames(grid.rate));
    const ReadCheck reads(mixer, grid);
    LoudnessMeter loudness(grid.rate);
    const TakeSamples take = [&](const short* frames, std::size_t count) {
        loudness.Add(frames, count);
    };
    ReadSignal({reads, grid, span, read}, take, progress);
    mixer.StopMeterSession();
    return {std::move(loudness), host::BlocksOf(mixer)};
}

MasterLevels MeasureMedia(AudioMixer& mixer, const std::shared_ptr<project::MediaAsset>& asset,
                          const FrameGrid& grid, const zrtl::FrameRange& span, Progress& progress) {
    const ReadSamples read = [&](long long position, int count, unsigned char* buffer) {
        return mixer.GetSamples(asset, position, count, buffer, count * zrtl::FRAME_BYTES);
    };
    const auto meter = std::make_shared<AudioMeter>();
    meter->StartMeterSession(MeterBlockFrames(grid.rate));
    LoudnessMeter loudness(grid.rate);
    const TakeSamples take = [&](const short* frames, std::size_t count) {
        loudness.Add(frames, count);
        Feed(frames, count, *meter);
    };
    ReadSignal({ReadCheck(mixer, grid), grid, span, read}, take, progress);
    meter->StopMeterSession();
    return {std::move(loudness), BlocksOf(meter)};
}

void ShowLevels(const MasterLevels& levels, ReportPage& page) {
    const FrameGrid& grid = page.grid;
    const auto first = std::llround(page.from * grid.rate);
    const SignalSummary master = levels.Summary(first);
    page.curves = MasterCurves(levels.blocks, levels.loudness.Readings(),
                               static_cast<double>(MeterBlockFrames(grid.rate)) / grid.rate);
    page.curves.integrated = levels.loudness.IntegratedLufs();
    page.clipMarks = ClipMarks(master, grid, page.from, page.duration);
    const sonrel::LoudnessMeter& meter = levels.loudness.Meter();
    page.loudness = {
        {"Integrated loudness", LevelOrNone(meter.IntegratedLufs(), "LUFS")},
        {"Loudness range", LevelOrNone(meter.RangeLu(), "LU")},
        {"Maximum momentary loudness", LevelOrNone(meter.MaxMomentaryLufs(), "LUFS")},
        {"Maximum short-term loudness", LevelOrNone(meter.MaxShortTermLufs(), "LUFS")},
        {"True peak", LevelOrNone(meter.TruePeakDb(), "dBTP")},
        {"Master peak", PeakText(master.peak[0]) + " left, " + PeakText(master.peak[1]) + " right"},
        {"Clipping", master.clips.empty() ? "none" : ClippingText(master, grid)}};
}

}  // namespace orlo::host
