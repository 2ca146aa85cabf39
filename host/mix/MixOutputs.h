// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/manifest/HashedWriter.h"
#include "host/manifest/MixRecorder.h"
#include "host/mix/MixBlocks.h"
#include "host/mix/MixOptions.h"
#include "host/mix/Normalization.h"
#include "host/mix/PartFile.h"
#include "host/mix/Stems.h"
#include "host/output/OutputFile.h"

namespace orlo::host {

/// Whether the sound goes to standard output.
bool WritesToStandardOutput(const MixOptions& options);

/// The outputs of a mix: the sound, the meters, the stems and the manifest. With onlyManifest there
/// are none, and the samples are only hashed.
class MixOutputs {
public:
    /// @param options     outlives the object
    /// @param trackNames  a stem for each, with --stems
    MixOutputs(const MixOptions& options, std::vector<std::string> trackNames);

    /// Protects the inputs before Claim.
    OutputGuard& Guard() { return guard_; }
    /// @throws as in OutputGuard::Claim
    void Claim();
    /// Opens all outputs, once all are claimed. @throws as in OpenSoundWriter and OutputFile
    void Open(const MixRange& range);

    SoundWriter& Sound() { return *sound_; }
    /// Null unless a part is written.
    PartWriter* Part() { return part_; }
    /// Null without stems.
    Stems* StemFiles() { return stems_ ? &*stems_ : nullptr; }
    const std::vector<std::string>& StemPaths() const { return stemPaths_; }

    bool HasMeters() const { return meters_.has_value(); }
    void WriteMeters(const Json& document);
    void WriteManifest(const Json& manifest);

    /// The result of a mix that needs a manifest, without the levels of its signals.
    MixResult Result(const FrameGrid& grid, const zrtl::FrameRange& span,
                     const LoudnessMeter& loudness,
                     const std::optional<Normalization>& normalization) const;

    /// Completes all outputs on the disk, and then gives them their names.
    /// @throws as in OutputFile; CommandError when the program is asked to stop
    void Finish();

private:
    std::vector<StemHash> StemHashes() const;
    std::unique_ptr<SoundWriter> OpenSound(int rate, long long samples);
    std::unique_ptr<SoundWriter> Hashed(std::unique_ptr<SoundWriter> writer);
    void OpenStemFiles(int rate, long long samples);

    const MixOptions& options_;
    const std::vector<std::string> trackNames_;
    std::vector<std::string> stemPaths_;
    OutputGuard guard_;
    std::unique_ptr<SoundWriter> sound_;
    PartWriter* part_ = nullptr;
    std::vector<const HashedWriter*> hashes_;  ///< of the sound, and then of the stems
    std::optional<Stems> stems_;
    std::optional<OutputFile> meters_;
    std::optional<OutputFile> manifest_;
};

}  // namespace orlo::host
