// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/output/OutputFile.h"
#include "sonrel/base/WavHeader.h"

namespace orlo::host {

using zrtl::WavFormat;
using zrtl::WavFormatFor;
using zrtl::WavHeader;

/// Writes 16-bit stereo to a WAV file that appears under its name when it is whole.
class WavWriter {
public:
    /// Whether the number of frames is known beforehand.
    enum class Length { Exact, AtMost };

    /// @param frames  how many frames will follow; decides about the format
    /// @throws as OutputFile, and JobError when the file would not fit on the disk
    WavWriter(const std::string& path, OutputGuard& guard, int rate, long long frames,
              Length length = Length::Exact);

    /// Appends @p count frames of two values each. @throws as OutputFile
    void Write(const short* frames, long long count);

    /// Ends the file and writes it through to the disk. @throws JobError
    void Seal();

    /// Seals the file and puts it under its name. @throws as OutputFile
    void Finish();

private:
    OutputFile output_;
    WavFormat format_;
    int rate_;
    long long headerFrames_;  ///< that the header in the file tells
    long long written_ = 0;
    bool sealed_ = false;
};

}  // namespace orlo::host
