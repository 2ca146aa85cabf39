// SPDX-License-Identifier: MIT
#include "host/mix/Normalization.h"

#include <algorithm>

#include "host/measure/Loudness.h"
#include "host/mix/MixReport.h"
#include "host/shell/Text.h"
#include "host/timeline/Levels.h"
#include "sonrel/project/EditorSequence.h"

namespace orlo::host {

namespace {

MixLevels Measure(const RepeatedMix& mix, const MixOptions& options, Progress& progress) {
    StartMix(mix.mixer, options, mix.tracks, mix.range.grid);
    LoudnessMeter loudness(mix.range.grid.rate);
    MixSink sink(nullptr, &loudness);
    RenderFrames({{&mix.mixer, {{mix.source, &sink}}}}, mix.range, progress, "measure");
    mix.mixer.StopMeterSession();
    const SignalSummary master = Summarize(BlocksOf(mix.mixer), {}, mix.range.span.start).master;
    return {loudness.IntegratedLufs(), loudness.TruePeakDb(), !master.clips.empty(),
            std::max(master.peak[0], master.peak[1])};
}

std::string Signed(double decibels) {
    const std::string number = FormatNumber(decibels, 1);
    return decibels > 0.0 && number != "0" ? "+" + number : number;
}

}  // namespace

SetGain GainOfSequence(const std::shared_ptr<project::EditorSequence>& sequence,
                       const otio::LevelCurve& level) {
    return [sequence, level](double gainDb) {
        SetLevel(sequence->AudioMasterTrack()->Animation(), Raised(level, gainDb));
    };
}

SetGain GainOfComposition(const std::shared_ptr<project::CompositionAsset>& composition,
                          const otio::PlacedComposition& placed) {
    std::vector<otio::LevelCurve> levels;
    for (const otio::PlacedTrack& track : placed.tracks) {
        for (const otio::PlacedClip& clip : track.clips) levels.push_back(clip.level);
    }
    return [composition, levels](double gainDb) {
        for (std::size_t i = 0; i < levels.size(); ++i) {
            SetLevel(composition->Layers()[i]->Animation(), Raised(levels[i], gainDb));
        }
    };
}

void StartMix(sonrel::AudioMixer& mixer, const MixOptions& options, std::size_t tracks,
              const FrameGrid& grid) {
    mixer.SetDither(EngineDither(options.dither), options.seed);
    mixer.ResetMixSession();
    mixer.StartMeterSession(tracks, MeterBlockFrames(grid.rate));
}

Normalization Normalize(const RepeatedMix& mix, const MixOptions& options, Progress& progress) {
    const LoudnessTarget target{*options.normalize, options.truePeak.value_or(DEFAULT_TRUE_PEAK)};
    const FoundGain found = FindGain(target, [&](double gainDb) {
        mix.setGain(gainDb);
        return Measure(mix, options, progress);
    });
    mix.setGain(found.gainDb);
    return {target, found};
}

Json NormalizationJson(const Normalization& normalization) {
    const FoundGain& found = normalization.found;
    return Json::Object({{"target", normalization.target.lufs},
                         {"truePeakLimit", normalization.target.truePeakDb},
                         {"measured", Json::Object({{"integrated", found.measuredLufs},
                                                    {"truePeak", found.measuredTruePeakDb}})},
                         {"gain", found.gainDb},
                         {"limitedByTruePeak", found.limitedByTruePeak},
                         {"measurements", found.measurements}});
}

std::string NormalizationText(const std::optional<Normalization>& normalization) {
    if (!normalization) return {};
    const FoundGain& found = normalization->found;
    std::string text = "  normalized: gain " + Signed(found.gainDb) + " dB for " +
                       FormatNumber(normalization->target.lufs, 1) + " LUFS, measured " +
                       FormatNumber(found.measuredLufs, 1) + " LUFS";
    if (found.limitedByTruePeak) {
        text += "; limited by the true peak of " +
                FormatNumber(normalization->target.truePeakDb, 1) + " dBTP";
    }
    return text + "\n";
}

}  // namespace orlo::host
