// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <memory>
#include <utility>

#include "sonrel/playback/AudioOutput.h"

namespace sonrel_tests {

/// A device that refuses to open, or that stops calling back, as long as a test wants it: another
/// output with a switch before its source.
///
/// Threads: the switches on any.
class StallingOutput : public orlo::sonrel::AudioOutput {
public:
    explicit StallingOutput(std::shared_ptr<orlo::sonrel::AudioOutput> output)
        : output_(std::move(output)) {}

    bool Open(int sampleRate, std::shared_ptr<orlo::sonrel::AudioOutputSource> source) override {
        return !refuses_ &&
               output_->Open(sampleRate, std::make_shared<Source>(std::move(source), stalls_));
    }
    void Close() override { output_->Close(); }
    void Wake() override { output_->Wake(); }

    /// From now on Open fails, like on a machine without a device; or succeeds again.
    void RefuseToOpen(bool refuse) { refuses_ = refuse; }
    /// From now on the device pulls nothing; or pulls again. A pull may be under way at the call.
    void Stall(bool stall) {
        *stalls_ = stall;
        output_->Wake();
    }

private:
    using Switch = std::shared_ptr<std::atomic<bool>>;

    class Source : public orlo::sonrel::AudioOutputSource {
    public:
        Source(std::shared_ptr<orlo::sonrel::AudioOutputSource> source, Switch stalls)
            : source_(std::move(source)), stalls_(std::move(stalls)) {}

        int Pull(short* output, int frameCount) override {
            return *stalls_ ? 0 : source_->Pull(output, frameCount);
        }
        int ReadyFrames() override { return *stalls_ ? 0 : source_->ReadyFrames(); }

    private:
        const std::shared_ptr<orlo::sonrel::AudioOutputSource> source_;
        const Switch stalls_;
    };

    const std::shared_ptr<orlo::sonrel::AudioOutput> output_;
    const Switch stalls_ = std::make_shared<std::atomic<bool>>(false);
    std::atomic<bool> refuses_ = false;
};

}  // namespace sonrel_tests
