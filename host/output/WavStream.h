// SPDX-License-Identifier: MIT
#pragma once

#include "host/output/OutputStream.h"
#include "host/output/SoundWriter.h"

namespace orlo::host {

/// The name of an output that is standard output.
constexpr const char* STANDARD_OUTPUT = "-";

/// Writes a WAV, or RF64 beyond 4 GiB, to standard output. A failure leaves the stream short.
class WavStream : public SoundWriter {
public:
    /// Writes the header. @throws as in OutputStream
    WavStream(int rate, long long frames);

    void Write(const short* frames, long long count) override;
    void Seal() override {}
    void Finish() override { stream_.Close(); }

private:
    OutputStream stream_;
};

/// Refuses standard output that is closed or a terminal. @throws JobError or UsageError
void CheckStandardOutput();

}  // namespace orlo::host
