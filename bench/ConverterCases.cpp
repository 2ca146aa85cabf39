// SPDX-License-Identifier: MIT
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bench/KernelCases.h"
#include "bench/RatioBench.h"
#include "sonrel/mixer/SampleConverter.h"
#include "tests/reference/ReferenceConverter.h"

#ifdef SONREL_BENCH_SWRESAMPLE
extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}
#endif

namespace orlo::sonrel::bench {
namespace {

constexpr int BLOCK = 1920;

struct Block {
    Block() : input(2 * BLOCK), output(2 * BLOCK) {
        std::mt19937 random(1);
        for (float& value : input) {
            value = static_cast<float>(static_cast<int>(random())) * 0x1p-31f;
        }
    }
    std::vector<float> input;
    std::vector<short> output;
};

void AddOwnCases(const std::string& job, DitherType type) {
    const auto block = std::make_shared<Block>();
    const auto plain = std::make_shared<reference::SampleConverter>(type, 1);
    AddVariant(job, "reference", BLOCK, [block, plain] {
        plain->FloatToInt16(block->input.data(), block->output.data(), BLOCK);
    });
    const auto converter = std::make_shared<SampleConverter>(type, 1);
    AddOwnVariants(job, BLOCK, [block, converter] {
        converter->FloatToInt16(block->input.data(), block->output.data(), BLOCK);
    });
    Demand(job, NameOf(detail::CpuPath::Avx2), "reference", 8.0);
    Demand(job, NameOf(detail::CpuPath::Baseline), "reference", 8.0);
}

#ifdef SONREL_BENCH_SWRESAMPLE
void AddSwresample(const std::string& job, const char* dither) {
    SwrContext* context = nullptr;
    AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
    swr_alloc_set_opts2(&context, &stereo, AV_SAMPLE_FMT_S16, 48000, &stereo, AV_SAMPLE_FMT_FLT,
                        48000, 0, nullptr);
    av_opt_set(context, "dither_method", dither, 0);
    if (swr_init(context) < 0) return;
    const std::shared_ptr<SwrContext> stream(context, [](SwrContext* c) { swr_free(&c); });
    const auto block = std::make_shared<Block>();
    AddVariant(job, "swresample", BLOCK, [block, stream] {
        const auto* input = reinterpret_cast<const std::uint8_t*>(block->input.data());
        auto* output = reinterpret_cast<std::uint8_t*>(block->output.data());
        swr_convert(stream.get(), &output, BLOCK, &input, BLOCK);
    });
}
#endif

}  // namespace

void AddConverterCases() {
    AddOwnCases("convert without dither", DitherType::None);
    AddOwnCases("convert with triangular dither", DitherType::Triangular);
    AddOwnCases("convert with high-pass dither", DitherType::HighPassTriangular);
#ifdef SONREL_BENCH_SWRESAMPLE
    AddSwresample("convert with triangular dither", "triangular");
    AddSwresample("convert with high-pass dither", "triangular_hp");
    Demand("convert with high-pass dither", NameOf(detail::CpuPath::Avx2), "swresample", 1.0 / 1.5);
#endif
}

}  // namespace orlo::sonrel::bench
