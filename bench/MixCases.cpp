// SPDX-License-Identifier: MIT
#include <memory>
#include <string>
#include <vector>

#include "bench/KernelCases.h"
#include "bench/RatioBench.h"
#include "sonrel/mixer/AudioMeter.h"
#include "sonrel/mixer/detail/GainLaw.h"
#include "tests/reference/ReferenceGainLaw.h"
#include "tests/support/ResamplerSignals.h"

namespace orlo::sonrel::bench {
namespace {

constexpr int BLOCK = 1920;
constexpr int METER_BLOCK = 4800;  // a tenth of a second
constexpr float BALANCE = 0.3f;

struct Block {
    Block() : samples(test::MakeSignal(test::Signal::Noise, BLOCK, 1)), sum(2 * BLOCK, 0.0f) {
        meter.StartMeterSession(METER_BLOCK);
        plainMeter.StartMeterSession(METER_BLOCK);
    }
    std::vector<short> samples;
    std::vector<float> sum;
    AudioMeter meter;
    reference::AudioMeter plainMeter;
};

void AddMix(const std::string& job, float startLevel, float endLevel) {
    const auto block = std::make_shared<Block>();
    AddVariant(job, "reference", BLOCK, [=] {
        reference::MixObjectIntoBlock(block->samples.data(), BLOCK, block->sum.data(), startLevel,
                                      endLevel, BALANCE);
    });
    AddOwnVariants(job, BLOCK, [=] {
        detail::MixObjectIntoBlock(block->samples.data(), BLOCK, block->sum.data(), startLevel,
                                   endLevel, BALANCE);
    });
}

void AddMeteredMix(const std::string& job, float startLevel, float endLevel) {
    const auto block = std::make_shared<Block>();
    AddVariant(job, "reference", BLOCK, [=] {
        reference::MixObjectIntoBlockMetered(block->samples.data(), BLOCK, block->sum.data(), BLOCK,
                                             startLevel, endLevel, BALANCE, block->plainMeter);
    });
    AddOwnVariants(job, BLOCK, [=] {
        detail::MixObjectIntoBlockMetered(block->samples.data(), BLOCK, block->sum.data(), BLOCK,
                                          startLevel, endLevel, BALANCE, &block->meter);
    });
    Demand(job, NameOf(detail::CpuPath::Avx2), "reference", 5.0);
}

void AddMaster(const std::string& job, float startLevel, float endLevel) {
    const auto block = std::make_shared<Block>();
    const auto fill = [block] {
        for (float& value : block->sum) value = 0.5f;
    };
    AddVariant(job, "reference", BLOCK, [=] {
        fill();
        reference::ApplyMasterLevel(block->sum.data(), BLOCK, startLevel, endLevel);
    });
    AddOwnVariants(job, BLOCK, [=] {
        fill();
        detail::ApplyMasterLevel(block->sum.data(), BLOCK, startLevel, endLevel);
    });
}

void AddMeter() {
    const auto block = std::make_shared<Block>();
    const std::string job = "meter a block";
    AddVariant(job, "reference", BLOCK,
               [=] { block->plainMeter.ProcessSamples(block->sum.data(), BLOCK); });
    AddOwnVariants(job, BLOCK, [=] { block->meter.ProcessSamples(block->sum.data(), BLOCK); });
}

}  // namespace

void AddMixCases() {
    AddMeteredMix("metered mix at a constant level", -6.0f, -6.0f);
    AddMeteredMix("metered mix on a ramp", -6.0f, -12.0f);
    AddMix("mix at a constant level", -6.0f, -6.0f);
    AddMix("mix on a ramp", -6.0f, -12.0f);
    AddMaster("master on a ramp", -6.0f, -12.0f);
    AddMeter();
}

}  // namespace orlo::sonrel::bench
