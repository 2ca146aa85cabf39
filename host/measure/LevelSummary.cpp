// SPDX-License-Identifier: MIT
#include "host/measure/LevelSummary.h"

#include "host/shell/Text.h"

namespace orlo::host {

namespace {

constexpr const char* LOWER_THE_LEVELS =
    "lower the levels, or mix with --normalize LUFS, such as --normalize -23";

Json NumberOrNull(const std::optional<double>& value) {
    return value ? Json(*value) : Json();
}

}  // namespace

void SummarizeLevels(const LoudnessMeter& loudness, const SignalSummary* master,
                     const FrameGrid& grid, Summary& summary) {
    const std::optional<double> peak = loudness.TruePeakDb();
    if (!peak) {
        summary.AddAttention("the mix is silent", "check its clips, mutes, solos and levels");
    } else if (master != nullptr && !master->clips.empty()) {
        summary.AddAttention("the mix clips " + ClippingText(*master, grid), LOWER_THE_LEVELS);
    } else if (*peak > 0.0) {
        summary.AddAttention(
            "the true peak is " + FormatNumber(*peak, 1) + " dBTP: players may distort it",
            LOWER_THE_LEVELS);
    }
}

void AddLoudness(const sonrel::LoudnessMeter& meter, Json& object) {
    object["integrated"] = NumberOrNull(meter.IntegratedLufs());
    object["range"] = NumberOrNull(meter.RangeLu());
    object["momentaryMax"] = NumberOrNull(meter.MaxMomentaryLufs());
    object["shortTermMax"] = NumberOrNull(meter.MaxShortTermLufs());
    object["truePeak"] = NumberOrNull(meter.TruePeakDb());
}

std::string LevelOrNone(const std::optional<double>& level, const char* unit) {
    return level ? FormatNumber(*level, 1) + " " + unit : "none";
}

}  // namespace orlo::host
