// SPDX-License-Identifier: MIT
// Every command with a low limit of descriptors and of address space.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <map>

#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/ResourceLimit.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

namespace fs = std::filesystem;

constexpr rlim_t MEGABYTE = 1 << 20;

/// Five descriptors are open at the start of the program, and the library loader needs another.
constexpr rlim_t MIN_DESCRIPTORS = 6;

class SystemLimits : public testing::Test {
protected:
    void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        GTEST_SKIP() << "a sanitizer needs address space and descriptors";
#endif
        // The program would inherit open descriptors, which count for its limit.
        close_range(STDERR_FILENO + 1, ~0U, 0);
        WriteFile(shop_.Work("a.wav"), ConformedFileBytes(24000));
        WriteFile(shop_.Work("b.wav"), Riff(Chunk("fmt ", PcmFormat(1, 2, 44100, 16)) +
                                            Chunk("data", CountingSamples(22050))));
        WriteFile(shop_.Work("edit.otio"),
                  Timeline({Track({Clip("a.wav", 0, 10), Clip("b.wav", 0, 10)})}).dump());
    }

    static std::vector<std::vector<std::string>> Commands() {
        return {{"info", "@edit.otio"},
                {"conform", "@a.wav", "@b.wav", "--jobs", "2"},
                {"mix", "@edit.otio", "-o", "@m.wav"},
                {"peaks", "@a.wav", "@b.wav"},
                {"report", "@edit.otio", "-o", "@r.html"},
                {"waveform", "@a.wav", "-o", "@w.png"},
                {"align", "@b.wav", "@a.wav"},
                {"play", "@edit.otio", "--output", "@p.wav"},
                {"cache", "check", "--deep"},
                {"cache", "clean", "--days", "0"}};
    }

    /// The recordings are too short for align, which compares them and exits with 3.
    static bool IsDone(const std::vector<std::string>& arguments, const ProgramResult& result) {
        return result.exitCode == (arguments.front() == "align" ? 3 : 0);
    }

    /// Runs a command with an empty cache; a cache command with a filled cache.
    ProgramResult RunLimited(const std::vector<std::string>& arguments, __rlimit_resource resource,
                             rlim_t max) const {
        fs::remove_all(shop_.Path("cache"));
        for (const char* name : {"media.db", "media.db-wal", "media.db-shm"}) {
            fs::remove(shop_.Path(name));
        }
        for (const char* name : {"m.wav", "r.html", "w.png", "p.wav"}) fs::remove(shop_.Work(name));
        if (arguments.front() == "cache") shop_.Run({"conform", "@a.wav", "@b.wav"});
        return Start(arguments, resource, max).Wait();
    }

    RunningProgram Start(const std::vector<std::string>& arguments, __rlimit_resource resource,
                         rlim_t max) const {
        const ResourceLimit limit(resource, max);
        return shop_.Start(arguments);
    }

    /// The address space that the program and its libraries need.
    rlim_t Libraries() const {
        rlim_t tooLittle = 0;
        rlim_t enough = 1024;
        while (enough - tooLittle > 1) {
            const rlim_t middle = (tooLittle + enough) / 2;
            const bool runs =
                Start({"--version"}, RLIMIT_AS, middle * MEGABYTE).Wait().exitCode == 0;
            (runs ? enough : tooLittle) = middle;
        }
        return enough * MEGABYTE;
    }

    /// The output of a command; empty when it has none.
    std::string Output() const {
        for (const char* name : {"m.wav", "r.html", "w.png", "p.wav"}) {
            if (fs::exists(shop_.Work(name))) return ReadFile(shop_.Work(name));
        }
        return {};
    }

    /// Expects that a command succeeds, or fails with a single line that names the reason.
    /// @return whether it succeeds
    bool ExpectDoneOrReason(const std::vector<std::string>& arguments, __rlimit_resource resource,
                            rlim_t max, const std::vector<std::string>& reasons) {
        const std::string whole = Whole(arguments);
        const ProgramResult result = RunLimited(arguments, resource, max);
        SCOPED_TRACE(arguments.front() + " with " + std::to_string(max) + ": " + result.err);
        if (IsDone(arguments, result)) {
            EXPECT_EQ(Output(), whole);
            return true;
        }
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(result.HasOneErrorLine());
        EXPECT_EQ(Output(), "");
        EXPECT_EQ(result.err.find("move it away"), std::string::npos);
        EXPECT_TRUE(std::any_of(reasons.begin(), reasons.end(), [&](const std::string& reason) {
            return result.err.find(reason) != std::string::npos;
        }));
        return false;
    }

    /// Bisects for the lowest limit of descriptors with which a command succeeds. The tried limits
    /// include the next lower limit, with which the command fails latest.
    void ExpectReasonsUpToEnoughDescriptors(const std::vector<std::string>& arguments) {
        const auto isDone = [&](rlim_t max) {
            return ExpectDoneOrReason(arguments, RLIMIT_NOFILE, max, {"too many files are open"});
        };
        rlim_t tooFew = MIN_DESCRIPTORS;
        rlim_t enough = MIN_DESCRIPTORS + 16;
        if (isDone(tooFew)) return;
        while (enough - tooFew > 1) {
            const rlim_t middle = (tooFew + enough) / 2;
            (isDone(middle) ? enough : tooFew) = middle;
        }
    }

    /// The output of a run without limits; empty when the command has none.
    std::string Whole(const std::vector<std::string>& arguments) {
        const bool hasOutput =
            std::any_of(arguments.begin(), arguments.end(),
                        [](const auto& word) { return word == "-o" || word == "--output"; });
        if (!hasOutput) return {};
        const auto known = whole_.find(arguments.front());
        if (known != whole_.end()) return known->second;
        const ProgramResult result = RunLimited(arguments, RLIMIT_NOFILE, 1024);
        EXPECT_TRUE(IsDone(arguments, result)) << result.err;
        return whole_[arguments.front()] = Output();
    }

    Workshop shop_;
    std::map<std::string, std::string> whole_;
};

TEST_F(SystemLimits, EveryCommandRunsWith64DescriptorsAnd512MegabytesBesidesTheLibraries) {
    const ResourceLimit descriptors(RLIMIT_NOFILE, 64);
    const rlim_t bytes = Libraries() + 512 * MEGABYTE;
    for (const auto& arguments : Commands()) {
        const ProgramResult result = RunLimited(arguments, RLIMIT_AS, bytes);
        EXPECT_TRUE(IsDone(arguments, result)) << arguments.front() << ": " << result.err;
    }
}

TEST_F(SystemLimits, ALackOfDescriptorsIsReportedAndLeavesNoOutput) {
    for (const auto& arguments : Commands()) ExpectReasonsUpToEnoughDescriptors(arguments);
}

TEST_F(SystemLimits, ACommandRequires64MegabytesBesidesTheLibraries) {
    const ProgramResult result =
        RunLimited({"info", "@edit.otio"}, RLIMIT_AS, Libraries() + 62 * MEGABYTE);

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine());
    EXPECT_NE(result.err.find("a command needs at least 64 MB"), std::string::npos) << result.err;
}

TEST_F(SystemLimits, ALackOfMemoryIsReportedAndLeavesNoOutput) {
    const rlim_t libraries = Libraries();
    for (const auto& arguments : Commands()) {
        // Slightly more than the 64 MB that a command requires, and nearly enough for each.
        for (const rlim_t megabytes : {66, 90}) {
            ExpectDoneOrReason(arguments, RLIMIT_AS, libraries + megabytes * MEGABYTE,
                               {"not enough memory", "a thread cannot be started"});
        }
    }
}

}  // namespace
}  // namespace sonrel_tests
