// SPDX-License-Identifier: MIT
// Storms on a playback engine, two at a time.
//
//   playback_storms [--seed N] [--commands N] [--limit MS]
//       storms of all profiles, until this number of commands; prints the figures
//   playback_storms --profile P --seed N [--commands N] [--print]
//       one storm, or only its script
//   playback_storms --script FILE
//       the commands of a file
#include <algorithm>
#include <atomic>
#include <chrono>
#include <exception>
#include <fstream>
#include <iostream>
#include <map>
#include <mutex>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/playback/storms/Storm.h"

using namespace sonrel_tests;

namespace {

constexpr int COMMANDS_A_STORM = 1000;
constexpr int STORMS_AT_ONCE = 2;

using Options = std::map<std::string, std::string>;

Options ReadOptions(int count, char** arguments) {
    Options options;
    for (int i = 1; i < count; ++i) {
        const std::string name = arguments[i];
        if (name != "--print" && i + 1 == count) {
            throw std::runtime_error(name + " needs a value");
        }
        options[name] = name == "--print" ? "" : arguments[++i];
    }
    return options;
}

std::string Option(const Options& options, const std::string& name, const std::string& other) {
    const auto found = options.find(name);
    return found != options.end() ? found->second : other;
}

std::chrono::milliseconds Limit(const Options& options) {
    return std::chrono::milliseconds(std::stoi(Option(options, "--limit", "1000")));
}

StormProfile ProfileNamed(const std::string& name) {
    for (const StormProfile profile : STORM_PROFILES) {
        if (NameOf(profile) == name) return profile;
    }
    throw std::runtime_error("no profile of a storm is named " + name);
}

constexpr const char* BuildName() {
#if defined(__SANITIZE_THREAD__)
    return "thread sanitizer";
#elif defined(__SANITIZE_ADDRESS__)
    return "address sanitizer";
#else
    return "release";
#endif
}

double Milliseconds(std::chrono::microseconds time) {
    return static_cast<double>(time.count()) / 1000.0;
}

/// The storms of a run, and the sum of their figures.
class Storms {
public:
    Storms(unsigned int seed, long long commands, std::chrono::milliseconds limit)
        : seed_(seed), commands_(commands), limit_(limit) {}

    void Run() {
        std::vector<std::thread> threads;
        for (int i = 0; i < STORMS_AT_ONCE; ++i) threads.emplace_back([this] { Work(); });
        for (std::thread& thread : threads) thread.join();
    }

    int Report() const {
        std::cout << "{\"figure\": \"playback commands in storms, " << BuildName()
                  << "\", \"count\": " << sum_.commands << ", \"wrong\": " << sum_.faultCount
                  << ", \"seed\": " << seed_ << ", \"refused_calls\": " << sum_.refusedCalls
                  << ", \"completed_runs\": " << sum_.completions
                  << ", \"longest_stop_ms\": " << Milliseconds(sum_.longest.stop)
                  << ", \"longest_flush_ms\": " << Milliseconds(sum_.longest.flush)
                  << ", \"longest_command_ms\": " << Milliseconds(sum_.longest.any) << "}\n";
        return sum_.faultCount == 0 ? 0 : 1;
    }

private:
    /// Half of the storms are of the faulty devices.
    static StormProfile ProfileOf(unsigned int storm) {
        constexpr StormProfile ORDER[] = {StormProfile::Faults, StormProfile::Normal,
                                          StormProfile::Faults, StormProfile::Flush,
                                          StormProfile::Faults, StormProfile::Scrub};
        return ORDER[storm % std::size(ORDER)];
    }

    void Work() {
        while (begun_.fetch_add(COMMANDS_A_STORM) < commands_) {
            const unsigned int storm = next_++;
            const unsigned int seed = seed_ + storm;
            const StormProfile profile = ProfileOf(storm);
            const std::string name = "--profile " + NameOf(profile) + " --seed " +
                                     std::to_string(seed) + " --commands " +
                                     std::to_string(COMMANDS_A_STORM);
            // Before it begins, so that a storm that crashes can be repeated.
            Print("storm " + name);
            Add(name, Storm(seed, limit_).Run(MakeStormScript(profile, seed, COMMANDS_A_STORM)));
        }
    }

    void Add(const std::string& name, const StormOutcome& outcome) {
        for (const std::string& fault : outcome.faults) Print("fault in " + name + ": " + fault);
        const std::lock_guard guard(mutex_);
        sum_.commands += outcome.commands;
        sum_.completions += outcome.completions;
        sum_.refusedCalls += outcome.refusedCalls;
        sum_.faultCount += outcome.faultCount;
        sum_.longest.stop = std::max(sum_.longest.stop, outcome.longest.stop);
        sum_.longest.flush = std::max(sum_.longest.flush, outcome.longest.flush);
        sum_.longest.any = std::max(sum_.longest.any, outcome.longest.any);
    }

    void Print(const std::string& line) {
        const std::lock_guard guard(mutex_);
        std::cerr << line << std::endl;
    }

    const unsigned int seed_;
    const long long commands_;
    const std::chrono::milliseconds limit_;
    std::atomic<long long> begun_ = 0;
    std::atomic<unsigned int> next_ = 0;
    std::mutex mutex_;  // guards the rest and the lines printed
    StormOutcome sum_;
};

int RunOne(unsigned int seed, const StormScript& script, std::chrono::milliseconds limit) {
    const StormOutcome outcome = Storm(seed, limit).Run(script);
    for (const std::string& fault : outcome.faults) std::cerr << fault << '\n';
    std::cout << outcome.commands << " commands, " << outcome.faultCount << " faults\n";
    return outcome.faultCount == 0 ? 0 : 1;
}

int Run(const Options& options) {
    const std::string fresh = std::to_string(std::random_device()() % 1000000000);
    const auto seed = static_cast<unsigned int>(std::stoul(Option(options, "--seed", fresh)));
    const int commands = std::stoi(Option(options, "--commands", std::to_string(COMMANDS_A_STORM)));
    if (options.count("--script") != 0) {
        std::ifstream file(options.at("--script"));
        return RunOne(seed, ReadStormScript(file), Limit(options));
    }
    if (options.count("--profile") != 0) {
        const StormScript script =
            MakeStormScript(ProfileNamed(options.at("--profile")), seed, commands);
        if (options.count("--print") == 0) return RunOne(seed, script, Limit(options));
        WriteStormScript(std::cout, script);
        return 0;
    }
    Storms storms(seed, commands, Limit(options));
    storms.Run();
    return storms.Report();
}

}  // namespace

int main(int count, char** arguments) {
    try {
        return Run(ReadOptions(count, arguments));
    } catch (const std::exception& failure) {
        std::cerr << "playback_storms: " << failure.what() << '\n';
        return 2;
    }
}
