// SPDX-License-Identifier: MIT
#pragma once

namespace zrh::media {

/// The reader that opens a file. Only one exists.
enum class ZRMediaReaderType : int { Default = 0 };

/// The number format of the samples of a stream.
enum class ZRSampleDataType : int {
    Integer = 0,  ///< 8 (unsigned), 16, 24 or 32 bits
    Float = 1     ///< 32 or 64 bits
};

/// The codec of an audio stream. The engine distinguishes one value, Skipped, from all others.
enum class ZRAudioCodec : int {
    Unknown = 0,
    Pcm = 1,
    Mpeg = 2,  ///< MPEG audio, layers 1 to 3
    Aac = 3,
    Lossless = 4,  ///< FLAC, ALAC, WavPack, TTA and similar codecs
    Ogg = 5,       ///< Vorbis and Opus
    Skipped = 6,   ///< cached only on a request for all codecs; no file has it
    Other = 7
};

}  // namespace zrh::media
