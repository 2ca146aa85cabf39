// SPDX-License-Identifier: MIT
#include <algorithm>
#include <new>
#include <vector>

#include "sonrel/base/Paths.h"
#include "sonrel/conformed/ConformedFileWriter.h"
#include "sonrel/media/ConversionObserver.h"
#include "sonrel/media/ZRAudioConverter.h"
#include "sonrel/media/detail/ConformedOutput.h"
#include "sonrel/media/detail/DecodedSource.h"
#include "sonrel/media/detail/DecoderThreads.h"
#include "sonrel/media/detail/StereoConverter.h"
#include "sonrel/media/input/FfmpegLibrary.h"
#include "sonrel/media/input/MediaErrors.h"

namespace zrh::media {
namespace {

using detail::ConformedOutput;
using detail::DecodedSource;
using detail::SampleBlock;
using detail::StereoConverter;
using orlo::project::ConformedFileWriter;

/// A block of at least this many frames is written without buffering.
constexpr int MIN_DIRECT_WRITE_FRAMES = 8192;
/// Source frames between two calls of the observer.
constexpr long long REPORT_INTERVAL = 48000;

/// The maximum number of frames that @p frames source frames are converted to.
std::int64_t MaxOutputFrames(std::int64_t frames, int fromRate, int toRate) {
    return frames / fromRate * toRate + 2LL * toRate + 4096;
}

MediaError ErrorOf(ConformedFileWriter::Result result) {
    switch (result) {
        case ConformedFileWriter::Result::Done:
            return MediaError::None;
        case ConformedFileWriter::Result::Exists:
            return MediaError::OutputExists;
        case ConformedFileWriter::Result::TooManyFiles:
            return MediaError::TooManyFiles;
        case ConformedFileWriter::Result::Failed:
            break;
    }
    return MediaError::OutputFailed;
}

/// The number of source frames that are converted to about 2^18 frames at most, 1 MiB.
int FramesOfAPiece(int fromRate, int toRate) {
    constexpr std::int64_t MAX_OUTPUT = 1 << 18;
    return static_cast<int>(
        std::clamp<std::int64_t>(MAX_OUTPUT * fromRate / toRate, 1, MAX_OUTPUT));
}

class Conversion {
public:
    Conversion(DecodedSource* source, StereoConverter* converter, int rate,
               ConformedFileWriter* writer)
        : source_(source),
          converter_(converter),
          writer_(writer),
          output_(writer, WritesOnThread(*source, rate)),
          pieceFrames_(FramesOfAPiece(source->Format().rate, rate)) {}

    MediaError Run() {
        MediaError error = ConvertAll();
        // A block that could not be written is an earlier error.
        if (!output_.Wait()) error = MediaError::OutputFailed;
        if (error != MediaError::None) return error;
        reported_ = -1;
        if (!ReportIfDue()) return MediaError::Cancelled;
        return ErrorOf(writer_->Finish());
    }

private:
    /// Resampling takes most of the time of the calling thread, and writing most of the rest.
    static bool WritesOnThread(const DecodedSource& source, int rate) {
        const int sourceRate = source.Format().rate;
        return sourceRate != rate && detail::IsWorthThreads(source.TotalFrames(), sourceRate);
    }

    MediaError ConvertAll() {
        std::vector<SampleBlock> blocks;
        for (;;) {
            if (!ReportIfDue()) return MediaError::Cancelled;
            if (converter_->IsIdentity()) source_->PreferFrames(output_.FramesToBlockEnd());
            const MediaError error = source_->Next(&blocks);
            if (error != MediaError::None) return error;
            if (blocks.empty()) break;
            for (const SampleBlock& block : blocks) {
                const MediaError converted = Take(block);
                if (converted != MediaError::None) return converted;
            }
        }
        if (!converter_->Flush(&output_.Samples())) return MediaError::Undecodable;
        return output_.WriteAll() ? MediaError::None : MediaError::OutputFailed;
    }

    bool ReportIfDue() {
        const long long due = std::min<long long>(REPORT_INTERVAL, pieceFrames_);
        if (reported_ >= 0 && done_ - reported_ < due) return true;
        reported_ = done_;
        return ConversionObserver::Notify(done_, source_->TotalFrames());
    }

    MediaError Take(const SampleBlock& block) {
        if (converter_->IsIdentity() && block.planes != nullptr &&
            block.frames >= MIN_DIRECT_WRITE_FRAMES) {
            const auto* samples =
                reinterpret_cast<const std::int16_t*>(block.planes[0]) + 2 * block.offset;
            done_ += block.frames;
            return output_.WriteDirectly(samples, block.frames) ? MediaError::None
                                                                : MediaError::OutputFailed;
        }
        for (int at = 0; at < block.frames; at += pieceFrames_) {
            if (at > 0 && !ReportIfDue()) return MediaError::Cancelled;
            const int frames = std::min(pieceFrames_, block.frames - at);
            const SampleBlock piece{block.planes, block.offset + at, frames};
            if (!converter_->Convert(piece, &output_.Samples())) return MediaError::Undecodable;
            if (!output_.WriteFullBlocks()) return MediaError::OutputFailed;
            done_ += frames;
        }
        return MediaError::None;
    }

    DecodedSource* source_;
    StereoConverter* converter_;
    ConformedFileWriter* writer_;
    ConformedOutput output_;
    int pieceFrames_;
    long long done_ = 0;
    long long reported_ = -1;
};

MediaError ConvertStream(const std::shared_ptr<ZRAbstractAudioStream>& stream,
                         const std::wstring& outputPath, unsigned int sampleRate,
                         std::uint64_t* checksum, std::string* reason) {
    if (stream == nullptr) return MediaError::InvalidArgument;
    if (sampleRate < detail::MIN_RATE || sampleRate > detail::MAX_RATE) {
        return MediaError::OutputRate;
    }
    if (detail::LoadFfmpeg() == nullptr) return MediaError::LibraryNotLoaded;
    const int rate = static_cast<int>(sampleRate);
    std::unique_ptr<DecodedSource> source;
    MediaError error = detail::NewDecodedSource(stream, &source);
    if (error != MediaError::None) return error;
    if (source->Format().rate < detail::MIN_RATE || source->Format().rate > detail::MAX_RATE) {
        return MediaError::RateOutOfRange;
    }
    StereoConverter converter;
    error = converter.Open(source->Format(), rate);
    if (error != MediaError::None) return error;
    ConformedFileWriter writer;
    const std::int64_t maxFrames =
        MaxOutputFrames(source->TotalFrames(), source->Format().rate, rate);
    error = ErrorOf(writer.Open(zrtl::ToUtf8(outputPath), rate, maxFrames));
    if (error != MediaError::None) return error;
    error = Conversion(source.get(), &converter, rate, &writer).Run();
    if (error != MediaError::OutputFailed) *reason = source->Reason();
    *checksum = writer.Checksum();
    return error;
}

}  // namespace

int ZRAudioConverter::Convert(const std::shared_ptr<ZRAbstractAudioStream>& stream,
                              const std::wstring& outputPath, unsigned int sampleRate) {
    std::uint64_t ignored = 0;
    return Convert(stream, outputPath, sampleRate, &ignored);
}

int ZRAudioConverter::Convert(const std::shared_ptr<ZRAbstractAudioStream>& stream,
                              const std::wstring& outputPath, unsigned int sampleRate,
                              std::uint64_t* checksum) {
    std::string reason;
    MediaError error = MediaError::OutOfMemory;
    try {
        error = ConvertStream(stream, outputPath, sampleRate, checksum, &reason);
    } catch (const std::bad_alloc&) {
        reason.clear();
    }
    const int code = static_cast<int>(error);
    if (reason.empty() && error != MediaError::None) reason = MediaErrorText(code);
    ConversionObserver::NoteFailure(reason);
    return code;
}

}  // namespace zrh::media
