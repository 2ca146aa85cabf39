// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>

#include "sonrel/base/Timing.h"
#include "sonrel/plugins/pack/detail/AudioEffect.h"
#include "sonrel/plugins/pack/detail/FourFrames.h"
#include "sonrel/plugins/pack/detail/Plugins.h"
#include "sonrel/plugins/pack/detail/StereoSamples.h"

namespace orlo::sonrel::detail {
namespace {

constexpr int MAX_TAPS = 8;

/// The repeats of a delay.
struct Repeats {
    long long delay;      ///< frames from one to the next
    int count;            ///< at least 1
    const double* gains;  ///< count + 1 factors; the first belongs to the sound itself
};

/// Adds the repeats to the frames from @p first to @p end, from the last frame to the first, in
/// fours. All frames of the repeats are in the buffer.
struct AddRepeatsKernel {
    using Signature = void(unsigned char* samples, long long first, long long end, Repeats repeats);
    static constexpr CpuPath WIDEST = CpuPath::Avx2;

    template <typename L>
    SONREL_ALWAYS_INLINE static void Run(unsigned char* samples, long long first, long long end,
                                         Repeats repeats) {
        for (long long at = end - FRAMES_AT_ONCE; at >= first; at -= FRAMES_AT_ONCE) {
            FourFrames<L> sum;
            ReadFour(samples + ByteOf(at), sum);
            for (int k = 1; k <= repeats.count; ++k) {
                typename L::Doubles gain;
                Spread(repeats.gains[k], gain);
                FourFrames<L> repeat;
                ReadFour(samples + ByteOf(at - k * repeats.delay), repeat);
                for (int i = 0; i < FourFrames<L>::PARTS; ++i) {
                    sum.parts[i] += repeat.parts[i] * gain;
                }
            }
            WriteFour(samples + ByteOf(at), sum);
        }
    }
};

constexpr auto ADD_REPEATS = KernelsOf<AddRepeatsKernel>();

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
        const long long first = std::max(block.lookBack, taps_ * delay);
        ADD_REPEATS.Active()(block.samples, first, end, {delay, taps_, gains_.data()});
        const long long rest = first < end ? first + (end - first) % FRAMES_AT_ONCE : end;
        for (long long at = rest - 1; at >= block.lookBack; --at) {
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
