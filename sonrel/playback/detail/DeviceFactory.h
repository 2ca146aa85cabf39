// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>

#include "sonrel/playback/device/AudioDevice.h"

namespace orlo::sonrel {

/// Makes the device engine of a playback engine: on the output of SetAudioOutputFactory, otherwise
/// on the sound device.
/// @throws the exceptions of device::CreateAudioDevice
std::unique_ptr<device::AudioDevice> MakeAudioDevice();

/// The hook for tests: replaces the device engine that MakeAudioDevice makes, by an engine that can
/// refuse each of its operations. An empty maker restores the normal engine.
void SetAudioDeviceMaker(std::function<std::unique_ptr<device::AudioDevice>()> maker);

}  // namespace orlo::sonrel
