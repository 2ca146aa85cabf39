// SPDX-License-Identifier: MIT
#include "host/mix/MixOutputs.h"

#include <utility>

#include "host/mix/MixPart.h"
#include "host/mix/MixReport.h"
#include "host/output/OutputName.h"
#include "host/output/SoundFormat.h"
#include "host/output/StandardOutput.h"
#include "host/shell/Interrupt.h"
#include "host/shell/SoundText.h"

namespace orlo::host {

bool WritesToStandardOutput(const MixOptions& options) {
    return options.output == STANDARD_OUTPUT;
}

MixOutputs::MixOutputs(const MixOptions& options, std::vector<std::string> trackNames)
    : options_(options), trackNames_(std::move(trackNames)), guard_(options.overwrite) {
    if (options.stems) stemPaths_ = host::StemPaths(*options.stems, trackNames_);
}

void MixOutputs::Claim() {
    if (options_.onlyManifest) return;
    if (WritesToStandardOutput(options_)) {
        guard_.ClaimStandardOutput();
    } else {
        guard_.Claim(options_.output);
        RequireExtension(options_.output, SoundExtensions());
    }
    if (!options_.meters.empty()) guard_.Claim(options_.meters);
    if (!options_.manifest.empty()) guard_.Claim(options_.manifest);
    for (const std::string& stem : stemPaths_) guard_.Claim(stem);
}

std::unique_ptr<SoundWriter> MixOutputs::OpenSound(int rate, long long samples) {
    if (options_.onlyManifest) return nullptr;
    if (!options_.part) return OpenSoundWriter(options_.output, guard_, rate, samples);
    auto part = std::make_unique<PartWriter>(options_.output, guard_, rate, samples);
    part_ = part.get();
    return part;
}

std::unique_ptr<SoundWriter> MixOutputs::Hashed(std::unique_ptr<SoundWriter> writer) {
    if (!options_.NeedsManifest()) return writer;
    auto hashed = std::make_unique<HashedWriter>(std::move(writer));
    hashes_.push_back(hashed.get());
    return hashed;
}

void MixOutputs::OpenStemFiles(int rate, long long samples) {
    std::vector<std::unique_ptr<SoundWriter>> writers;
    if (options_.onlyManifest) {
        writers.resize(stemPaths_.size());
    } else {
        writers = OpenStems(*options_.stems, stemPaths_, guard_, rate, samples);
    }
    for (std::unique_ptr<SoundWriter>& writer : writers) writer = Hashed(std::move(writer));
    stems_.emplace(std::move(writers));
}

void MixOutputs::Open(const MixRange& range) {
    const long long samples = MixBlocks(range).PartSpan().Count();
    sound_ = Hashed(OpenSound(range.grid.rate, samples));
    if (!options_.meters.empty()) meters_.emplace(options_.meters, guard_);
    if (options_.stems) OpenStemFiles(range.grid.rate, samples);
    if (!options_.manifest.empty()) manifest_.emplace(options_.manifest, guard_);
}

void MixOutputs::WriteMeters(const Json& document) {
    meters_->Write(document.ToLine() + "\n");
}

void MixOutputs::WriteManifest(const Json& manifest) {
    if (manifest_) manifest_->Write(manifest.ToIndentedText() + "\n");
}

std::vector<StemHash> MixOutputs::StemHashes() const {
    std::vector<StemHash> stems;
    for (std::size_t i = 1; i < hashes_.size(); ++i) {
        stems.push_back({trackNames_[i - 1], hashes_[i]->Hash()});
    }
    return stems;
}

MixResult MixOutputs::Result(const FrameGrid& grid, const zrtl::FrameRange& span,
                             const LoudnessMeter& loudness,
                             const std::optional<Normalization>& normalization) const {
    MixResult result;
    result.values = ValuesOf(options_, grid, span);
    result.values["normalize"] = options_.normalize ? Json(*options_.normalize) : Json();
    result.values["truePeak"] = normalization ? Json(normalization->target.truePeakDb) : Json();
    result.values["sound"] = ClauseOf(options_.sound.Choice());
    result.loudness = LoudnessJson(loudness);
    if (normalization) result.normalization = NormalizationJson(*normalization);
    result.samples = span.Count();
    result.sampleHash = hashes_.front()->Hash();
    result.stems = StemHashes();
    return result;
}

void MixOutputs::Finish() {
    // Every output is complete on the disk before the first output is renamed to its name.
    sound_->Seal();
    if (meters_) meters_->Seal();
    if (stems_) stems_->Seal();
    if (manifest_) manifest_->Seal();
    if (Interrupted()) ThrowInterrupted("nothing was written");
    sound_->Finish();
    if (meters_) meters_->Commit();
    if (stems_) stems_->Finish();
    if (manifest_) manifest_->Commit();
}

}  // namespace orlo::host
