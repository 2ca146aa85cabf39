// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "host/output/OutputGuard.h"

namespace orlo::host {

/// Writes 16-bit stereo to an output that appears under its name when it is complete.
class SoundWriter {
public:
    /// Whether the number of frames is exact or an upper limit.
    enum class Length { Exact, AtMost };

    SoundWriter() = default;
    virtual ~SoundWriter() = default;
    SoundWriter(const SoundWriter&) = delete;
    SoundWriter& operator=(const SoundWriter&) = delete;

    /// Appends @p count frames of two values each. @throws as in OutputFile
    virtual void Write(const short* frames, long long count) = 0;

    /// Completes the file and flushes it to the disk. @throws JobError
    virtual void Seal() = 0;

    /// Seals the file and makes it appear under its name. @throws as in OutputFile
    virtual void Finish() = 0;
};

/// Opens the writer for the extension of an output. The output is claimed, and RequireSoundName has
/// accepted its name. A device or a pipe with another extension, and standard output ("-"), receive
/// a WAV file.
/// @param rate    hertz
/// @param frames  number of frames that follow
/// @throws UsageError for a sample rate that the format does not have; JobError when the file
///         cannot be created, or is too large for its format or for the disk
std::unique_ptr<SoundWriter> OpenSoundWriter(
    const std::string& output, OutputGuard& guard, int rate, long long frames,
    SoundWriter::Length length = SoundWriter::Length::Exact);

}  // namespace orlo::host
