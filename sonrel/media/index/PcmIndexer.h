// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/media/index/StreamIndex.h"
#include "sonrel/media/input/Demuxer.h"

namespace zrh::media::detail {

enum class PcmResult {
    Indexed,    ///< the samples are contiguous; the index is complete
    Untouched,  ///< not such a file; the demuxer is still at its start
    Disturbed   ///< not such a file; the demuxer has been used
};

/// Indexes uncompressed sound in a simple container (WAVE and its large forms, AIFF, AU, CAF) by
/// bytes. The end is found by reading the last packets, because headers declare it wrong.
PcmResult IndexPcm(const InputFile& file, Demuxer* demuxer, StreamIndex* index);

}  // namespace zrh::media::detail
