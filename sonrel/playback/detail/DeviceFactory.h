// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>

#include "sonrel/playback/device/AudioDevice.h"

namespace orlo::sonrel {

/// Makes the device engine of a playback engine: on what SetAudioOutputFactory has set, otherwise
/// on the sound device.
/// @throws what device::CreateAudioDevice throws
std::unique_ptr<device::AudioDevice> MakeAudioDevice();

/// Puts another device engine in the place of the one that MakeAudioDevice would make, for tests
/// that need one which refuses; an empty maker takes that back.
void SetAudioDeviceMaker(std::function<std::unique_ptr<device::AudioDevice>()> maker);

}  // namespace orlo::sonrel
