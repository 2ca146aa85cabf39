// SPDX-License-Identifier: MIT
#include "sonrel/media/input/MediaErrors.h"

#include "sonrel/media/input/FfmpegLibrary.h"

namespace zrh::media {
namespace {

std::string LoadFailureText() {
    std::string reason;
    detail::LoadFfmpeg(&reason);
    if (!reason.empty()) reason = " (" + reason + ")";
    return "the decoding library does not load" + reason + "; install the libraries of FFmpeg";
}

}  // namespace

std::string MediaErrorText(int code) {
    switch (static_cast<MediaError>(code)) {
        case MediaError::None:
            return "no error";
        case MediaError::NotFound:
            return "there is no such file";
        case MediaError::NoPermission:
            return "the file may not be read (permission denied)";
        case MediaError::NotRegularFile:
            return "not a regular file (a folder, a device, a pipe or a socket)";
        case MediaError::BadName:
            return "the path cannot be written in UTF-8";
        case MediaError::OpenFailed:
            return "the file cannot be opened";
        case MediaError::NotMedia:
            return "not a media file: no sound and no picture found in it";
        case MediaError::RefusedFormat:
            return "playlists, scripts, texts and still images are not opened as media";
        case MediaError::ReadFailed:
            return "reading failed, or the file was changed while it was read";
        case MediaError::RateOutOfRange:
            return "the sample rate lies outside 64 to 768000 Hz";
        case MediaError::Undecodable:
            return "the sound cannot be decoded";
        case MediaError::TooManyChannels:
            return "the sound has too many channels";
        case MediaError::NotPrepared:
            return "the media file is not prepared for reading";
        case MediaError::InvalidArgument:
            return "invalid position, length or buffer";
        case MediaError::EndOfStream:
            return "the position lies behind the end of the stream";
        case MediaError::NotAudio:
            return "the stream is no audio stream";
        case MediaError::Cancelled:
            return "the work was cancelled";
        case MediaError::OutputExists:
            return "the output file exists already";
        case MediaError::OutputFailed:
            return "the output file cannot be written";
        case MediaError::OutputRate:
            return "the wanted sample rate lies outside 64 to 768000 Hz";
        case MediaError::OutOfMemory:
            return "not enough memory";
        case MediaError::TooManyPackets:
            return "the file claims more packets than it has bytes";
        case MediaError::ProbeLimit:
            return "more bytes in a row hold no sound than are searched for it (16 MB, or 64 MB of "
                   "headers and pictures)";
        case MediaError::TooMuchSilence:
            return "it would need more silence that is not in it than 8 times its size and 1 MiB";
        case MediaError::TooManyFiles:
            return "too many files are open; allow more (ulimit -n)";
        case MediaError::IndexTooLarge:
            return "the index in it is compressed, or has more packets than the file has bytes, or "
                   "more than 8388608 and 1 for every 64 bytes of the file";
        case MediaError::NoSuchChannel:
            return "the stream does not have the chosen channel";
        case MediaError::StreamsDiffer:
            return "the streams of the chosen channels have different sample rates or formats";
        case MediaError::LibraryNotLoaded:
            return LoadFailureText();
    }
    return "media error " + std::to_string(code);
}

}  // namespace zrh::media
