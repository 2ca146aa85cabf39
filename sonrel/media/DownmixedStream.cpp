// SPDX-License-Identifier: MIT
#include "sonrel/media/detail/DownmixedStream.h"

#include <algorithm>
#include <cstring>

namespace zrh::media::detail {

MediaError DownmixedStream::OpenConverter() {
    if (stream_->Error() != MediaError::None) return stream_->Error();
    if (converter_ != nullptr) return MediaError::None;
    DecodedFormat format;
    format.format = stream_->Index()->view.packed;
    format.rate = stream_->SampleRate();
    format.channels = stream_->ChannelCount();
    format.layoutMask = stream_->Index()->format.layoutMask;
    auto converter = std::make_unique<StereoConverter>();
    const MediaError error = converter->Open(format, format.rate);
    if (error == MediaError::None) converter_ = std::move(converter);
    return error;
}

int DownmixedStream::GetSamples(long long start, int count, void* buffer, int bufferBytes,
                                int* samplesRead) {
    const MediaError error = OpenConverter();
    if (error != MediaError::None) return static_cast<int>(error);
    if (buffer == nullptr || start < 0 || count < 1 || 4LL * count > bufferBytes) {
        return static_cast<int>(MediaError::InvalidArgument);
    }
    const auto bytesPerSample = static_cast<std::size_t>(stream_->BitsPerSample() / 8);
    const auto channels = static_cast<std::size_t>(stream_->ChannelCount());
    frames_.resize(bytesPerSample * channels * static_cast<std::size_t>(count));
    int got = 0;
    const int code =
        stream_->GetSamples(start, count, frames_.data(), static_cast<int>(frames_.size()), &got);
    if (code != 0) return code;
    const std::uint8_t* plane = frames_.data();
    if (bytesPerSample == 3) {
        WidenTo32Bits(frames_.data(), channels * static_cast<std::size_t>(got), &wide_);
        plane = wide_.data();
    }
    samples_.Clear();
    // Without a change of the rate each frame results in one frame at once.
    if (!converter_->Convert({&plane, 0, got}, &samples_) ||
        samples_.Size() != 2 * static_cast<std::size_t>(got)) {
        return static_cast<int>(MediaError::Undecodable);
    }
    std::memcpy(buffer, samples_.Data(), 2 * samples_.Size());
    if (samplesRead != nullptr) *samplesRead = got;
    return 0;
}

}  // namespace zrh::media::detail
