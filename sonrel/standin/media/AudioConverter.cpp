// SPDX-License-Identifier: MIT
#include <algorithm>
#include <new>
#include <vector>

#include "sonrel/contracts/media/ZRAudioConverter.h"
#include "sonrel/contracts/zrtl/Paths.h"
#include "sonrel/standin/media/ConversionObserver.h"
#include "sonrel/standin/media/MediaErrors.h"
#include "sonrel/standin/media/detail/ConversionFeed.h"
#include "sonrel/standin/media/detail/StereoConverter.h"
#include "sonrel/standin/project/detail/ConformedFileWriter.h"

namespace zrh::media {
namespace {

using detail::ConversionFeed;
using detail::SampleBlock;
using detail::StereoConverter;
using orlo::project::ConformedFileWriter;

/// Values that are gathered before they are written.
constexpr std::size_t WRITE_VALUES = 256 * 1024;
/// Source frames between two questions to the observer.
constexpr long long FRAMES_PER_NOTICE = 48000;

/// No more frames than this come out of @p frames frames.
std::int64_t LargestOutput(std::int64_t frames, int fromRate, int toRate) {
    return frames / fromRate * toRate + 2LL * toRate + 4096;
}

MediaError OpenOutput(const std::wstring& path, int rate, std::int64_t largestFrames,
                      ConformedFileWriter* writer) {
    switch (writer->Open(zrtl::ToUtf8(path), rate, largestFrames)) {
        case ConformedFileWriter::Result::Done:
            return MediaError::None;
        case ConformedFileWriter::Result::Exists:
            return MediaError::OutputExists;
        default:
            return MediaError::OutputFailed;
    }
}

class Conversion {
public:
    Conversion(ConversionFeed* feed, StereoConverter* converter, ConformedFileWriter* writer)
        : feed_(feed), converter_(converter), writer_(writer) {
        samples_.reserve(2 * WRITE_VALUES);
    }

    MediaError Run() {
        std::vector<SampleBlock> blocks;
        for (;;) {
            if (!NotifyIfDue()) return MediaError::Cancelled;
            const MediaError error = feed_->Next(&blocks);
            if (error != MediaError::None) return error;
            if (blocks.empty()) break;
            for (const SampleBlock& block : blocks) {
                if (!converter_->Convert(block, &samples_)) return MediaError::Undecodable;
                done_ += block.frames;
            }
            if (samples_.size() >= WRITE_VALUES && !WriteOut()) return MediaError::OutputFailed;
        }
        if (!converter_->Flush(&samples_)) return MediaError::Undecodable;
        if (!WriteOut()) return MediaError::OutputFailed;
        noticed_ = -1;
        if (!NotifyIfDue()) return MediaError::Cancelled;
        return writer_->Finish() ? MediaError::None : MediaError::OutputFailed;
    }

private:
    bool NotifyIfDue() {
        if (noticed_ >= 0 && done_ - noticed_ < FRAMES_PER_NOTICE) return true;
        noticed_ = done_;
        return ConversionObserver::Notify(done_, feed_->TotalFrames());
    }

    bool WriteOut() {
        const bool written =
            writer_->Write(samples_.data(), static_cast<std::int64_t>(samples_.size() / 2));
        samples_.clear();
        return written;
    }

    ConversionFeed* feed_;
    StereoConverter* converter_;
    ConformedFileWriter* writer_;
    std::vector<std::int16_t> samples_;
    long long done_ = 0;
    long long noticed_ = -1;
};

MediaError ConvertStream(const std::shared_ptr<ZRAbstractAudioStream>& stream,
                         const std::wstring& outputPath, unsigned int sampleRate) {
    if (stream == nullptr) return MediaError::InvalidArgument;
    if (sampleRate < detail::LOWEST_RATE || sampleRate > detail::HIGHEST_RATE) {
        return MediaError::OutputRate;
    }
    const int rate = static_cast<int>(sampleRate);
    std::unique_ptr<ConversionFeed> feed;
    MediaError error = detail::NewConversionFeed(stream, &feed);
    if (error != MediaError::None) return error;
    if (feed->Format().rate < detail::LOWEST_RATE || feed->Format().rate > detail::HIGHEST_RATE) {
        return MediaError::RateOutOfRange;
    }
    StereoConverter converter;
    error = converter.Open(feed->Format(), rate);
    if (error != MediaError::None) return error;
    ConformedFileWriter writer;
    error = OpenOutput(outputPath, rate,
                       LargestOutput(feed->TotalFrames(), feed->Format().rate, rate), &writer);
    if (error != MediaError::None) return error;
    return Conversion(feed.get(), &converter, &writer).Run();
}

}  // namespace

int ZRAudioConverter::Convert(const std::shared_ptr<ZRAbstractAudioStream>& stream,
                              const std::wstring& outputPath, unsigned int sampleRate) {
    const detail::QuietScope quiet;
    try {
        return static_cast<int>(ConvertStream(stream, outputPath, sampleRate));
    } catch (const std::bad_alloc&) {
        return static_cast<int>(MediaError::OutOfMemory);
    }
}

}  // namespace zrh::media
