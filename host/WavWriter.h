// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "host/OutputFile.h"

namespace orlo::host {

/// The format that holds so many stereo frames: plain WAV while its sizes fit into 32 bits, then
/// RF64.
enum class WavFormat { Wav, Rf64 };
WavFormat WavFormatFor(long long frames);

/// Writes 16-bit stereo to a WAV file that appears under its name when it is whole.
class WavWriter {
public:
    /// @param frames  how many frames will follow; decides about the format
    /// @throws JobError when the file cannot be made or would not fit on the disk
    WavWriter(const std::string& path, int rate, long long frames);
    ~WavWriter();

    /// Appends @p count frames of two values each. @throws JobError
    void Write(const short* frames, long long count);

    /// Ends the file, writes it through to the disk and gives it its name. @throws JobError
    void Finish();

private:
    struct Closer {
        void operator()(void* file) const;
    };

    OutputFile output_;
    std::unique_ptr<void, Closer> file_;
};

}  // namespace orlo::host
