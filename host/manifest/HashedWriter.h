// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "host/manifest/Sha256.h"
#include "host/output/SoundWriter.h"

namespace orlo::host {

/// Hashes samples on their way to a file. The hash is that of the 16-bit frames, left first and
/// little-endian, and does not depend on the format of the file.
class HashedWriter : public SoundWriter {
public:
    /// @param writer  writes the file; null for samples that are only hashed
    explicit HashedWriter(std::unique_ptr<SoundWriter> writer);

    void Write(const short* frames, long long count) override;
    void Seal() override;
    void Finish() override;

    std::string Hash() const { return hash_.Value(); }

private:
    std::unique_ptr<SoundWriter> writer_;
    Sha256 hash_;
};

}  // namespace orlo::host
