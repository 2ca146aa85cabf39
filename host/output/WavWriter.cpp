// SPDX-License-Identifier: MIT
#include "host/output/WavWriter.h"

#include <algorithm>
#include <bit>
#include <cstdint>

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

void WavWriter::AddChunk(std::string_view name, std::string_view content) {
    output_.Write(name);
    output_.Write(zrtl::detail::LittleEndian(content.size(), 4));
    output_.Write(content);
    if (content.size() % 2 != 0) output_.Write(std::string_view("\0", 1));
    chunkBytes_ += 8 + static_cast<long long>(content.size() + content.size() % 2);
}

/// The size of the whole file in the header counts the chunks after the samples too.
void WavWriter::CountChunks() {
    const bool isLong = format_ == WavFormat::Rf64;
    const auto header = std::ssize(WavHeader(format_, rate_, written_));
    const long long bytes = header - 8 + written_ * zrtl::FRAME_BYTES + chunkBytes_;
    if (isLong) {
        output_.WriteAt(zrtl::detail::LittleEndian(static_cast<std::uint64_t>(bytes), 8), 20);
    } else {
        const auto size =
            std::min<std::uint64_t>(static_cast<std::uint64_t>(bytes), zrtl::detail::NO_WAV_SIZE);
        output_.WriteAt(zrtl::detail::LittleEndian(size, 4), 4);
    }
}

void WavWriter::Seal() {
    if (sealed_) return;
    if (written_ != headerFrames_ && !output_.IsStream()) {
        output_.WriteAt(WavHeader(format_, rate_, written_), 0);
    }
    if (chunkBytes_ > 0) CountChunks();
    output_.Seal();
    sealed_ = true;
}

void WavWriter::Finish() {
    Seal();
    output_.Commit();
}

}  // namespace orlo::host
