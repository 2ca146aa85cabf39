// SPDX-License-Identifier: MIT
#include <array>
#include <cmath>
#include <cstring>
#include <memory>

#include "sonrel/base/Timing.h"
#include "sonrel/plugins/pack/detail/AudioEffect.h"
#include "sonrel/plugins/pack/detail/Plugins.h"
#include "sonrel/plugins/pack/detail/StereoSamples.h"

namespace orlo::sonrel::detail {
namespace {

constexpr int MAX_TAPS = 8;

class Delay final : public AudioEffect {
public:
    Delay(double delayMs, double levelDb, int taps) : delayMs_(delayMs), taps_(taps) {
        const double gain = std::pow(10.0, levelDb / 20.0);
        for (int k = 0; k <= MAX_TAPS; ++k) gains_[k] = std::pow(gain, k);
    }

protected:
    long long LookBack(int rate, long long) const override { return taps_ * DelaySamples(rate); }

    /// The output replaces its input, from the last frame to the first, so that every earlier frame
    /// is still input when it is read. Then it is moved to the beginning.
    void Run(const EffectBlock& block) const override {
        const long long delay = DelaySamples(block.rate);
        const long long end = block.lookBack + block.outputCount;
        WriteSilence(block.samples, block.inputCount, end);
        for (long long at = end - 1; at >= block.lookBack; --at) {
            WriteFrame(block.samples, at, Sum(block.samples, at, delay));
        }
        std::memmove(block.samples, block.samples + ByteOf(block.lookBack),
                     static_cast<std::size_t>(block.outputCount) * FRAME_BYTES);
    }

private:
    long long DelaySamples(int rate) const {
        return zrtl::TruncToInt64(zrtl::RoundHalfAway(delayMs_ * rate / 1000.0));
    }

    /// The sound and its repeats. Only frames before the source are before the buffer.
    Frame Sum(const unsigned char* samples, long long at, long long delay) const {
        Frame sum = ReadFrame(samples, at);
        for (int k = 1; k <= taps_ && at >= delay; ++k) {
            at -= delay;
            sum += ReadFrame(samples, at) * gains_[k];
        }
        return sum;
    }

    double delayMs_;
    int taps_;
    std::array<double, MAX_TAPS + 1> gains_{};
};

}  // namespace

PluginPack::PluginInfo DelayInfo() {
    PluginPack::ParameterInfo delayMs;
    delayMs.name = "delayMs";
    delayMs.meaning = "Time from the sound to its first repeat, and from repeat to repeat.";
    delayMs.unit = "ms";
    delayMs.minimum = 1.0;
    delayMs.maximum = 2000.0;
    delayMs.defaultValue = 250.0;
    PluginPack::ParameterInfo levelDb;
    levelDb.name = "levelDb";
    levelDb.meaning = "Level of each repeat against the one before it.";
    levelDb.unit = "dB";
    levelDb.minimum = -96.0;
    levelDb.maximum = 0.0;
    levelDb.defaultValue = -6.0;
    PluginPack::ParameterInfo taps;
    taps.name = "taps";
    taps.meaning = "How often the sound is repeated.";
    taps.unit = "repeats";
    taps.minimum = 1.0;
    taps.maximum = MAX_TAPS;
    taps.defaultValue = 1.0;
    taps.whole = true;
    return {"delay", "Adds softer repeats of the sound.", {delayMs, levelDb, taps}};
}

EffectPointer MakeDelay(const PluginPack::Parameters& parameters) {
    return std::make_shared<Delay>(parameters.at("delayMs"), parameters.at("levelDb"),
                                   static_cast<int>(parameters.at("taps")));
}

}  // namespace orlo::sonrel::detail
