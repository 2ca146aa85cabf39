// SPDX-License-Identifier: MIT
#include "sonrel/cache/detail/PeakBlocks.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <stdexcept>

#include "sonrel/cache/detail/BlockAnalysis.h"

namespace orlo::sonrel::detail {

using project::utility::BinaryFile;
using zrh::media::ZRAbstractAudioStream;
using zrh::media::ZRSampleDataType;

namespace {

/// Receives the blocks: appends them in memory, or writes them to the file in pieces.
class BlockSink {
public:
    BlockSink(BinaryFile* file, std::vector<unsigned char>* memory)
        : file_(file), bytes_(memory != nullptr ? *memory : piece_) {}

    /// Reserves memory for the expected blocks.
    void Reserve(long long blocks, int blockBytes) {
        if (file_ != nullptr) blocks = std::min<long long>(blocks, PIECE_BYTES / blockBytes + 1);
        bytes_.reserve(bytes_.size() +
                       static_cast<std::size_t>(blocks) * static_cast<std::size_t>(blockBytes));
    }

    /// Room for the next block.
    unsigned char* Next(int blockBytes) {
        bytes_.resize(bytes_.size() + static_cast<std::size_t>(blockBytes));
        return &bytes_.back() + 1 - blockBytes;
    }

    void EndBlock() {
        if (file_ != nullptr && bytes_.size() >= PIECE_BYTES) WritePiece();
    }
    void Finish() {
        if (file_ != nullptr) WritePiece();
    }

private:
    static constexpr std::size_t PIECE_BYTES = 65536;

    void WritePiece() {
        if (!WriteBytes(*file_, bytes_)) throw std::runtime_error("Cannot write peak blocks");
        bytes_.clear();
    }

    BinaryFile* file_;
    std::vector<unsigned char> piece_;
    std::vector<unsigned char>& bytes_;
};

std::size_t StepBytes(int channels, int bitsPerSample) {
    if (channels < 1 || channels > MAX_PEAK_CHANNELS) {
        throw std::runtime_error("Unsupported channel count.");
    }
    if (bitsPerSample < 1 || bitsPerSample % 8 != 0) {
        throw std::runtime_error("Unsupported bits per sample.");
    }
    const auto bytes = static_cast<std::size_t>(bitsPerSample / 8) *
                       static_cast<std::size_t>(channels) * FRAMES_PER_BLOCK;
    if (bytes > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        throw std::runtime_error("Unsupported bits per sample.");
    }
    return bytes;
}

/// Reads a stream step by step.
class StepReader {
public:
    StepReader(ZRAbstractAudioStream& stream, std::size_t bytes)
        : stream_(stream), buffer_(bytes) {}

    /// @param frames  frames to read
    /// @return frames read, including silence
    int Read(long long position, int frames) {
        // A stream that fails without setting the count leaves the count of the step before.
        const int code = stream_.GetSamples(position, frames, buffer_.data(),
                                            static_cast<int>(buffer_.size()), &framesRead_);
        if (code != 0) {
            if (position == 0) throw std::runtime_error("Cannot get samples");
            if (framesRead_ == 0) framesRead_ = frames;
            std::fill(buffer_.begin(), buffer_.end(), static_cast<unsigned char>(0));
        }
        // Without progress the loop would never end.
        if (framesRead_ < 1) throw std::runtime_error("Cannot get samples");
        return framesRead_;
    }

    const unsigned char* Samples() const { return buffer_.data(); }

private:
    ZRAbstractAudioStream& stream_;
    std::vector<unsigned char> buffer_;
    int framesRead_ = 0;
};

}  // namespace

bool WriteBytes(BinaryFile& file, const std::vector<unsigned char>& bytes) {
    if (bytes.empty()) return true;
    if (bytes.size() > 1 && !file.Write(bytes.data(), bytes.size() - 1)) return false;
    return file.Write(&bytes.back(), 1);
}

unsigned int WritePeakBlocks(const std::shared_ptr<ZRAbstractAudioStream>& stream, int channels,
                             int bitsPerSample, ZRSampleDataType dataType,
                             std::pair<long long, long long> range, BinaryFile* file,
                             std::vector<unsigned char>* memory) {
    StepReader reader(*stream, StepBytes(channels, bitsPerSample));
    const SampleForm form = SampleFormOf(dataType, bitsPerSample);
    const int blockBytes = PeakBlockBytes(channels);
    long long position = range.first;
    long long remaining = range.second - range.first;
    BlockSink sink(file, memory);
    sink.Reserve(std::max(remaining, 0LL) / FRAMES_PER_BLOCK + 1, blockBytes);

    unsigned int blocks = 0;
    while (remaining > 0) {
        const int wanted = static_cast<int>(std::min<long long>(FRAMES_PER_BLOCK, remaining));
        const int frames = reader.Read(position, wanted);
        SummariseBlock(form, reader.Samples(), channels, std::min(frames, FRAMES_PER_BLOCK),
                       sink.Next(blockBytes));
        sink.EndBlock();
        position += frames;
        remaining -= frames;
        ++blocks;
    }
    sink.Finish();
    return blocks;
}

}  // namespace orlo::sonrel::detail
