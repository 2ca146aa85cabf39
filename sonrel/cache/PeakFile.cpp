// SPDX-License-Identifier: MIT
#include "sonrel/cache/PeakFile.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <utility>

#include "sonrel/base/Timing.h"
#include "sonrel/cache/detail/BinaryFile.h"
#include "sonrel/cache/detail/BlockAnalysis.h"
#include "sonrel/cache/detail/PeakFolds.h"
#include "sonrel/cache/detail/PeakFormat.h"
#include "sonrel/cache/detail/PeakHeader.h"

namespace orlo::sonrel {

using project::utility::BinaryFile;

struct PeakFileImpl {
    BinaryFile file;
    std::int32_t channelCount = 0;
    std::int32_t blockCount = 0;
    std::int32_t samplesPerBlock = 0;
    std::vector<BinaryFile> parked;  // files of earlier calls of Open, open until Close
    std::vector<unsigned char> piece;
};

namespace {

static_assert(PeakFile::SAMPLES_PER_BLOCK == detail::FRAMES_PER_BLOCK);
static_assert(PeakFile::MAX_CHANNELS == detail::MAX_PEAK_CHANNELS);
static_assert(PeakFile::HEADER_BYTES == detail::PEAK_HEADER_BYTES);

constexpr std::size_t PIECE_BYTES = 65536;
constexpr double MAX_RESERVED = 1 << 20;

/// A range of blocks, and the number of blocks for each point.
struct BlockRange {
    int first = 0;
    int end = 0;
    double step = 1.0;
};

/// Reads the blocks of a file in order, in pieces.
class BlockReader {
public:
    /// @param bytesNeeded  minimum bytes of a cut last block, for it to count
    /// @param end          no block from here on is read
    BlockReader(PeakFileImpl& impl, std::size_t bytesNeeded, int first, int end)
        : impl_(impl),
          blockBytes_(static_cast<std::size_t>(detail::PeakBlockBytes(impl.channelCount))),
          bytesNeeded_(bytesNeeded),
          unread_(end - first) {}

    /// @param wanted  maximum number of blocks
    /// @param blocks  receives their position, valid until the next call
    /// @return the number of blocks; 0 at the end of the file
    int Take(int wanted, const unsigned char** blocks) {
        if (at_ == held_) ReadPiece(wanted);
        *blocks = impl_.piece.data() + static_cast<std::size_t>(at_) * blockBytes_;
        const int taken = std::min(wanted, held_ - at_);
        at_ += taken;
        return taken;
    }

private:
    void ReadPiece(int wanted) {
        const auto room = static_cast<int>(PIECE_BYTES / blockBytes_);
        const int count = std::min(room, std::max(wanted, unread_));
        const std::size_t bytes = static_cast<std::size_t>(count) * blockBytes_;
        if (impl_.piece.size() < bytes) impl_.piece.resize(bytes);
        const std::size_t got = ended_ ? 0 : impl_.file.ReadSome(impl_.piece.data(), bytes);
        ended_ = got < bytes;
        at_ = 0;
        held_ = static_cast<int>(got / blockBytes_);
        if (got % blockBytes_ >= bytesNeeded_) ++held_;
        unread_ -= held_;
    }

    PeakFileImpl& impl_;
    std::size_t blockBytes_;
    std::size_t bytesNeeded_;
    int unread_;
    bool ended_ = false;
    int at_ = 0;
    int held_ = 0;
};

/// Reserves memory for the expected points, up to a limit: the header of a file may declare more
/// blocks than the file contains.
/// @throws std::length_error when @p count is negative
template <class Byte>
void Reserve(std::vector<Byte>& points, double count) {
    points.reserve(static_cast<std::size_t>(zrtl::TruncToInt64(std::min(count, MAX_RESERVED))));
}

/// Reads the blocks of a range, point by point.
///
/// A point ends at the block to which the sum of the steps rounds. The steps are added and not
/// multiplied: with a step of 1.1 point 15 ends at block 16, but 15 * 1.1 would round to 17.
template <class Fold, class Byte>
PeakFile::Result ReadPoints(PeakFileImpl& impl, BlockRange range, Fold fold,
                            std::vector<Byte>& points) {
    const double lastBlock = impl.blockCount;
    const double reach = std::min(range.end + range.step, lastBlock);
    BlockReader reader(impl, fold.BytesNeeded(), range.first, zrtl::TruncToInt32(reach));
    int block = range.first;
    double position = range.first;
    for (;;) {
        position += range.step;
        const int limit = zrtl::TruncToInt32(std::min(zrtl::RoundHalfAway(position), lastBlock));
        while (block < limit) {
            const unsigned char* blocks = nullptr;
            const int taken = reader.Take(limit - block, &blocks);
            if (taken == 0) return PeakFile::Result::ReadFailed;
            fold.Add(blocks, taken);
            block += taken;
        }
        fold.EndPoint(points);
        if (block >= range.end) return PeakFile::Result::Ok;
    }
}

/// @param valuesPerPoint  for the reserved memory
template <class Fold, class Byte>
PeakFile::Result Read(PeakFileImpl& impl, BlockRange range, int valuesPerPoint,
                      std::vector<Byte>& points) {
    using Result = PeakFile::Result;
    if (!impl.file.IsOpen()) return Result::NotOpen;
    if (range.first < 0 || range.end > impl.blockCount || !(range.step >= 1.0)) {
        return Result::InvalidArgument;
    }
    points.clear();
    const double count = (static_cast<double>(range.end) - range.first) / range.step;
    Reserve(points, zrtl::RoundHalfAway(count * valuesPerPoint));
    const long long offset =
        static_cast<long long>(detail::PeakBlockBytes(impl.channelCount)) * range.first +
        detail::PEAK_HEADER_BYTES;
    if (!impl.file.Seek(offset, SEEK_SET)) return Result::ReadFailed;
    if (range.first >= range.end) return Result::Ok;
    return ReadPoints(impl, range, Fold(impl.channelCount), points);
}

}  // namespace

PeakFile::PeakFile() : impl_(std::make_unique<PeakFileImpl>()) {}

PeakFile::~PeakFile() = default;

bool PeakFile::Open(const std::wstring& path) {
    if (impl_->file.IsOpen()) impl_->parked.push_back(std::move(impl_->file));
    if (!impl_->file.OpenForReading(path)) return false;
    detail::PeakHeader header;
    if (!detail::ReadPeakHeader(impl_->file, &header) || header.blocks == 0) return false;
    impl_->channelCount = header.channels;
    impl_->blockCount = static_cast<std::int32_t>(header.blocks);
    impl_->samplesPerBlock = detail::FRAMES_PER_BLOCK;
    return true;
}

void PeakFile::Close() {
    impl_->file.Close();
    impl_->parked.clear();
}

int PeakFile::ChannelCount() const {
    return impl_->channelCount;
}

int PeakFile::BlockCount() const {
    return impl_->blockCount;
}

int PeakFile::SamplesPerBlock() const {
    return impl_->samplesPerBlock;
}

PeakFile::Result PeakFile::GetChannelPeaks(int firstBlock, int endBlock, double blocksPerPoint,
                                           std::vector<signed char>& peaks) {
    return Read<detail::PeakFold>(*impl_, {firstBlock, endBlock, blocksPerPoint},
                                  impl_->channelCount, peaks);
}

PeakFile::Result PeakFile::GetRMSAmplitude(int firstBlock, int endBlock, double blocksPerPoint,
                                           std::vector<unsigned char>& amplitudes) {
    return Read<detail::RmsFold>(*impl_, {firstBlock, endBlock, blocksPerPoint}, 1, amplitudes);
}

}  // namespace orlo::sonrel
