// SPDX-License-Identifier: MIT
#include "host/waveform/StreamReader.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "host/shell/Errors.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "host/timeline/Input.h"
#include "sonrel/media/OpenMediaFile.h"

namespace orlo::host {

namespace {

using zrh::media::ZRAbstractAudioStream;
using zrh::media::ZRSampleDataType;
using zrtl::FrameRange;

template <class Value>
Value Load(const unsigned char* bytes) {
    Value value;
    std::memcpy(&value, bytes, sizeof(value));
    return value;
}

/// Full scale of the signed samples of a peak file.
constexpr double FULL_16 = 32767.0;
constexpr double FULL_24 = 2147483391.0;
constexpr double FULL_32 = 2147483647.0;

double Signed24(const unsigned char* bytes) {
    const std::uint32_t word = std::uint32_t{bytes[0]} << 8 | std::uint32_t{bytes[1]} << 16 |
                               std::uint32_t{bytes[2]} << 24;
    return static_cast<std::int32_t>(word) / FULL_24;
}

/// A sample as a peak file has it; 0 for a form that a peak file does not have.
double SampleValue(ZRSampleDataType type, int bits, const unsigned char* bytes) {
    if (type == ZRSampleDataType::Float) {
        if (bits == 32) return static_cast<double>(Load<float>(bytes));
        return bits == 64 ? Load<double>(bytes) : 0.0;
    }
    if (bits == 8) return 2.0 * (bytes[0] / 255.0 - 0.5);
    if (bits == 16) return Load<std::int16_t>(bytes) / FULL_16;
    if (bits == 24) return Signed24(bytes);
    return bits == 32 ? Load<std::int32_t>(bytes) / FULL_32 : 0.0;
}

[[noreturn]] void RefuseSamples(const std::string& media, long long sample) {
    throw JobError("cannot draw the samples of " + Quoted(media) + ": sample " +
                   std::to_string(sample) +
                   " cannot be read; repair the file, or leave out "
                   "--samples");
}

/// Reads frame by frame of one stream.
class StreamReader {
public:
    StreamReader(const std::string& media, ZRAbstractAudioStream& stream)
        : media_(media), stream_(stream) {}

    StreamSamples Read(const FrameRange& range) {
        StreamSamples samples;
        samples.count = range.Count();
        samples.channels.resize(static_cast<std::size_t>(stream_.ChannelCount()));
        const long long end = std::min<long long>(range.end + 1, stream_.SampleCount());
        for (long long position = range.start; position < end;) {
            position += ReadPiece(position, end - position, samples);
        }
        if (end < range.end) RefuseSamples(media_, end);
        return samples;
    }

private:
    /// @return frames read, 1 or more
    int ReadPiece(long long position, long long wanted, StreamSamples& samples) {
        constexpr long long PIECE = 4096;
        const int count = static_cast<int>(std::min(wanted, PIECE));
        const std::size_t sampleBytes = static_cast<std::size_t>(stream_.BitsPerSample()) / 8;
        std::vector<unsigned char> bytes(sampleBytes * samples.channels.size() *
                                         static_cast<std::size_t>(count));
        int read = 0;
        const int code = stream_.GetSamples(position, count, bytes.data(),
                                            static_cast<int>(bytes.size()), &read);
        if (code != 0 || read < 1) RefuseSamples(media_, position);
        const unsigned char* sample = bytes.data();
        for (int frame = 0; frame < read; ++frame) {
            for (std::vector<double>& channel : samples.channels) {
                channel.push_back(
                    SampleValue(stream_.SampleDataType(), stream_.BitsPerSample(), sample));
                sample += sampleBytes;
            }
        }
        return read;
    }

    const std::string& media_;
    ZRAbstractAudioStream& stream_;
};

}  // namespace

StreamSamples ReadStreamSamples(const std::string& media, const zrh::media::SoundChoice& sound,
                                const FrameRange& range) {
    int code = 0;
    try {
        zrh::media::MediaFilePtr file = zrh::media::OpenMediaFile(WidePath(media));
        file->SetReadOption(1);
        code = file->Prepare();
        if (code == 0) {
            const auto stream = zrh::media::FindAudioStream(*file, sound.Number());
            if (stream == nullptr) RefuseSamples(media, range.start);
            return StreamReader(media, *stream).Read(range);
        }
    } catch (const zrh::media::ZRMediaException& error) {
        code = error.Code();
    }
    RefuseMedia(media, code);
}

}  // namespace orlo::host
