// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "host/output/OutputFile.h"
#include "host/output/SoundWriter.h"
#include "sonrel/base/WavHeader.h"

namespace orlo::host {

using zrtl::WavFormat;
using zrtl::WavFormatFor;
using zrtl::WavHeader;

/// Writes a WAV file, or RF64 beyond 4 GiB.
class WavWriter : public SoundWriter {
public:
    /// @param frames  number of frames that follow; selects WAV or RF64
    /// @throws as in OutputFile, and JobError when the file would not fit on the disk
    WavWriter(const std::string& path, OutputGuard& guard, int rate, long long frames,
              Length length = Length::Exact);

    void Write(const short* frames, long long count) override;
    /// Appends a chunk after all samples. Not for a device or a pipe.
    /// @param name  four letters
    /// @throws as in OutputFile
    void AddChunk(std::string_view name, std::string_view content);
    void Seal() override;
    void Finish() override;

private:
    void CountChunks();

    OutputFile output_;
    WavFormat format_;
    int rate_;
    long long headerFrames_;  ///< number of frames in the written header
    long long written_ = 0;
    long long chunkBytes_ = 0;  ///< of the chunks after the samples
    bool sealed_ = false;
};

}  // namespace orlo::host
