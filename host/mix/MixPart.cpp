// SPDX-License-Identifier: MIT
#include "host/mix/MixPart.h"

#include <filesystem>

#include "host/arrangement/TimelineImport.h"
#include "host/manifest/Digest.h"
#include "host/manifest/Sha256.h"
#include "host/measure/Loudness.h"
#include "host/otio/TimelinePath.h"
#include "host/shell/Errors.h"
#include "host/shell/SoundText.h"
#include "host/shell/Text.h"
#include "host/shell/Version.h"

namespace orlo::host {

namespace {

/// Name, sound and length of each media file.
std::string DigestOfMedia(const std::vector<MediaUse>& media) {
    Digest digest;
    for (const MediaUse& use : media) {
        digest.AddText(std::filesystem::path(use.location.path).filename().string());
        digest.AddText(ClauseOf(use.sound));
        const bool hasAudio = use.asset && use.asset->HasAudio();
        const long long samples = hasAudio ? use.asset->AudioStream()->ConformedSampleCount() : 0;
        digest.AddText(std::to_string(samples));
    }
    return digest.Value();
}

}  // namespace

void CheckPartOptions(const MixOptions& options) {
    if (!options.part) return;
    const auto refuse = [](const std::string& option, const std::string& why) {
        throw UsageError("--part cannot be combined with " + option + ": " + why);
    };
    if (!otio::IsTimelinePath(options.input)) {
        throw UsageError("--part needs a timeline: a media file is mixed in one piece");
    }
    if (options.normalize) {
        refuse("--normalize",
               "it needs the whole mix; find the gain in a first run, and set it "
               "with --gain");
    }
    if (options.seed == 0) refuse("--seed random", "all parts need the same noise");
    if (options.stems) refuse("--stems", "mix the stems in one piece");
    if (!options.manifest.empty()) {
        refuse("--manifest", "it describes the whole mix; mix in one piece");
    }
    if (!options.meters.empty()) refuse("--meters", "'sonrel join' writes the meters of all parts");
    if (!options.output.ends_with(".wav") && !options.output.ends_with(".WAV")) {
        throw UsageError("--part writes a WAV file; end the name " + Quoted(options.output) +
                         " with .wav");
    }
}

void RequireBlocks(const MixBlocks& blocks, const PartChoice& part) {
    if (part.count <= blocks.Count()) return;
    throw UsageError("the mix has " + std::to_string(blocks.Count()) +
                     " frames and cannot be divided into " + std::to_string(part.count) +
                     " parts; use fewer");
}

Json ValuesOf(const MixOptions& options, const FrameGrid& grid, const zrtl::FrameRange& span) {
    return Json::Object({{"from", span.start},
                         {"to", span.end},
                         {"rate", grid.rate},
                         {"fps", grid.fps},
                         {"grid", grid.factor},
                         {"startFrame", grid.startFrame},
                         {"dropFrame", grid.dropFrame},
                         {"dither", DitherName(options.dither)},
                         {"seed", options.seed},
                         {"gain", options.gain.value_or(0.0)},
                         {"composition", options.composition ? Json(*options.composition) : Json()},
                         {"retime", options.retime == otio::Retime::Otio ? "otio" : "media"},
                         {"audioFrom", AudioFromWord(options.audioFrom)}});
}

Json IdentityOf(const WholeMix& mix) {
    const MixOptions& options = mix.options;
    Json json;
    json["version"] = VERSION;
    json["timeline"] = Sha256OfFile(mix.document);
    json["media"] = DigestOfMedia(mix.media);
    json["parts"] = options.part->count;
    const Json values = ValuesOf(options, mix.grid, mix.span);
    for (const auto& [key, value] : values.AsObject()) json[key] = value;
    json["meterBlockFrames"] = MeterBlockFrames(mix.grid.rate);
    json["tracks"] = mix.trackNames;
    return json;
}

PartManifest ManifestOf(const WholeMix& mix, const MixBlocks& blocks,
                        const sonrel::AudioMixer& mixer) {
    PartManifest manifest;
    manifest.mix = IdentityOf(mix);
    manifest.part = *mix.options.part;
    const long long before = blocks.PartSpan().start - mix.span.start;
    manifest.firstMeterBlock = before / MeterBlockFrames(mix.grid.rate);
    const auto count = static_cast<long long>(mixer.MeterBlockCount());
    for (long long i = manifest.firstMeterBlock; i < count; ++i) {
        manifest.meters.push_back(mixer.MetricsForBlock(static_cast<unsigned long long>(i)));
    }
    return manifest;
}

}  // namespace orlo::host
