// SPDX-License-Identifier: MIT
#include "sonrel/playback/AudioOutput.h"

#include <mutex>
#include <utility>

#include "sonrel/playback/detail/DeviceFactory.h"

namespace orlo::sonrel {

namespace {

using DeviceMaker = std::function<std::unique_ptr<device::AudioDevice>()>;

constexpr int MIN_BUFFER_MS = 5;
constexpr int MAX_BUFFER_MS = 500;

struct Settings {
    std::mutex mutex;  // guards the rest
    AudioOutputFactory outputFactory;
    DeviceMaker deviceMaker;
    int bufferMs = device::DEFAULT_BUFFER_MS;
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

bool SetAudioBufferMilliseconds(int milliseconds) {
    const int bufferMs = milliseconds == 0 ? device::DEFAULT_BUFFER_MS : milliseconds;
    if (bufferMs < MIN_BUFFER_MS || bufferMs > MAX_BUFFER_MS) return false;
    Settings& settings = ProcessSettings();
    const std::lock_guard lock(settings.mutex);
    settings.bufferMs = bufferMs;
    return true;
}

void SetAudioDeviceMaker(DeviceMaker maker) {
    Settings& settings = ProcessSettings();
    const std::lock_guard lock(settings.mutex);
    settings.deviceMaker = std::move(maker);
}

std::unique_ptr<device::AudioDevice> MakeAudioDevice() {
    DeviceMaker maker;
    AudioOutputFactory factory;
    int bufferMs = 0;
    {
        Settings& settings = ProcessSettings();
        const std::lock_guard lock(settings.mutex);
        maker = settings.deviceMaker;
        factory = settings.outputFactory;
        bufferMs = settings.bufferMs;
    }
    return maker ? maker() : device::CreateAudioDevice(factory, bufferMs);
}

}  // namespace orlo::sonrel
