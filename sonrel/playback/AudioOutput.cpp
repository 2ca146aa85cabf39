// SPDX-License-Identifier: MIT
#include "sonrel/playback/AudioOutput.h"

#include <mutex>
#include <utility>

#include "sonrel/playback/detail/DeviceFactory.h"

namespace orlo::sonrel {

namespace {

using DeviceMaker = std::function<std::unique_ptr<device::AudioDevice>()>;

struct Settings {
    std::mutex mutex;  // guards both
    AudioOutputFactory outputFactory;
    DeviceMaker deviceMaker;
};

Settings& ProcessSettings() {
    static Settings settings;
    return settings;
}

}  // namespace

void SetAudioOutputFactory(AudioOutputFactory factory) {
    Settings& settings = ProcessSettings();
    const std::lock_guard lock(settings.mutex);
    settings.outputFactory = std::move(factory);
}

void SetAudioDeviceMaker(DeviceMaker maker) {
    Settings& settings = ProcessSettings();
    const std::lock_guard lock(settings.mutex);
    settings.deviceMaker = std::move(maker);
}

std::unique_ptr<device::AudioDevice> MakeAudioDevice() {
    DeviceMaker maker;
    AudioOutputFactory factory;
    {
        Settings& settings = ProcessSettings();
        const std::lock_guard lock(settings.mutex);
        maker = settings.deviceMaker;
        factory = settings.outputFactory;
    }
    return maker ? maker() : device::CreateAudioDevice(factory);
}

}  // namespace orlo::sonrel
