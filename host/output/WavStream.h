// SPDX-License-Identifier: MIT
#pragma once

#include "host/output/OutputStream.h"
#include "host/output/SoundWriter.h"

namespace orlo::host {

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

}  // namespace orlo::host
