// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <memory>
#include <utility>

#include "sonrel/playback/AudioOutput.h"
#include "tests/playback/RealTimeProbe.h"

namespace sonrel_tests {

/// Marks the pulls of another source, and counts them.
class ProbedSource : public orlo::sonrel::AudioOutputSource {
public:
    ProbedSource(std::shared_ptr<orlo::sonrel::AudioOutputSource> source,
                 std::atomic<long long>& pulls)
        : source_(std::move(source)), pulls_(pulls) {}

    int Pull(short* output, int frameCount) override {
        const RealTimeProbe probe;
        ++pulls_;
        return source_->Pull(output, frameCount);
    }
    int ReadyFrames() override {
        const RealTimeProbe probe;
        return source_->ReadyFrames();
    }

private:
    const std::shared_ptr<orlo::sonrel::AudioOutputSource> source_;
    std::atomic<long long>& pulls_;
};

/// Puts the probe under an output. It outlives the source that it opens with.
class ProbedOutput : public orlo::sonrel::AudioOutput {
public:
    explicit ProbedOutput(std::shared_ptr<orlo::sonrel::AudioOutput> output)
        : output_(std::move(output)) {}

    bool Open(int sampleRate, std::shared_ptr<orlo::sonrel::AudioOutputSource> source) override {
        return output_->Open(sampleRate, std::make_shared<ProbedSource>(std::move(source), pulls_));
    }
    void Close() override { output_->Close(); }
    void Wake() override { output_->Wake(); }

    /// Callbacks of the device since the output was made.
    long long Pulls() const { return pulls_; }

private:
    const std::shared_ptr<orlo::sonrel::AudioOutput> output_;
    std::atomic<long long> pulls_ = 0;
};

}  // namespace sonrel_tests
