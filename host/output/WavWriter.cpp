// SPDX-License-Identifier: MIT
#include "host/output/WavWriter.h"

#include <bit>
#include <cstdint>

#include "host/shell/Errors.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

constexpr int CHANNELS = 2;
constexpr int BITS = 16;
constexpr long long BYTES_PER_FRAME = 4;
/// Room for everything before the samples, with the larger of the two headers.
constexpr long long HEADER_BYTES = 4096;
constexpr long long MAX_WAV_BYTES = 0xFFFFFFFFLL;
/// Stands in a 32-bit size for a size that is elsewhere or not known.
constexpr std::uint64_t NO_SIZE = 0xFFFFFFFFU;
/// Bytes of the plain header after the size of the whole.
constexpr std::uint64_t WAV_HEADER_REST = 36;
/// The same of the large format.
constexpr std::uint64_t RF64_HEADER_REST = 96;

static_assert(std::endian::native == std::endian::little, "samples are written as they are");

std::string Little(std::uint64_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i) text += static_cast<char>(value >> (8 * i));
    return text;
}

/// The fields that every format chunk begins with.
std::string FormatFields(std::uint64_t tag, int rate) {
    const auto hertz = static_cast<std::uint64_t>(rate);
    return Little(tag, 2) + Little(CHANNELS, 2) + Little(hertz, 4) +
           Little(hertz * BYTES_PER_FRAME, 4) + Little(BYTES_PER_FRAME, 2) + Little(BITS, 2);
}

std::string PlainHeader(int rate, std::optional<long long> frames) {
    std::uint64_t data = NO_SIZE;
    std::uint64_t whole = NO_SIZE;
    if (frames) {
        data = static_cast<std::uint64_t>(*frames * BYTES_PER_FRAME);
        whole = data + WAV_HEADER_REST;
    }
    return "RIFF" + Little(whole, 4) + "WAVEfmt " + Little(16, 4) + FormatFields(1, rate) + "data" +
           Little(data, 4);
}

/// The extensible format: 16 valid bits, front left and right, and the identifier of PCM.
std::string ExtensibleFormat(int rate) {
    constexpr char PCM_TAIL[] = "\x00\x00\x00\x00\x10\x00\x80\x00\x00\xaa\x00\x38\x9b\x71";
    return FormatFields(0xFFFE, rate) + Little(22, 2) + Little(BITS, 2) + Little(3, 4) +
           Little(1, 2) + std::string(PCM_TAIL, sizeof PCM_TAIL - 1);
}

std::string LargeHeader(int rate, std::optional<long long> frames) {
    const auto count = static_cast<std::uint64_t>(frames.value_or(0));
    const std::uint64_t data = count * BYTES_PER_FRAME;
    return "RF64" + Little(NO_SIZE, 4) + "WAVEds64" + Little(28, 4) +
           Little(data + RF64_HEADER_REST, 8) + Little(data, 8) + Little(count, 8) + Little(0, 4) +
           "fmt " + Little(40, 4) + ExtensibleFormat(rate) + "data" + Little(NO_SIZE, 4);
}

}  // namespace

WavFormat WavFormatFor(long long frames) {
    return frames > (MAX_WAV_BYTES - HEADER_BYTES) / BYTES_PER_FRAME ? WavFormat::Rf64
                                                                     : WavFormat::Wav;
}

std::string WavHeader(WavFormat format, int rate, std::optional<long long> frames) {
    return format == WavFormat::Rf64 ? LargeHeader(rate, frames) : PlainHeader(rate, frames);
}

WavWriter::WavWriter(const std::string& path, OutputGuard& guard, int rate, long long frames,
                     Length length)
    : output_(path, guard), format_(WavFormatFor(frames)), rate_(rate), headerFrames_(frames) {
    output_.RequireSpace(frames * BYTES_PER_FRAME + HEADER_BYTES);
    const bool unknown = output_.IsStream() && length == Length::AtMost;
    output_.Write(WavHeader(unknown ? WavFormat::Wav : format_, rate,
                            unknown ? std::nullopt : std::optional(frames)));
}

void WavWriter::Write(const short* frames, long long count) {
    output_.Write(
        {reinterpret_cast<const char*>(frames), static_cast<std::size_t>(count * BYTES_PER_FRAME)});
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
