// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/shell/SoundText.h"

namespace CLI {
class App;
}  // namespace CLI

namespace orlo::host {

/// The stream and the channels of the media files that a command takes.
struct SoundOptions {
    std::optional<int> stream;  ///< from 1
    std::optional<ChannelList> channels;

    /// The whole first stream without options.
    zrh::media::SoundChoice Choice() const;
};

/// Declares --stream and --channels.
void DeclareSound(CLI::App& command, SoundOptions& options);

/// Refuses the options where an input is a timeline, and options that contradict each other.
/// @throws UsageError
void CheckSound(const SoundOptions& options, const std::vector<std::string>& inputs);

}  // namespace orlo::host
