// SPDX-License-Identifier: MIT
#pragma once

namespace zrh::media {

/// Which reader opens a file. There is one.
enum class ZRMediaReaderType : int { Default = 0 };

/// What the numbers of a stream's samples are.
enum class ZRSampleDataType : int {
    Integer = 0,  ///< 8 (unsigned), 16, 24 or 32 bits
    Float = 1     ///< 32 or 64 bits
};

/// The codec of an audio stream. The engine tells one value from all others.
enum class ZRAudioCodec : int {
    Unknown = 0,
    Pcm = 1,
    Mpeg = 2,  ///< MPEG audio, layers 1 to 3
    Aac = 3,
    Lossless = 4,  ///< FLAC, ALAC, WavPack, TTA and their like
    Ogg = 5,       ///< Vorbis and Opus
    Skipped = 6,   ///< caches are made of it only when all codecs are asked for; no file has it
    Other = 7
};

}  // namespace zrh::media
