// SPDX-License-Identifier: MIT
#include "bench/RatioBench.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <utility>

namespace orlo::sonrel::bench {
namespace {

struct VariantDemand {
    std::string job;
    std::string variant;
    std::string reference;
    double minRatio;
};

struct Registry {
    std::vector<std::string> jobs;
    std::map<std::string, std::vector<std::string>> variantsOfJob;
    std::vector<VariantDemand> demands;
};

Registry& TheRegistry() {
    static Registry registry;
    return registry;
}

using Times = std::map<std::pair<std::string, std::string>, double>;  // ns a frame

// Prints the usual lines and stores the median of each variant.
class MedianReporter : public benchmark::ConsoleReporter {
public:
    MedianReporter() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.aggregate_name != "median") continue;
            const auto counter = run.counters.find("ns_per_frame");
            const std::string& name = run.run_name.function_name;
            const std::size_t bar = name.rfind('/');
            if (counter == run.counters.end() || bar == std::string::npos) continue;
            times_[{name.substr(0, bar), name.substr(bar + 1)}] = counter->second.value;
        }
    }

    const Times& MedianTimes() const { return times_; }

private:
    Times times_;
};

// One line for each job: the time of the first variant, then the others with their ratios to it.
void PrintTable(const Times& times) {
    std::printf(
        "\n| job | first variant, ns a frame | other variants, ns a frame (times as fast) |\n");
    std::printf("|---|---|---|\n");
    for (const std::string& job : TheRegistry().jobs) {
        double reference = 0.0;
        std::string others;
        for (const std::string& variant : TheRegistry().variantsOfJob[job]) {
            const auto time = times.find({job, variant});
            if (time == times.end()) continue;
            char cell[160];
            if (reference == 0.0) {
                reference = time->second;
                std::printf("| %s | %s %.2f |", job.c_str(), variant.c_str(), reference);
                continue;
            }
            std::snprintf(cell, sizeof cell, "%s%s %.2f (%.1f)", others.empty() ? " " : ", ",
                          variant.c_str(), time->second, reference / time->second);
            others += cell;
        }
        if (reference != 0.0) std::printf("%s |\n", others.c_str());
    }
}

bool PrintDemands(const Times& times) {
    bool allMet = true;
    std::printf("\n");
    for (const VariantDemand& demand : TheRegistry().demands) {
        const auto time = times.find({demand.job, demand.variant});
        const auto reference = times.find({demand.job, demand.reference});
        if (time == times.end() || reference == times.end()) continue;
        const double ratio = reference->second / time->second;
        const bool met = ratio >= demand.minRatio;
        allMet = allMet && met;
        std::printf("%s: %s, %s is %.2f times as fast as %s (at least %.2f)\n",
                    met ? "met   " : "MISSED", demand.job.c_str(), demand.variant.c_str(), ratio,
                    demand.reference.c_str(), demand.minRatio);
    }
    return allMet;
}

}  // namespace

void AddVariant(const std::string& job, const std::string& variant, int frames,
                std::function<void()> run) {
    Registry& registry = TheRegistry();
    std::vector<std::string>& variants = registry.variantsOfJob[job];
    if (variants.empty()) registry.jobs.push_back(job);
    variants.push_back(variant);
    const auto body = [frames, run = std::move(run)](benchmark::State& state) {
        run();  // makes tables and buffers
        for ([[maybe_unused]] auto _ : state) run();
        const double done = static_cast<double>(state.iterations()) * frames;
        state.counters["ns_per_frame"] = benchmark::Counter(
            done * 1e-9, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    };
    benchmark::RegisterBenchmark((job + "/" + variant).c_str(), body)
        ->Repetitions(7)
        ->MinTime(0.05)
        ->ReportAggregatesOnly();
}

std::string NameOf(detail::CpuPath path) {
    switch (path) {
        case detail::CpuPath::Baseline:
            return "baseline";
        case detail::CpuPath::Avx2:
            return "AVX2";
        case detail::CpuPath::Avx512:
            return "AVX-512";
    }
    return "unknown";
}

void AddOwnVariants(const std::string& job, int frames, const std::function<void()>& run) {
    for (const auto path :
         {detail::CpuPath::Baseline, detail::CpuPath::Avx2, detail::CpuPath::Avx512}) {
        if (path > detail::BestCpuPath()) continue;
        AddVariant(job, NameOf(path), frames, [path, run] {
            detail::ForceCpuPath(path);
            run();
        });
    }
}

void Demand(const std::string& job, const std::string& variant, const std::string& reference,
            double minRatio) {
    TheRegistry().demands.push_back({job, variant, reference, minRatio});
}

int RunAndReport(int argc, char** argv) {
    std::string interleave = "--benchmark_enable_random_interleaving=true";
    std::vector<char*> arguments(argv, argv + argc);
    arguments.insert(arguments.begin() + 1, interleave.data());
    int count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;
    MedianReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    PrintTable(reporter.MedianTimes());
    return PrintDemands(reporter.MedianTimes()) ? 0 : 1;
}

}  // namespace orlo::sonrel::bench
