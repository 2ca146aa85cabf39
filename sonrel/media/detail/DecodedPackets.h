// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/media/detail/DecodedSource.h"
#include "sonrel/media/index/StreamIndex.h"
#include "sonrel/media/input/InputFile.h"

namespace zrh::media::detail {

/// Decodes all packets of a stream, as one decoder from the first packet to the last does.
///
/// A stream of at least ten seconds is decoded ahead on other threads while the caller uses the
/// samples. Packets that do not depend on each other are decoded on several threads, all others on
/// one. If a packet of several threads is silent in part, it is damaged, and a single decoder
/// decodes the rest of the stream: its output for damaged packets may depend on earlier packets.
std::unique_ptr<DecodedSource> NewDecodedPackets(std::shared_ptr<const InputFile> file,
                                                 std::shared_ptr<const StreamIndex> index);

}  // namespace zrh::media::detail
