// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/media/detail/ChosenStream.h"
#include "sonrel/media/detail/DecodedSource.h"

namespace zrh::media::detail {

/// Makes a source of chosen channels in the format of their decoder.
/// @param source  receives the source; unchanged when the channels cannot be read
MediaError NewChosenSource(const ChosenChannels& channels, std::unique_ptr<DecodedSource>* source);

}  // namespace zrh::media::detail
