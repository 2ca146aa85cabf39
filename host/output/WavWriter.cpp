// SPDX-License-Identifier: MIT
#include "host/output/WavWriter.h"

#include <bit>

#include "host/shell/Errors.h"
#include "host/shell/Text.h"
#include "sonrel/base/StereoFrame.h"

namespace orlo::host {

namespace {

/// Room for the header of either format.
constexpr long long HEADER_ROOM = 4096;

static_assert(std::endian::native == std::endian::little, "samples are written unchanged");

}  // namespace

WavWriter::WavWriter(const std::string& path, OutputGuard& guard, int rate, long long frames,
                     Length length)
    : output_(path, guard), format_(WavFormatFor(frames)), rate_(rate), headerFrames_(frames) {
    output_.RequireSpace(frames * zrtl::FRAME_BYTES + HEADER_ROOM);
    const bool unknown = output_.IsStream() && length == Length::AtMost;
    output_.Write(WavHeader(unknown ? WavFormat::Wav : format_, rate,
                            unknown ? std::nullopt : std::optional(frames)));
}

void WavWriter::Write(const short* frames, long long count) {
    output_.Write({reinterpret_cast<const char*>(frames),
                   static_cast<std::size_t>(count * zrtl::FRAME_BYTES)});
    written_ += count;
}

void WavWriter::Seal() {
    if (sealed_) return;
    if (written_ != headerFrames_ && !output_.IsStream()) {
        output_.WriteAt(WavHeader(format_, rate_, written_), 0);
    }
    output_.Seal();
    sealed_ = true;
}

void WavWriter::Finish() {
    Seal();
    output_.Commit();
}

}  // namespace orlo::host
