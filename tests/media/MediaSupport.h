// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "sonrel/base/Paths.h"
#include "sonrel/media.h"
#include "sonrel/media/input/MediaErrors.h"
#include "tests/support/Noise.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {

using zrh::media::MediaError;
using zrh::media::ZRAbstractAudioStream;
using zrh::media::ZRAbstractMediaFile;
using zrh::media::ZRMediaReaderType;
using zrh::media::ZRSampleDataType;

inline int Code(MediaError error) {
    return static_cast<int>(error);
}

/// A media file that is opened and prepared like in the engine, and released at the end.
class OpenedMedia {
public:
    explicit OpenedMedia(const std::filesystem::path& path) {
        createCode_ = zrh::media::OpenMediaFile(zrtl::FromUtf8(path.string()), &file_);
        if (createCode_ != 0) return;
        file_->SetReadOption(1);
        prepareCode_ = file_->Prepare();
    }
    void Release() { file_.reset(); }

    int CreateCode() const { return createCode_; }
    int PrepareCode() const { return prepareCode_; }
    ZRAbstractMediaFile* File() const { return file_.get(); }

    /// An audio stream; the index counts audio streams only. Null for none.
    std::shared_ptr<ZRAbstractAudioStream> Audio(int index = 0) const {
        if (file_ == nullptr || prepareCode_ != 0) return nullptr;
        return zrh::media::FindAudioStream(*file_, static_cast<unsigned long long>(index));
    }

private:
    zrh::media::MediaFilePtr file_;
    int createCode_ = -1;
    int prepareCode_ = -1;
};

inline int BytesPerFrame(const ZRAbstractAudioStream& stream) {
    return stream.BitsPerSample() / 8 * stream.ChannelCount();
}

/// Reads a range; returns fewer bytes when the stream ends or fails in it.
inline std::string ReadRange(ZRAbstractAudioStream& stream, long long start, int count) {
    std::string bytes(static_cast<std::size_t>(count) * BytesPerFrame(stream), '\x5A');
    int got = 0;
    const int code =
        stream.GetSamples(start, count, bytes.data(), static_cast<int>(bytes.size()), &got);
    if (code != 0) got = 0;
    bytes.resize(static_cast<std::size_t>(got) * BytesPerFrame(stream));
    return bytes;
}

/// Reads a whole stream in steps of @p step frames.
inline std::string ReadAll(ZRAbstractAudioStream& stream, int step = 4096) {
    std::string bytes;
    const long long total = stream.SampleCount();
    for (long long at = 0; at < total;) {
        const std::string piece = ReadRange(stream, at, step);
        if (piece.empty()) break;
        bytes += piece;
        at += static_cast<long long>(piece.size()) / BytesPerFrame(stream);
    }
    return bytes;
}

/// A WAVE file of uncompressed samples. Tag 1 is integer, 3 is float.
inline std::string WaveFile(int tag, int channels, int rate, int bits, std::string_view samples) {
    return Riff(Chunk("fmt ", PcmFormat(tag, channels, rate, bits)) + Chunk("data", samples));
}

/// 16-bit values as little-endian bytes.
inline std::string Bytes16(const std::vector<int>& values) {
    std::string bytes;
    for (const int value : values) bytes += Little(static_cast<std::uint16_t>(value), 2);
    return bytes;
}

/// The 16-bit values of little-endian bytes.
inline std::vector<int> Values16(std::string_view bytes) {
    std::vector<int> values;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        values.push_back(static_cast<std::int16_t>(static_cast<unsigned char>(bytes[i]) |
                                                   static_cast<unsigned char>(bytes[i + 1]) << 8));
    }
    return values;
}

}  // namespace sonrel_tests
