// SPDX-License-Identifier: MIT
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "bench/KernelCases.h"
#include "bench/RatioBench.h"
#include "sonrel/mixer/detail/Resampler.h"
#include "tests/reference/ReferenceResampler.h"
#include "tests/support/ResamplerSignals.h"

#ifdef SONREL_BENCH_SOXR
#include <soxr.h>
#endif
#ifdef SONREL_BENCH_SAMPLERATE
#include <samplerate.h>
#endif

namespace orlo::sonrel::bench {
namespace {

constexpr int RATE = 48000;
constexpr int BLOCK = 1920;  // a video frame at 25 frames a second

// The buffers of one block.
struct Block {
    explicit Block(double blockSpeed)
        : speed(blockSpeed),
          sourceFrames(static_cast<int>(BLOCK * speed) + 128),
          source(test::MakeSignal(test::Signal::Noise, static_cast<std::size_t>(sourceFrames), 1)),
          output(static_cast<std::size_t>(4 * BLOCK)) {}

    double speed;
    int sourceFrames;
    std::vector<short> source;
    std::vector<short> output;
};

std::string JobOf(double speed) {
    char text[32];
    std::snprintf(text, sizeof text, "resample at %g", speed);
    return text;
}

#ifdef SONREL_BENCH_SOXR
// The same ratio with soxr, as a stream of blocks.
void AddSoxr(const std::string& variant, double speed, unsigned long recipe) {
    const auto block = std::make_shared<Block>(speed);
    const soxr_io_spec_t io = soxr_io_spec(SOXR_INT16_I, SOXR_INT16_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(recipe, 0);
    const std::shared_ptr<soxr> stream(
        soxr_create(RATE * speed, RATE, 2, nullptr, &io, &quality, nullptr), soxr_delete);
    AddVariant(JobOf(speed), variant, BLOCK, [block, stream] {
        std::size_t read = 0;
        std::size_t written = 0;
        soxr_process(stream.get(), block->source.data(),
                     static_cast<std::size_t>(BLOCK * block->speed + 0.5), &read,
                     block->output.data(), 2 * BLOCK, &written);
    });
}
#endif

#ifdef SONREL_BENCH_SAMPLERATE
// The same ratio with libsamplerate, from and to 16 bits.
void AddSamplerate(const std::string& variant, double speed, int converter) {
    struct Stream {
        explicit Stream(double speed)
            : block(speed), input(block.source.size()), output(8 * BLOCK) {}
        Block block;
        std::vector<float> input;
        std::vector<float> output;
        std::shared_ptr<SRC_STATE> state;
    };
    const auto stream = std::make_shared<Stream>(speed);
    int error = 0;
    stream->state.reset(src_new(converter, 2, &error), src_delete);
    AddVariant(JobOf(speed), variant, BLOCK, [stream] {
        SRC_DATA data{};
        data.data_in = stream->input.data();
        data.data_out = stream->output.data();
        data.input_frames = static_cast<long>(BLOCK * stream->block.speed + 0.5);
        data.output_frames = 2 * BLOCK;
        data.src_ratio = 1.0 / stream->block.speed;
        src_short_to_float_array(stream->block.source.data(), stream->input.data(),
                                 static_cast<int>(2 * data.input_frames));
        src_process(stream->state.get(), &data);
        src_float_to_short_array(stream->output.data(), stream->block.output.data(),
                                 static_cast<int>(2 * data.output_frames_gen));
    });
}
#endif

}  // namespace

void AddResamplerCases() {
    for (const double speed : {0.25, 0.5, 0.999, 1.001, 1.37, 1.5, 2.0, 4.0}) {
        const std::string job = JobOf(speed);
        const auto block = std::make_shared<Block>(speed);
        AddVariant(job, "reference", BLOCK, [block] {
            reference::ResampleStereo(RATE, block->speed, block->source.data(), 64,
                                      block->sourceFrames, block->output.data(), BLOCK);
        });
        const auto resampler = std::make_shared<detail::Resampler>();
        AddOwnVariants(job, BLOCK, [block, resampler] {
            resampler->ResampleStereo(RATE, block->speed, block->source.data(), 64,
                                      block->sourceFrames, block->output.data(), BLOCK);
        });
#ifdef SONREL_BENCH_SOXR
        AddSoxr("soxr HQ", speed, SOXR_HQ);
        AddSoxr("soxr VHQ", speed, SOXR_VHQ);
#endif
#ifdef SONREL_BENCH_SAMPLERATE
        AddSamplerate("libsamplerate medium", speed, SRC_SINC_MEDIUM_QUALITY);
        AddSamplerate("libsamplerate best", speed, SRC_SINC_BEST_QUALITY);
#endif
        if (speed == 1.37) continue;
        const bool nearOne = speed == 0.999 || speed == 1.001;
        Demand(job, NameOf(detail::CpuPath::Avx2), "reference", nearOne ? 30.0 : 40.0);
        Demand(job, NameOf(detail::CpuPath::Baseline), "reference", nearOne ? 15.0 : 30.0);
    }
}

}  // namespace orlo::sonrel::bench
