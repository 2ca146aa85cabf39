// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/media/index/StreamIndex.h"
#include "sonrel/media/input/Demuxer.h"

namespace zrh::media::detail {

enum class PcmResult {
    Indexed,    ///< the samples lie one after the other; the map is complete
    Untouched,  ///< not such a file; the demuxer is still at its beginning
    Disturbed   ///< not such a file; the demuxer has been read from
};

/// Maps uncompressed sound in a plain container (WAVE and its large forms, AIFF, AU, CAF) by its
/// bytes. The end is found by reading the last packets, because headers lie about it.
PcmResult IndexPcm(const InputFile& file, Demuxer* demuxer, StreamIndex* index);

}  // namespace zrh::media::detail
