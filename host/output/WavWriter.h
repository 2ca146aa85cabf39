// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/output/OutputFile.h"
#include "sonrel/base/WavHeader.h"

namespace orlo::host {

using zrtl::WavFormat;
using zrtl::WavFormatFor;
using zrtl::WavHeader;

/// Writes 16-bit stereo to a WAV file that appears under its name when it is complete.
class WavWriter {
public:
    /// Whether the number of frames is exact or an upper limit.
    enum class Length { Exact, AtMost };

    /// @param frames  number of frames that follow; selects WAV or RF64
    /// @throws as in OutputFile, and JobError when the file would not fit on the disk
    WavWriter(const std::string& path, OutputGuard& guard, int rate, long long frames,
              Length length = Length::Exact);

    /// Appends @p count frames of two values each. @throws as in OutputFile
    void Write(const short* frames, long long count);

    /// Completes the file and flushes it to the disk. @throws JobError
    void Seal();

    /// Seals the file and makes it appear under its name. @throws as in OutputFile
    void Finish();

private:
    OutputFile output_;
    WavFormat format_;
    int rate_;
    long long headerFrames_;  ///< number of frames in the written header
    long long written_ = 0;
    bool sealed_ = false;
};

}  // namespace orlo::host
