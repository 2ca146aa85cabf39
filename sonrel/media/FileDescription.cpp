// SPDX-License-Identifier: MIT
#include "sonrel/media/detail/FileDescription.h"

#include <algorithm>
#include <deque>
#include <mutex>

#include "sonrel/media/detail/StreamInfo.h"

namespace zrh::media::detail {
namespace {

/// The limit for the length that the container declares. It is used before the preparation only.
constexpr std::int64_t MAX_FRAMES_PER_BYTE = 4096;
/// Streams of all kept descriptions.
constexpr std::size_t MAX_KEPT_STREAMS = 1024;

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

StreamDescription DescriptionOf(const AVFormatContext& context, const AVStream& stream,
                                std::int64_t fileSize) {
    StreamDescription description;
    description.info = InfoOf(context, stream);
    description.number = stream.index;
    description.type = TypeOf(stream);
    if (description.type != 0) return description;
    const AVCodecParameters& parameters = *stream.codecpar;
    description.rate = parameters.sample_rate;
    description.channels = parameters.ch_layout.nb_channels;
    DecodedFormat format;
    format.format = static_cast<AVSampleFormat>(parameters.format);
    format.rawBits = parameters.bits_per_raw_sample;
    description.view = ViewOf(parameters.codec_id, format);
    description.frames = DeclaredFrames(context, stream, description.rate, fileSize);
    return description;
}

std::shared_ptr<const FileDescription> DescriptionOf(const AVFormatContext& context,
                                                     std::int64_t fileSize) {
    auto description = std::make_shared<FileDescription>();
    description->format = context.iformat->name;
    description->timecode = TagOf(context.metadata, "timecode");
    description->timeReference = TagOf(context.metadata, "time_reference");
    for (unsigned int i = 0; i < context.nb_streams; ++i) {
        description->streams.push_back(DescriptionOf(context, *context.streams[i], fileSize));
    }
    return description;
}

/// The descriptions that were made last. The name counts too: its extension helps FFmpeg to find
/// the format.
class RecentDescriptions {
public:
    std::shared_ptr<const FileDescription> Find(const InputFile& file) {
        const std::lock_guard lock(mutex_);
        const auto found = std::find_if(entries_.begin(), entries_.end(), [&](const Entry& entry) {
            return entry.identity == file.Identity() && entry.path == file.Path();
        });
        return found == entries_.end() ? nullptr : found->description;
    }

    void Keep(const InputFile& file, std::shared_ptr<const FileDescription> description) {
        const std::lock_guard lock(mutex_);
        streams_ += description->streams.size() + 1;
        entries_.push_back({file.Identity(), file.Path(), std::move(description)});
        while (streams_ > MAX_KEPT_STREAMS) {
            streams_ -= entries_.front().description->streams.size() + 1;
            entries_.pop_front();
        }
    }

private:
    struct Entry {
        FileIdentity identity;
        std::string path;
        std::shared_ptr<const FileDescription> description;
    };

    std::mutex mutex_;
    std::deque<Entry> entries_;  // guarded by mutex_, like streams_
    std::size_t streams_ = 0;    // and one more for each file
};

/// Never destroyed: a thread may still use it when the process ends.
RecentDescriptions& Recent() {
    static auto* descriptions = new RecentDescriptions;
    return *descriptions;
}

}  // namespace

MediaError DescribeFile(const std::shared_ptr<const InputFile>& file,
                        std::unique_ptr<Demuxer>* demuxer,
                        std::shared_ptr<const FileDescription>* description) {
    *description = Recent().Find(*file);
    if (*description != nullptr) {
        return file->IsInterrupted() ? MediaError::Cancelled : MediaError::None;
    }
    // Tested before the file is read: a file that may still change unnoticed is described again.
    const bool isSettled = orlo::files::IsSettled(file->Identity());
    const MediaError error = Demuxer::Open(file, demuxer);
    if (error != MediaError::None) return error;
    *description = DescriptionOf(*(*demuxer)->Context(), file->Size());
    if (isSettled) Recent().Keep(*file, *description);
    return MediaError::None;
}

}  // namespace zrh::media::detail
