// SPDX-License-Identifier: MIT
// Ctrl-C during each phase of the commands after their media files are open.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <chrono>
#include <csignal>
#include <ctime>
#include <thread>

#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

namespace fs = std::filesystem;

struct Phase {
    std::string name;
    std::vector<std::string> arguments;
    std::string sign;  ///< text on standard output or error after the phase has begun
};

std::string Step(const std::string& step) {
    return R"({"progress":{"step":")" + step + '"';
}
/// The last line of a step: the next step has begun or begins at once.
std::string EndOf(const std::string& samples) {
    return R"("done":)" + samples + R"(,"total":)" + samples + ',';
}

double Seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

/// Processor time of all ended programs.
double SecondsOfEndedPrograms() {
    rusage usage = {};
    getrusage(RUSAGE_CHILDREN, &usage);
    return Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
}

double SecondsOf(pid_t program) {
    clockid_t clock = 0;
    timespec time = {};
    EXPECT_EQ(clock_getcpuclockid(program, &clock), 0);
    EXPECT_EQ(clock_gettime(clock, &time), 0);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

class InterruptProgram : public testing::TestWithParam<Phase> {
protected:
    InterruptProgram() {
        // A sparse file of zeros: 6 hours at another rate.
        WriteFile(shop_.Work("long.wav"), "RIFF" + Little(0xFFFFFFFF, 4) + "WAVE" +
                                              Chunk("fmt ", PcmFormat(1, 2, 44100, 16)) + "data" +
                                              Little(0xFFFFFFFF, 4));
        fs::resize_file(shop_.Work("long.wav"), 44 + 4 * 44100LL * 6 * 3600);
        WriteFile(shop_.Work("minutes.wav"), Noise(120 * 48000));
        WriteFile(shop_.Work("minute.wav"), Noise(60 * 48000));
        std::vector<Json> clips;
        for (int i = 0; i < 600; ++i) clips.push_back(Clip("minute.wav", 0, 1500));
        WriteFile(shop_.Work("edit.otio"), Timeline({Track(clips)}).dump());
        names_ = NamesIn(shop_.Path("work"));
    }

    static std::string Noise(int frames) {
        std::string samples(4 * static_cast<std::size_t>(frames), '\0');
        std::uint32_t state = 1;
        for (char& byte : samples) {
            state = state * 1664525u + 1013904223u;
            byte = static_cast<char>(state >> 24);
        }
        return Riff(Chunk("fmt ", PcmFormat(1, 2, 48000, 16)) + Chunk("data", samples));
    }

    void WaitFor(const RunningProgram& run, const std::string& sign) const {
        const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(4);
        while ((run.ErrorSoFar() + run.OutputSoFar()).find(sign) == std::string::npos) {
            ASSERT_LT(std::chrono::steady_clock::now(), end) << run.ErrorSoFar();
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    }

    Workshop shop_;
    std::vector<std::string> names_;
};

TEST_P(InterruptProgram, EndsTheCommandWithin200MillisecondsAndLeavesNoOutput) {
    const double before = SecondsOfEndedPrograms();
    std::vector<std::string> arguments{"--progress", "json"};
    arguments.insert(arguments.end(), GetParam().arguments.begin(), GetParam().arguments.end());
    RunningProgram run = shop_.Start(arguments);
    WaitFor(run, GetParam().sign);
    const double used = SecondsOf(run.Id());

    kill(run.Id(), SIGINT);
    const ProgramResult result = run.Wait();

    EXPECT_EQ(result.exitCode, 130) << result.err;
    const std::size_t line = result.err.rfind("sonrel: interrupted: ");
    ASSERT_NE(line, std::string::npos) << result.err;
    EXPECT_EQ(result.err.find('\n', line), result.err.size() - 1);
    EXPECT_EQ(NamesIn(shop_.Path("work")), names_);
    // Processor time, which other work on the machine does not extend; at most four threads.
    EXPECT_LE(SecondsOfEndedPrograms() - before - used, 4 * 0.2);
}

INSTANTIATE_TEST_SUITE_P(
    EveryCommand, InterruptProgram,
    testing::Values(
        Phase{"Conform", {"conform", "@long.wav"}, Step("conform")},
        Phase{"ConformForced", {"conform", "--force", "@long.wav"}, Step("conform")},
        Phase{"MixThatConforms", {"mix", "@long.wav", "-o", "@out.wav"}, Step("conform")},
        Phase{"Mix", {"mix", "@edit.otio", "-o", "@out.wav"}, Step("mix")},
        Phase{"Peaks", {"peaks", "@long.wav"}, Step("peaks")},
        Phase{"PeaksToAFile", {"peaks", "@long.wav", "-o", "@out.xwpk"}, Step("peaks")},
        Phase{"WaveformThatReads", {"waveform", "@long.wav", "-o", "@out.png"}, Step("peaks")},
        Phase{"WaveformThatDraws",
              {"waveform", "@minutes.wav", "-o", "@out.png", "--size", "8192x8192"},
              EndOf("5760000")},
        Phase{"Report", {"report", "@edit.otio", "-o", "@out.html"}, Step("measure")},
        Phase{"AlignThatConforms", {"align", "@long.wav", "@minute.wav"}, Step("conform")},
        Phase{"Align", {"align", "@minutes.wav", "@minute.wav"}, Step("align")},
        Phase{"PlayThatConforms", {"play", "@long.wav", "--output", "@out.wav"}, Step("conform")},
        Phase{"Play",
              {"play", "@edit.otio", "--output", "@out.wav", "--events"},
              R"("event":"frame")"}),
    [](const testing::TestParamInfo<Phase>& parameter) { return parameter.param.name; });

}  // namespace
}  // namespace sonrel_tests
