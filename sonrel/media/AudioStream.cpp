// SPDX-License-Identifier: MIT
#include "sonrel/media/detail/AudioStream.h"

#include <algorithm>

#include "sonrel/media/detail/StreamInfo.h"

namespace zrh::media::detail {
namespace {

/// The limit for the length that the container declares. It is used before the preparation only.
constexpr std::int64_t MAX_FRAMES_PER_BYTE = 4096;

int TypeOf(const AVStream& stream) {
    switch (stream.codecpar->codec_type) {
        case AVMEDIA_TYPE_AUDIO:
            return 0;
        case AVMEDIA_TYPE_VIDEO:
            return 1;
        case AVMEDIA_TYPE_SUBTITLE:
            return 2;
        default:
            return 3;
    }
}

std::int64_t DeclaredFrames(const AVFormatContext& context, const AVStream& stream, int rate,
                            std::int64_t fileSize) {
    if (rate <= 0) return 0;
    std::int64_t frames = 0;
    if (stream.duration > 0) {
        frames = av_rescale_q(stream.duration, stream.time_base, AVRational{1, rate});
    } else if (context.duration > 0) {
        frames = av_rescale_q(context.duration, AVRational{1, AV_TIME_BASE}, AVRational{1, rate});
    }
    return frames > 0 && frames / MAX_FRAMES_PER_BYTE <= fileSize ? frames : 0;
}

}  // namespace

AudioStream::AudioStream(std::shared_ptr<FileState> state, const AVFormatContext& context,
                         const AVStream& stream)
    : state_(std::move(state)),
      info_(InfoOf(context, stream)),
      number_(stream.index),
      type_(TypeOf(stream)) {
    if (type_ != 0) return;
    const AVCodecParameters& parameters = *stream.codecpar;
    rate_ = parameters.sample_rate;
    channels_ = parameters.ch_layout.nb_channels;
    DecodedFormat format;
    format.format = static_cast<AVSampleFormat>(parameters.format);
    format.rawBits = parameters.bits_per_raw_sample;
    view_ = ViewOf(parameters.codec_id, format);
    sampleCount_ = DeclaredFrames(context, stream, rate_, state_->file->Size());
}

void AudioStream::SetIndex(std::shared_ptr<const StreamIndex> index) {
    index_ = std::move(index);
    reader_ = nullptr;
    sampleCount_ = 0;
    if (index_->error != MediaError::None) return;
    rate_ = index_->format.rate;
    channels_ = index_->format.channels;
    view_ = index_->view;
    sampleCount_ = index_->totalFrames;
}

MediaError AudioStream::Error() const {
    if (type_ != 0) return MediaError::NotAudio;
    if (index_ == nullptr || state_->file == nullptr) return MediaError::NotPrepared;
    return index_->error;
}

int AudioStream::GetSamples(long long start, int count, void* buffer, int bufferBytes,
                            int* samplesRead) {
    progress_.Count(count);
    int read = 0;
    MediaError error = MediaError::None;
    try {
        error = Read(start, count, static_cast<std::uint8_t*>(buffer), bufferBytes, &read);
    } catch (const std::bad_alloc&) {
        error = MediaError::OutOfMemory;
    } catch (const SilenceRefused& refusal) {
        // Stays an exception for the reason below.
        progress_.NoteFailure(refusal.what());
        throw;
    }
    if (error != MediaError::None) read = 0;
    // PeakFile::Create treats an error code as silence; an exception ends it.
    if (error != MediaError::None && state_->file != nullptr && state_->file->IsInterrupted()) {
        throw ReadCancelled();
    }
    progress_.CheckRead(error == MediaError::ReadFailed, start);
    if (samplesRead != nullptr) *samplesRead = read;
    return static_cast<int>(error);
}

MediaError AudioStream::Read(long long start, int count, std::uint8_t* buffer, int bufferBytes,
                             int* samplesRead) {
    if (Error() != MediaError::None) return Error();
    const std::int64_t bytesPerFrame =
        static_cast<std::int64_t>(view_.BytesPerSample()) * channels_;
    if (buffer == nullptr || start < 0 || count < 1 || count * bytesPerFrame > bufferBytes) {
        return MediaError::InvalidArgument;
    }
    if (channels_ > MAX_CHANNELS) return MediaError::TooManyChannels;
    if (start >= sampleCount_) return MediaError::EndOfStream;
    count = static_cast<int>(std::min<std::int64_t>(count, sampleCount_ - start));

    const int silent =
        static_cast<int>(std::clamp<std::int64_t>(index_->leadFrames - start, 0, count));
    std::fill_n(buffer, silent * bytesPerFrame, view_.bits == 8 ? 0x80 : 0);
    *samplesRead = silent;
    if (silent == count) return MediaError::None;

    if (reader_ == nullptr) {
        reader_ = index_->pcm.has_value() ? NewPcmReader(state_->file, index_)
                                          : NewPacketReader(state_->file, index_);
    }
    *samplesRead += reader_->Read(start + silent, count - silent, buffer + silent * bytesPerFrame);
    return *samplesRead > 0 ? MediaError::None : MediaError::ReadFailed;
}

}  // namespace zrh::media::detail
