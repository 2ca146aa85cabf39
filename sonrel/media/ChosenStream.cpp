// SPDX-License-Identifier: MIT
#include "sonrel/media/detail/ChosenStream.h"

#include <algorithm>
#include <cstring>
#include <set>

namespace zrh::media::detail {
namespace {

MediaError ErrorOf(const ChosenChannel& side) {
    if (side.stream == nullptr) return MediaError::None;
    if (side.stream->Error() != MediaError::None) return side.stream->Error();
    return side.channel <= side.stream->ChannelCount() ? MediaError::None
                                                       : MediaError::NoSuchChannel;
}

bool HaveEqualFormats(const AudioStream& a, const AudioStream& b) {
    return a.SampleRate() == b.SampleRate() && a.BitsPerSample() == b.BitsPerSample() &&
           a.SampleDataType() == b.SampleDataType();
}

}  // namespace

MediaError ChosenChannels::Error() const {
    for (const ChosenChannel* side : {&left, &right}) {
        const MediaError error = ErrorOf(*side);
        if (error != MediaError::None) return error;
    }
    const bool areTwo = left.stream != nullptr && right.stream != nullptr;
    return areTwo && !HaveEqualFormats(*left.stream, *right.stream) ? MediaError::StreamsDiffer
                                                                    : MediaError::None;
}

long long ChosenStream::SampleCount() const {
    long long count = 0;
    for (const ChosenChannel* side : {&channels_.left, &channels_.right}) {
        if (side->stream != nullptr) count = std::max(count, side->stream->SampleCount());
    }
    return count;
}

std::vector<ChosenStream::Target> ChosenStream::TargetsOf(const AudioStream* stream) const {
    std::vector<Target> targets;
    if (channels_.left.stream.get() == stream) targets.push_back({channels_.left.channel, 0});
    if (channels_.IsMono()) return targets;
    if (channels_.right.stream.get() == stream) targets.push_back({channels_.right.channel, 1});
    return targets;
}

/// Copies the channels of the targets. @p buffer contains silence for channels that do not exist.
MediaError ChosenStream::ReadStream(AudioStream& stream, long long start, int count,
                                    const std::vector<Target>& targets, std::uint8_t* buffer) {
    const auto sampleBytes = static_cast<std::size_t>(BitsPerSample() / 8);
    const std::size_t from = sampleBytes * static_cast<std::size_t>(stream.ChannelCount());
    const std::size_t to = sampleBytes * static_cast<std::size_t>(ChannelCount());
    const long long there = std::min<long long>(count, stream.SampleCount() - start);
    for (long long done = 0; done < there;) {
        const int wanted = static_cast<int>(there - done);
        frames_.resize(from * static_cast<std::size_t>(wanted));
        int got = 0;
        const int code = stream.GetSamples(start + done, wanted, frames_.data(),
                                           static_cast<int>(frames_.size()), &got);
        if (code != 0) return static_cast<MediaError>(code);
        for (const Target& target : targets) {
            const std::uint8_t* source =
                frames_.data() + sampleBytes * static_cast<std::size_t>(target.channel - 1);
            std::uint8_t* result = buffer + to * static_cast<std::size_t>(done) +
                                   sampleBytes * static_cast<std::size_t>(target.position);
            for (int i = 0; i < got; ++i, source += from, result += to) {
                std::memcpy(result, source, sampleBytes);
            }
        }
        done += got;
    }
    return MediaError::None;
}

int ChosenStream::GetSamples(long long start, int count, void* buffer, int bufferBytes,
                             int* samplesRead) {
    const MediaError error = channels_.Error();
    if (error != MediaError::None) return static_cast<int>(error);
    const long long frameBytes = static_cast<long long>(BitsPerSample()) / 8 * ChannelCount();
    if (buffer == nullptr || start < 0 || count < 1 || count * frameBytes > bufferBytes) {
        return static_cast<int>(MediaError::InvalidArgument);
    }
    const long long total = SampleCount();
    if (start >= total) return static_cast<int>(MediaError::EndOfStream);
    count = static_cast<int>(std::min<long long>(count, total - start));
    auto* const bytes = static_cast<std::uint8_t*>(buffer);
    std::fill_n(bytes, count * frameBytes, BitsPerSample() == 8 ? 0x80 : 0);
    for (AudioStream* stream :
         std::set<AudioStream*>{channels_.left.stream.get(), channels_.right.stream.get()}) {
        if (stream == nullptr) continue;
        const MediaError read = ReadStream(*stream, start, count, TargetsOf(stream), bytes);
        if (read != MediaError::None) return static_cast<int>(read);
    }
    if (samplesRead != nullptr) *samplesRead = count;
    return 0;
}

}  // namespace zrh::media::detail
