// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orlo::host {

/// The format of a sound file that the program writes.
enum class SoundFormat { Wav, Flac, Vorbis, Opus, W64, Aiff, Caf };

/// The format that the extension of a name selects. Upper case and lower case are the same.
/// @return nullopt for a name without one of the extensions
std::optional<SoundFormat> SoundFormatOf(const std::string& name);

/// Name of a format in messages: "FLAC".
const char* NameOf(SoundFormat format);

/// The extensions of all formats: ".wav" and so on.
std::vector<std::string_view> SoundExtensions();

}  // namespace orlo::host
