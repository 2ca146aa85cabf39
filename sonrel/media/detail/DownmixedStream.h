// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "sonrel/media/detail/AudioStream.h"
#include "sonrel/media/detail/StereoConverter.h"

namespace zrh::media::detail {

/// All channels of a stream, mixed down to 16-bit stereo as in a conformed file, at the rate of the
/// stream.
class DownmixedStream : public ZRAbstractAudioStream {
public:
    explicit DownmixedStream(std::shared_ptr<AudioStream> stream) : stream_(std::move(stream)) {}

    int StreamType() const override { return 0; }
    int SampleRate() const override { return stream_->SampleRate(); }
    int BitsPerSample() const override { return 16; }
    ZRSampleDataType SampleDataType() const override { return ZRSampleDataType::Integer; }
    int ChannelCount() const override { return 2; }
    long long SampleCount() const override { return stream_->SampleCount(); }
    /// @throws the exceptions of AudioStream::GetSamples
    int GetSamples(long long start, int count, void* buffer, int bufferBytes,
                   int* samplesRead) override;

    const std::shared_ptr<AudioStream>& Source() const { return stream_; }

private:
    MediaError OpenConverter();

    std::shared_ptr<AudioStream> stream_;
    std::unique_ptr<StereoConverter> converter_;
    std::vector<std::uint8_t> frames_;
    std::vector<std::uint8_t> wide_;
    SampleBuffer samples_;
};

}  // namespace zrh::media::detail
