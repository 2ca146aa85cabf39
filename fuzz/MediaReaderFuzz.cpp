// SPDX-License-Identifier: MIT
// Any bytes as a media file, through the reader: a file that is accepted must be readable, have the
// length that it claims, and deliver the same samples from any position.
extern "C" {
#include <libavutil/log.h>
}

#include <sys/mman.h>
#include <unistd.h>

#include <memory>
#include <vector>

#include "fuzz/Support.h"
#include "sonrel/media.h"
#include "sonrel/media/MediaInfo.h"

namespace {

using sonrel_fuzz::Require;
using zrh::media::MediaFilePtr;
using zrh::media::ZRAbstractAudioStream;

/// A damaged short file can claim a long sound; reading all of it would find no more faults.
constexpr long long MAX_FRAMES = 300000;

MediaFilePtr OpenPrepared(const std::wstring& path) {
    MediaFilePtr file;
    if (zrh::media::OpenMediaFile(path, &file) != 0) return nullptr;
    Require(file != nullptr, "a file on success");
    file->SetReadOption(1);
    return file->Prepare() == 0 ? std::move(file) : nullptr;
}

/// Reads a range, at most to the end of the stream.
/// @return false when the stream refused
bool Read(ZRAbstractAudioStream& stream, long long start, int count, std::vector<char>* bytes) {
    const int bytesPerFrame = stream.BitsPerSample() / 8 * stream.ChannelCount();
    bytes->assign(static_cast<std::size_t>(count) * bytesPerFrame, 0);
    int got = -1;
    const int code =
        stream.GetSamples(start, count, bytes->data(), static_cast<int>(bytes->size()), &got);
    Require(got >= 0 && got <= count, "no more frames than asked for");
    Require((code == 0) == (got > 0), "frames exactly on success");
    const long long there = std::min<long long>(count, stream.SampleCount() - start);
    Require(code != 0 || got == there, "all frames that are there");
    bytes->resize(static_cast<std::size_t>(got) * bytesPerFrame);
    return code == 0;
}

void CheckStream(ZRAbstractAudioStream& stream, ZRAbstractAudioStream& twin) {
    const long long total = stream.SampleCount();
    Require(total >= 0, "no negative length");
    Require(twin.SampleCount() == total, "the same length in another reader");
    if (total == 0) return;
    Require(stream.SampleRate() >= 64 && stream.SampleRate() <= 768000, "a rate in range");
    Require(stream.ChannelCount() >= 1, "a channel");
    const int bits = stream.BitsPerSample();
    Require(bits > 0 && bits % 8 == 0 && bits <= 64, "whole bytes");
    if (stream.ChannelCount() > 64) return;

    const auto bytesPerFrame = static_cast<std::size_t>(bits / 8 * stream.ChannelCount());
    const long long length = std::min(total, MAX_FRAMES);
    std::vector<char> whole;
    std::vector<char> piece;
    for (long long at = 0; at < length; at += 1000) {
        Require(Read(stream, at, 1000, &piece), "no failure before the end");
        whole.insert(whole.end(), piece.begin(), piece.end());
    }
    const long long known = static_cast<long long>(whole.size() / bytesPerFrame);
    for (const long long start : {known * 3 / 4, known / 4, known / 2, 0LL, known - 1}) {
        const int count = static_cast<int>(std::min<long long>(known - start, 333));
        Require(Read(twin, start, count, &piece), "no failure from anywhere");
        Require(std::equal(piece.begin(), piece.end(),
                           whole.begin() + static_cast<std::ptrdiff_t>(start * bytesPerFrame)),
                "the same bytes from anywhere");
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    av_log_set_level(AV_LOG_QUIET);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const int descriptor = memfd_create("media", 0);
    if (descriptor < 0) return 0;
    const bool written = write(descriptor, data, size) == static_cast<ssize_t>(size);
    const std::wstring path = zrtl::FromUtf8("/proc/self/fd/" + std::to_string(descriptor));
    if (written) {
        const MediaFilePtr file = OpenPrepared(path);
        const MediaFilePtr twin = OpenPrepared(path);
        Require((file == nullptr) == (twin == nullptr), "the same verdict twice");
        zrh::media::MediaInfo info;
        zrh::media::DescribeMedia(path, &info);
        for (std::size_t i = 0; file != nullptr && i < file->Streams().size(); ++i) {
            if (file->Streams()[i]->StreamType() == 0) {
                CheckStream(*file->Streams()[i], *twin->Streams()[i]);
            }
        }
    }
    close(descriptor);
    return 0;
}
