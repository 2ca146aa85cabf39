// SPDX-License-Identifier: MIT
#pragma once

#include <cstdlib>
#include <cstring>

#include "tests/playback/device/DeviceRig.h"

namespace sonrel_tests {

/// Sets a variable of the environment for the length of a scope.
class Environment {
public:
    Environment(const char* name, const std::string& value) : name_(name) {
        if (const char* const former = std::getenv(name)) former_ = former;
        had_ = std::getenv(name) != nullptr;
        setenv(name, value.c_str(), 1);
    }
    ~Environment() {
        if (had_) {
            setenv(name_, former_.c_str(), 1);
        } else {
            unsetenv(name_);
        }
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

private:
    const char* name_;
    std::string former_;
    bool had_ = false;
};

/// Moves a stepped output on until it ends.
class Pump {
public:
    explicit Pump(std::shared_ptr<VirtualOutput> output)
        : output_(std::move(output)), thread_([this] {
              while (!ending_) output_->AdvanceBuffer(std::chrono::milliseconds(5));
          }) {}
    ~Pump() {
        ending_ = true;
        thread_.join();
    }
    Pump(const Pump&) = delete;
    Pump& operator=(const Pump&) = delete;

private:
    const std::shared_ptr<VirtualOutput> output_;
    std::atomic<bool> ending_ = false;
    std::thread thread_;
};

/// The outputs that run on every machine.
enum class OutputKind { Stepped, Paced, DrainDriven, SdlDummy, SdlDisk };

inline std::string NameOf(OutputKind kind) {
    switch (kind) {
        case OutputKind::Stepped:
            return "Stepped";
        case OutputKind::Paced:
            return "Paced";
        case OutputKind::DrainDriven:
            return "DrainDriven";
        case OutputKind::SdlDummy:
            return "SdlDummy";
        case OutputKind::SdlDisk:
            return "SdlDisk";
    }
    return "";
}

inline void PrintTo(OutputKind kind, std::ostream* stream) {
    *stream << NameOf(kind);
}

/// One output and the objects that drive it.
class RunningOutput {
public:
    explicit RunningOutput(OutputKind kind)
        : kind_(kind),
          driver_("SDL_AUDIODRIVER", kind == OutputKind::SdlDisk ? "disk" : "dummy"),
          file_("SDL_DISKAUDIOFILE", (folder_ / "sound.raw").string()),
          delay_("SDL_DISKAUDIODELAY", "1") {
        using Clock = VirtualOutput::Clock;
        switch (kind) {
            case OutputKind::Stepped:
                virtual_ = VirtualOutput::ToMemory(Clock::Stepped);
                pump_ = std::make_unique<Pump>(virtual_);
                break;
            case OutputKind::Paced:
                virtual_ = VirtualOutput::ToMemory(Clock::Paced);
                break;
            case OutputKind::DrainDriven:
                virtual_ = VirtualOutput::ToMemory(Clock::DrainDriven);
                break;
            default:
                break;
        }
        output_ = virtual_;
        if (output_ == nullptr) {
            output_ = std::make_shared<device::SdlOutput>(
                device::SdlLibrary::Load(device::SDL_LIBRARY), device::DEFAULT_BUFFER_MS);
        }
    }

    AudioOutputFactory Factory() const {
        return [output = output_] { return output; };
    }

    /// Whether Sounded returns samples: a dummy keeps none.
    bool KeepsSamples() const { return kind_ != OutputKind::SdlDummy; }

    /// The output samples, without the silence before and after them; the output is closed.
    std::vector<short> Sounded() const {
        if (virtual_ != nullptr) return virtual_->Samples();
        const std::string bytes = ReadFile(folder_ / "sound.raw");
        std::vector<short> samples(bytes.size() / sizeof(short));
        std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(short));
        const auto sounds = [](short value) { return value != 0; };
        samples.erase(samples.begin(), std::find_if(samples.begin(), samples.end(), sounds));
        samples.erase(std::find_if(samples.rbegin(), samples.rend(), sounds).base(), samples.end());
        return samples;
    }

private:
    const OutputKind kind_;
    const TemporaryFolder folder_;
    const Environment driver_;
    const Environment file_;
    const Environment delay_;
    std::shared_ptr<AudioOutput> output_;
    std::shared_ptr<VirtualOutput> virtual_;
    std::unique_ptr<Pump> pump_;
};

}  // namespace sonrel_tests
