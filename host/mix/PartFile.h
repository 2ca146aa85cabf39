// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/manifest/Digest.h"
#include "host/mix/MixBlocks.h"
#include "host/output/WavWriter.h"
#include "host/shell/FileReader.h"
#include "host/shell/Outcome.h"
#include "sonrel/mixer/AudioMetrics.h"

/// A part of a mix: a WAV file of its samples with two more chunks after them, which other programs
/// pass over. "snrl" has the manifest as JSON, "smtr" the meter blocks. The chunks are in the file
/// itself, so that copying or moving a part cannot separate them. See docs/parallel.md.
namespace orlo::host {

/// The contents of a part besides its samples.
struct PartManifest {
    /// Everything that decides the samples and meters of the whole mix; the same in all its parts.
    Json mix = Json::Object();
    PartChoice part;
    long long firstMeterBlock = 0;             ///< number of the first block, in the whole mix
    std::vector<sonrel::AudioMetrics> meters;  ///< blocks that overlap the part
    std::string checksum;                      ///< of the samples
};

/// Writes a part.
class PartWriter : public SoundWriter {
public:
    /// @param frames  number of frames that follow
    /// @throws as in WavWriter
    PartWriter(const std::string& path, OutputGuard& guard, int rate, long long frames);

    void Write(const short* frames, long long count) override;
    /// Appends the manifest, after all samples. The checksum is that of the written samples.
    void Describe(PartManifest manifest);
    void Seal() override { writer_.Seal(); }
    void Finish() override { writer_.Finish(); }

private:
    WavWriter writer_;
    Digest digest_;
};

/// Reads a part. The file is open only while its manifest and while its samples are read, so that a
/// mix may have more parts than a process has descriptors.
class PartReader {
public:
    /// Reads the manifest. @throws JobError for a file that is not a whole part
    explicit PartReader(const std::string& path);

    const std::string& Path() const { return path_; }
    const PartManifest& Manifest() const { return manifest_; }
    /// Number of samples.
    long long Frames() const { return frames_; }

    /// Reads the next samples. @throws JobError
    void Read(unsigned char* bytes, long long frames);
    /// Closes the file and compares the samples, of which all were read, with the checksum.
    /// @throws JobError
    void RequireChecksum();

private:
    void ReadHeader();
    void ReadManifest();
    std::string ReadChunk(const std::string& name);
    std::string ReadBytes(long long count);
    [[noreturn]] void Refuse(const std::string& reason) const;

    std::string path_;
    std::optional<FileReader> file_;
    long long at_ = 0;         ///< offset of the next byte
    long long firstByte_ = 0;  ///< of the samples
    long long frames_ = 0;
    PartManifest manifest_;
    Digest digest_;
};

}  // namespace orlo::host
