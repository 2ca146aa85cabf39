// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "sonrel/playback/VirtualOutput.h"
#include "sonrel/playback/device/AudioDevice.h"
#include "sonrel/playback/device/SdlOutput.h"
#include "tests/playback/device/Timeout.h"
#include "tests/support/TemporaryFolder.h"

/// The tools of the device tests: a listener that records the callbacks, and every output that can
/// run without a sound card.
namespace sonrel_tests {

namespace device = orlo::sonrel::device;
using orlo::sonrel::AudioOutput;
using orlo::sonrel::AudioOutputFactory;
using orlo::sonrel::AudioOutputSource;
using orlo::sonrel::VirtualOutput;

constexpr int RATE = 48000;

/// Records the callbacks: "start A", "end A", "stream end", with the buffers' contexts as names.
class Listener : public device::VoiceEvents {
public:
    /// Runs after a callback was recorded, on its thread.
    std::function<void(const std::string&)> onEvent;

    void OnBufferStart(void* context) override { Hear("start " + Name(context)); }
    void OnBufferEnd(void* context) override { Hear("end " + Name(context)); }
    void OnStreamEnd() override { Hear("stream end"); }

    std::vector<std::string> Heard() const {
        const std::lock_guard lock(mutex_);
        return heard_;
    }
    std::thread::id Thread() const {
        const std::lock_guard lock(mutex_);
        return thread_;
    }

    /// Waits for this number of callbacks. @return whether they came in time
    bool WaitForCount(std::size_t count) const {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, TIMEOUT, [&] { return heard_.size() >= count; });
    }
    /// Waits for a callback. @return whether it came in time
    bool WaitFor(const std::string& event) const {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, TIMEOUT, [&] {
            return std::find(heard_.begin(), heard_.end(), event) != heard_.end();
        });
    }

private:
    static std::string Name(void* context) {
        return context != nullptr ? static_cast<const char*>(context) : "null";
    }

    void Hear(const std::string& event) {
        {
            const std::lock_guard lock(mutex_);
            heard_.push_back(event);
            thread_ = std::this_thread::get_id();
        }
        changed_.notify_all();
        if (onEvent) onEvent(event);
    }

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::vector<std::string> heard_;
    std::thread::id thread_;
};

/// Samples that count their values: first, first + 1, first + 2, ...
inline std::vector<short> Counting(int first, int frames) {
    std::vector<short> samples;
    for (int i = 0; i < 2 * frames; ++i) samples.push_back(static_cast<short>(first + i));
    return samples;
}

inline device::SourceBuffer BufferOf(const std::vector<short>& samples, const char* name,
                                     bool endOfStream = false) {
    device::SourceBuffer buffer;
    buffer.audioBytes = samples.size() * sizeof(short);
    buffer.audioData = reinterpret_cast<const unsigned char*>(samples.data());
    buffer.context = const_cast<char*>(name);
    buffer.endOfStream = endOfStream;
    return buffer;
}

/// An engine with both voices open on one output.
struct OpenDevice {
    OpenDevice(const AudioOutputFactory& factory, int sampleRate, device::VoiceEvents& events)
        : engine(device::CreateAudioDevice(factory)),
          mastering(engine->CreateMasteringVoice(2, sampleRate)) {
        if (mastering != nullptr) {
            voice = engine->CreateSourceVoice(*mastering, {2, sampleRate, 16}, events);
        }
    }

    std::unique_ptr<device::AudioDevice> engine;
    std::unique_ptr<device::MasteringVoice> mastering;
    std::unique_ptr<device::SourceVoice> voice;
};

}  // namespace sonrel_tests
