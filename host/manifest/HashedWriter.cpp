// SPDX-License-Identifier: MIT
#include "host/manifest/HashedWriter.h"

#include <bit>
#include <utility>

#include "sonrel/base/StereoFrame.h"

namespace orlo::host {

static_assert(std::endian::native == std::endian::little, "samples are hashed as they are stored");

HashedWriter::HashedWriter(std::unique_ptr<SoundWriter> writer) : writer_(std::move(writer)) {}

void HashedWriter::Write(const short* frames, long long count) {
    hash_.Add(frames, static_cast<std::size_t>(count * zrtl::FRAME_BYTES));
    if (writer_) writer_->Write(frames, count);
}

void HashedWriter::Seal() {
    if (writer_) writer_->Seal();
}

void HashedWriter::Finish() {
    if (writer_) writer_->Finish();
}

}  // namespace orlo::host
