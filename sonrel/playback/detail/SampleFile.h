// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

namespace orlo::sonrel {

/// A file of 16-bit stereo samples: WAV when the name ends in ".wav" in any case of letters (beyond
/// 4 GiB its RF64 form), otherwise the bare samples, little-endian.
class SampleFile {
public:
    explicit SampleFile(std::wstring path);
    ~SampleFile();

    /// Makes the file at the first call. @return false when it cannot, or was made at another rate
    bool Open(int sampleRate);
    /// Appends frames of two values. @return whether all were written
    bool Write(const short* frames, int frameCount);
    /// Ends the file. @return whether everything since Open has been written
    bool Finish();

private:
    struct Closer {
        void operator()(void* file) const;
    };

    const std::wstring path_;
    int sampleRate_ = 0;
    bool whole_ = true;
    bool finished_ = false;
    std::unique_ptr<void, Closer> file_;
};

}  // namespace orlo::sonrel
