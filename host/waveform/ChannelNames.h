// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace orlo::host {

/// The names of the channels of a stream, in the order of its samples: "L" and "R", "LFE". Without
/// a layout one channel is "M", and two are "L" and "R". Otherwise a layout that is unknown, or has
/// another number of channels, has the numbers from 1 as names.
/// @param layout  as MediaStreamInfo has it, like "5.1"; may be empty
std::vector<std::string> ChannelNames(const std::string& layout, int channels);

}  // namespace orlo::host
