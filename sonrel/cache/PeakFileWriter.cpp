// SPDX-License-Identifier: MIT
#include "sonrel/cache/detail/PeakFileWriter.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <future>
#include <utility>
#include <vector>

#include "sonrel/base/FrameRange.h"
#include "sonrel/cache/PeakFile.h"
#include "sonrel/cache/detail/BinaryFile.h"
#include "sonrel/cache/detail/BlockAnalysis.h"
#include "sonrel/cache/detail/PeakBlocks.h"
#include "sonrel/cache/detail/PeakFormat.h"
#include "sonrel/cache/detail/SoundPath.h"
#include "sonrel/media.h"

namespace orlo::sonrel {

using detail::FRAMES_PER_BLOCK;
using project::MediaAsset;
using project::utility::BinaryFile;
using zrh::media::FindAudioStream;
using zrh::media::MediaFilePtr;
using zrh::media::ZRAbstractAudioStream;
using zrh::media::ZRSampleDataType;
using zrtl::FrameRange;
using Mode = PeakFile::CreateMode;

namespace {

constexpr unsigned int SECONDS_FOR_TASKS = 30;
constexpr std::size_t TASKS = 4;
constexpr std::size_t EXTRA = TASKS - 1;  ///< readers besides the first

using Stream = std::shared_ptr<ZRAbstractAudioStream>;

/// The stream that is summarised.
struct Source {
    std::wstring mediaPath;
    unsigned long long streamIndex = 0;
    Stream stream;  // of the first reader
    int channels = 0;
    int bitsPerSample = 0;
    ZRSampleDataType dataType = ZRSampleDataType::Integer;
    long long frames = 0;
};

unsigned int WriteRange(const Source& source, const Stream& stream, FrameRange range,
                        BinaryFile* file, std::vector<unsigned char>* memory) {
    return detail::WritePeakBlocks(stream, source.channels, source.bitsPerSample, source.dataType,
                                   {range.start, range.end}, file, memory);
}

/// Four quarters of the frames that start at multiples of 32, so that their blocks equal the blocks
/// of one pass. The last quarter includes the remainder.
std::array<FrameRange, TASKS> QuartersOf(long long frames) {
    const long long quarter = frames / 4 / FRAMES_PER_BLOCK * FRAMES_PER_BLOCK;
    return {
        {{0, quarter}, {quarter, 2 * quarter}, {2 * quarter, 3 * quarter}, {3 * quarter, frames}}};
}

/// The readers of the second to fourth task.
struct ExtraReaders {
    std::array<MediaFilePtr, EXTRA> files;
    std::array<Stream, EXTRA> streams;
};

/// @return 0 or the code of the reader that failed
int Open(const Source& source, ExtraReaders& readers) {
    auto& [files, streams] = readers;
    for (MediaFilePtr& file : files) file = zrh::media::OpenMediaFile(source.mediaPath);
    for (const MediaFilePtr& file : files) file->SetReadOption(1);
    for (std::size_t i = 0; i < EXTRA; ++i) {
        streams[i] = FindAudioStream(*files[i], source.streamIndex);
    }
    for (std::size_t i = 0; i < EXTRA; ++i) {
        if (files[i]->Prepare() != 0 || streams[i] == nullptr)
            return PeakFile::SECOND_READER_NOT_PREPARED - static_cast<int>(i);
    }
    return 0;
}

/// Runs four tasks in parallel, each with its own reader. The first task writes to the file, the
/// others to memory, which is appended afterwards.
/// @return 0 or the code of the step that failed
int WriteInTasks(const Source& source, BinaryFile& output, unsigned int* blocks) {
    const auto ranges = QuartersOf(source.frames);
    // In this order: the destructors wait for a running task before they destroy anything that it
    // uses.
    ExtraReaders readers;
    std::array<std::vector<unsigned char>, EXTRA> memory;
    std::array<std::future<unsigned int>, TASKS> tasks;

    const auto start = [&source](const Stream& stream, FrameRange range, BinaryFile* file,
                                 std::vector<unsigned char>* bytes) {
        return std::async(std::launch::async, [&source, &stream, range, file, bytes] {
            return WriteRange(source, stream, range, file, bytes);
        });
    };
    tasks[0] = start(source.stream, ranges[0], &output, nullptr);

    if (const int failed = Open(source, readers); failed != 0) return failed;
    for (std::size_t i = 0; i < EXTRA; ++i) {
        tasks[i + 1] = start(readers.streams[i], ranges[i + 1], nullptr, &memory[i]);
    }

    unsigned int sum = 0;
    for (auto& task : tasks) sum += task.get();
    for (std::size_t i = 0; i < EXTRA; ++i) {
        if (!detail::WriteBytes(output, memory[i]))
            return PeakFile::SECOND_QUARTER_NOT_WRITTEN - static_cast<int>(i);
    }
    *blocks = sum;
    return 0;
}

/// @return 0 or the code of the step that failed
int WriteBlocks(const Source& source, bool inTasks, BinaryFile& output, unsigned int* blocks) {
    try {
        if (inTasks) return WriteInTasks(source, output, blocks);
        *blocks = WriteRange(source, source.stream, {0, source.frames}, &output, nullptr);
        return 0;
    } catch (const std::exception&) {
        return PeakFile::BLOCKS_NOT_MADE;
    }
}

bool WriteNumber(BinaryFile& output, std::uint32_t number) {
    const std::array<unsigned char, 4> bytes{
        static_cast<unsigned char>(number), static_cast<unsigned char>(number >> 8),
        static_cast<unsigned char>(number >> 16), static_cast<unsigned char>(number >> 24)};
    return output.Write(bytes.data(), bytes.size());
}

/// The header is written last: until then the file does not open as a peak file.
/// @return 0 or the code of the step that failed
int WriteHeader(BinaryFile& output, int channels, unsigned int blocks) {
    if (!output.Seek(0, SEEK_SET)) return PeakFile::HEADER_NOT_POSITIONED;
    if (!output.Write(detail::PEAK_MAGIC.data(), detail::PEAK_MAGIC.size()))
        return PeakFile::MAGIC_NOT_WRITTEN;
    if (!WriteNumber(output, detail::PEAK_VERSION)) return PeakFile::VERSION_NOT_WRITTEN;
    if (!WriteNumber(output, static_cast<std::uint32_t>(channels)))
        return PeakFile::CHANNEL_COUNT_NOT_WRITTEN;
    // Flushed here, because closing the file would not report a full disk.
    if (!WriteNumber(output, blocks) || !output.Flush()) return PeakFile::BLOCK_COUNT_NOT_WRITTEN;
    return 0;
}

/// Whether four tasks are used. The product wraps at 32 bits, like the rate.
bool UsesTasks(Mode mode, int sampleRate, long long frames) {
    if (mode == Mode::SingleThreaded) return false;
    if (mode != Mode::Auto) return true;
    return frames >=
           static_cast<std::int32_t>(SECONDS_FOR_TASKS * static_cast<unsigned int>(sampleRate));
}

bool OpenOutput(BinaryFile& file, const std::wstring& path, detail::PeakOutput output) {
    return output == detail::PeakOutput::New ? file.OpenNew(path) : file.OpenForWriting(path);
}

}  // namespace

namespace detail {

int WritePeakFile(const std::shared_ptr<MediaAsset>& asset, const std::wstring& path, Mode mode,
                  PeakOutput outputName, std::uint64_t* checksum) {
    const std::wstring mediaPath = SoundPath(*asset);
    const MediaFilePtr file = zrh::media::OpenMediaFile(mediaPath);
    file->SetReadOption(1);
    if (file->Prepare() != 0) return PeakFile::MEDIA_NOT_PREPARED;

    Source source;  // declared after the reader, so that the stream is released before it
    source.mediaPath = mediaPath;
    source.streamIndex = asset->AudioStreamIndex();
    source.stream = FindAudioStream(*file, source.streamIndex);
    if (source.stream == nullptr) return PeakFile::NO_AUDIO_STREAM;
    source.channels = source.stream->ChannelCount();
    source.bitsPerSample = source.stream->BitsPerSample();
    source.dataType = source.stream->SampleDataType();
    source.frames = source.stream->SampleCount();
    const bool inTasks = UsesTasks(mode, source.stream->SampleRate(), source.frames);

    BinaryFile output;
    if (!OpenOutput(output, path, outputName)) return PeakFile::OUTPUT_NOT_OPENED;
    if (!output.Seek(PEAK_HEADER_BYTES, SEEK_SET)) return PeakFile::OUTPUT_NOT_POSITIONED;
    unsigned int blocks = 0;
    const int code = WriteBlocks(source, inTasks, output, &blocks);
    if (code != 0) return code;
    const int headerCode = WriteHeader(output, source.channels, blocks);
    if (checksum != nullptr) *checksum = output.WrittenChecksum();
    return headerCode;
}

}  // namespace detail

int PeakFile::Create(const std::shared_ptr<MediaAsset>& asset, const std::wstring& path,
                     CreateMode mode) {
    return detail::WritePeakFile(asset, path, mode, detail::PeakOutput::Any, nullptr);
}

}  // namespace orlo::sonrel
