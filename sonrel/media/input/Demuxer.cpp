// SPDX-License-Identifier: MIT
#include "sonrel/media/input/Demuxer.h"

#include <algorithm>
#include <array>
#include <new>
#include <string_view>

#include "sonrel/media/input/Mp4Index.h"

namespace zrh::media::detail {
namespace {

constexpr int IO_BUFFER_BYTES = 128 * 1024;

/// Bytes that may be read in a row without a result. A file that needs more is refused: FFmpeg
/// collects such bytes in memory, about three times over, without a limit.
constexpr std::int64_t MAX_PACKET_BYTES = 16 << 20;
/// The same for a container with pictures, which are stored whole.
constexpr std::int64_t MAX_PICTURE_BYTES = 64 << 20;
/// Headers also contain the index of a container: 16 bytes for each packet of 4096 bytes.
constexpr std::int64_t MAX_HEADER_BYTES = 64 << 20;
constexpr std::int64_t FILE_BYTES_PER_INDEX_BYTE = 256;

/// Formats that refer to other files or to the network, are programs, or contain still pictures.
/// RefuseOpen stops any other format that names a file.
constexpr std::array<std::string_view, 30> REFUSED_FORMATS = {
    "adf",    "alias_pix",   "apng",
    "bin",    "brender_pix", "concat",
    "dash",   "ffmetadata",  "fits",
    "gif",    "hls",         "ico",
    "idf",    "image2",      "image2pipe",
    "imf",    "lavfi",       "libcdio",
    "mpjpeg", "rtp",         "rtsp",
    "sap",    "sbg",         "sdp",
    "tty",    "vobsub",      "webm_dash_manifest",
    "xbin",   "applehttp",   "tedcaptions"};

bool IsRefused(const AVInputFormat& format) {
    if ((format.flags & AVFMT_NOFILE) != 0) return true;
    if (format.priv_class != nullptr && AV_IS_INPUT_DEVICE(format.priv_class->category))
        return true;
    const std::string_view name = format.name;
    if (name.size() >= 5 && name.substr(name.size() - 5) == "_pipe") return true;
    return std::any_of(REFUSED_FORMATS.begin(), REFUSED_FORMATS.end(),
                       [&](std::string_view refused) { return name == refused; });
}

int RefuseOpen(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) {
    return AVERROR(EACCES);
}

/// The demuxer of WAVE files searches its samples for a disguised compressed stream, which takes
/// longer than everything else that opens the file. Such a stream shows in its first frames.
void BoundSearchForDisguisedStreams(const AVInputFormat& format, AVFormatContext* context) {
    constexpr int PACKETS = 16;
    const std::string_view name = format.name;
    if (name == "wav" || name == "w64") context->max_probe_packets = PACKETS;
}

bool IsSoundOrPicture(const AVStream& stream) {
    const AVMediaType type = stream.codecpar->codec_type;
    return type == AVMEDIA_TYPE_AUDIO || type == AVMEDIA_TYPE_VIDEO;
}

}  // namespace

MediaError Demuxer::Open(std::shared_ptr<const InputFile> file, std::unique_ptr<Demuxer>* demuxer) {
    std::unique_ptr<Demuxer> opened(new Demuxer);
    opened->file_ = std::move(file);
    const MediaError error = opened->OpenContext();
    if (opened->stop_ != MediaError::None) return opened->stop_;
    if (error != MediaError::None) {
        return opened->diskFailed_ ? MediaError::ReadFailed : error;
    }
    opened->AllowInARow(INT64_MAX);
    *demuxer = std::move(opened);
    return MediaError::None;
}

MediaError Demuxer::OpenContext() {
    auto* buffer = static_cast<unsigned char*>(av_malloc(IO_BUFFER_BYTES));
    if (buffer == nullptr) return MediaError::OutOfMemory;
    io_ = avio_alloc_context(buffer, IO_BUFFER_BYTES, 0, this, &ReadBytes, nullptr, &SeekBytes);
    if (io_ == nullptr) {
        av_free(buffer);
        return MediaError::OutOfMemory;
    }

    // The extension of the name helps to recognise the format. The name is never opened.
    const char* name = file_->Path().c_str();
    const AVInputFormat* format = nullptr;
    if (av_probe_input_buffer2(io_, &format, name, nullptr, 0, 0) < 0 || format == nullptr) {
        return MediaError::NotMedia;
    }
    if (IsRefused(*format)) return MediaError::RefusedFormat;
    MediaError error = CheckIndex(*format);
    if (error == MediaError::None) error = OpenFormat(*format);
    return error == MediaError::None ? FindStreams(*format) : error;
}

MediaError Demuxer::CheckIndex(const AVInputFormat& format) const {
    const bool isMp4 = std::string_view(format.name).find("mp4") != std::string_view::npos;
    return isMp4 ? CheckMp4Index(*file_) : MediaError::None;
}

MediaError Demuxer::OpenFormat(const AVInputFormat& format) {
    const char* name = file_->Path().c_str();
    context_ = avformat_alloc_context();
    if (context_ == nullptr) return MediaError::OutOfMemory;
    readsAllPackets_ = std::string_view(format.name) == "ogg";
    context_->pb = io_;
    context_->flags |= AVFMT_FLAG_CUSTOM_IO;
    context_->io_open = &RefuseOpen;
    context_->interrupt_callback = {&IsStopped, this};
    BoundSearchForDisguisedStreams(format, context_);
    AVDictionary* options = nullptr;
    av_dict_set(&options, "protocol_whitelist", "file", 0);
    AllowInARow(MAX_HEADER_BYTES + file_->Size() / FILE_BYTES_PER_INDEX_BYTE);
    const int opened = avformat_open_input(&context_, name, &format, &options);
    av_dict_free(&options);
    if (opened == AVERROR(ENOMEM)) return MediaError::OutOfMemory;
    return opened < 0 ? MediaError::NotMedia : MediaError::None;
}

MediaError Demuxer::FindStreams(const AVInputFormat& format) {
    // A format whose packets are cut from a raw byte stream stores no whole pictures.
    const bool isCut = (format.flags & AVFMT_GENERIC_INDEX) != 0;
    AllowInARow(isCut ? MAX_PACKET_BYTES : MAX_PICTURE_BYTES);
    if (avformat_find_stream_info(context_, nullptr) < 0) return MediaError::NotMedia;
    for (unsigned int i = 0; i < context_->nb_streams; ++i) {
        if (IsSoundOrPicture(*context_->streams[i])) return MediaError::None;
    }
    return MediaError::NotMedia;
}

Demuxer::~Demuxer() {
    avformat_close_input(&context_);
    if (io_ != nullptr) {
        av_freep(&io_->buffer);
        avio_context_free(&io_);
    }
}

void Demuxer::AllowInARow(std::int64_t bytes) {
    inARow_ = 0;
    allowedInARow_ = bytes;
}

bool Demuxer::MayRead(std::int64_t bytes) {
    if (stop_ == MediaError::None && file_->IsInterrupted()) stop_ = MediaError::Cancelled;
    if (stop_ == MediaError::None && inARow_ >= allowedInARow_) stop_ = MediaError::ProbeLimit;
    // FFmpeg reads a packet that is larger than its buffer in one call.
    const std::int64_t atOnce = allowedInARow_ == INT64_MAX
                                    ? MAX_PICTURE_BYTES
                                    : std::max(MAX_PICTURE_BYTES, allowedInARow_);
    if (stop_ == MediaError::None && bytes > atOnce) stop_ = MediaError::ProbeLimit;
    return stop_ == MediaError::None;
}

MediaError Demuxer::Failure() const {
    if (stop_ != MediaError::None) return stop_;
    return diskFailed_ ? MediaError::ReadFailed : MediaError::None;
}

bool Demuxer::ReadsEveryStream() const {
    for (unsigned int i = 0; i < context_->nb_streams; ++i) {
        const AVStream& stream = *context_->streams[i];
        const bool isCover = (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
        if (stream.discard == AVDISCARD_ALL && !isCover) return false;
    }
    return true;
}

std::int64_t Demuxer::BytesToNextPacket() const {
    // Any number of bytes of other streams may be skipped between two packets.
    if (!ReadsEveryStream()) return INT64_MAX;
    const bool skipsStreams = std::any_of(isSkipped_.begin(), isSkipped_.end(),
                                          [](const auto& stream) { return stream.second; });
    return skipsStreams ? MAX_PICTURE_BYTES : MAX_PACKET_BYTES;
}

bool Demuxer::IsSkipped(const AVPacket& packet) const {
    const auto found = isSkipped_.find(static_cast<unsigned int>(packet.stream_index));
    return found != isSkipped_.end() && found->second;
}

bool Demuxer::Read(AVPacket* packet) {
    const std::int64_t bytes = BytesToNextPacket();
    AllowInARow(bytes);
    // A container may return EAGAIN or an empty packet between two good packets. After too many of
    // them in a row it has ended.
    for (int idle = 0; idle < 10000; ++idle) {
        if (!MayRead()) return false;
        const int result = av_read_frame(context_, packet);
        if (stop_ != MediaError::None) {
            av_packet_unref(packet);
            return false;
        }
        if (result == AVERROR(EAGAIN)) continue;
        if (result == AVERROR(ENOMEM)) throw std::bad_alloc();
        if (result < 0) return false;
        const bool isEmpty = packet->size == 0;
        if (!isEmpty && !IsSkipped(*packet)) return true;
        av_packet_unref(packet);
        if (isEmpty) continue;
        AllowInARow(bytes);
        idle = 0;
    }
    return false;
}

int Demuxer::ReadBytes(void* self, std::uint8_t* buffer, int size) {
    auto* demuxer = static_cast<Demuxer*>(self);
    if (!demuxer->MayRead(size)) return AVERROR_EXIT;
    const std::int64_t got =
        demuxer->file_->ReadAt(demuxer->position_, buffer, static_cast<std::size_t>(size));
    if (got < 0) {
        if (!demuxer->MayRead()) return AVERROR_EXIT;
        demuxer->diskFailed_ = true;
        return AVERROR(EIO);
    }
    if (got == 0) return AVERROR_EOF;
    demuxer->position_ += got;
    demuxer->inARow_ += got;
    return static_cast<int>(got);
}

std::int64_t Demuxer::SeekBytes(void* self, std::int64_t offset, int whence) {
    auto* demuxer = static_cast<Demuxer*>(self);
    std::int64_t base = 0;
    switch (whence & ~AVSEEK_FORCE) {
        case AVSEEK_SIZE:
            return demuxer->file_->Size();
        case SEEK_SET:
            break;
        case SEEK_CUR:
            base = demuxer->position_;
            break;
        case SEEK_END:
            base = demuxer->file_->Size();
            break;
        default:
            return AVERROR(EINVAL);
    }
    std::int64_t target = 0;
    if (__builtin_add_overflow(base, offset, &target) || target < 0) return AVERROR(EINVAL);
    demuxer->position_ = target;
    demuxer->inARow_ = 0;
    return target;
}

int Demuxer::IsStopped(void* self) {
    return static_cast<Demuxer*>(self)->MayRead() ? 0 : 1;
}

}  // namespace zrh::media::detail
