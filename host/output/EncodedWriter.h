// SPDX-License-Identifier: MIT
#pragma once

#include <exception>
#include <memory>
#include <string>

#include "host/output/OutputFile.h"
#include "host/output/SoundFormat.h"
#include "host/output/SoundWriter.h"

struct sf_private_tag;

namespace orlo::host {

/// Writes a sound file in a format other than WAV. The sound file library encodes; this class
/// writes the bytes, so that the rules of outputs apply to them. A device or a pipe receives the
/// file when it is complete.
class EncodedWriter : public SoundWriter {
public:
    /// @throws as in OpenSoundWriter
    EncodedWriter(const std::string& path, OutputGuard& guard, SoundFormat format, int rate,
                  long long frames);
    ~EncodedWriter() override;

    void Write(const short* frames, long long count) override;
    void Seal() override;
    void Finish() override;

private:
    struct Calls;

    void Open(int rate);
    void RequireSuccess(bool succeeded, const char* reason);

    OutputFile output_;
    PartialFile& file_;
    SoundFormat format_;
    sf_private_tag* encoder_ = nullptr;
    long long position_ = 0;  ///< of the next byte that the library writes
    long long size_ = 0;      ///< bytes
    std::exception_ptr failure_;
};

}  // namespace orlo::host
