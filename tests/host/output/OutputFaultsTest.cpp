// SPDX-License-Identifier: MIT
// Outputs on a disk on which each operation fails in a separate run.
#include <gtest/gtest.h>

#include <map>

#include "tests/host/FaultRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/ResourceLimit.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

namespace fs = std::filesystem;

using Arguments = std::vector<std::string>;
/// The bytes of files, by name.
using Contents = std::map<std::string, std::string>;

struct Job {
    std::string name;
    Arguments arguments;
    std::vector<std::string> files;  ///< in the folder "out"
};

class OutputFaults : public testing::TestWithParam<Job> {
protected:
    void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        GTEST_SKIP() << "a sanitizer must be the first library";
#endif
        fs::create_directories(Folder() / "stems");
        WriteFile(shop_.Work("a.wav"), ConformedFileBytes(24000));
        WriteFile(shop_.Work("b.wav"), ConformedFileBytes(20000));
        WriteFile(shop_.Work("edit.otio"), Timeline({Track({Clip("a.wav", 0, 12)})}).dump());
        ASSERT_NE(shop_.Run(GetParam().arguments).exitCode, 1);
        whole_ = Files();
        ASSERT_EQ(whole_.size(), GetParam().files.size());
    }

    fs::path Folder() const {
        return shop_.Work("out");
    }

    Contents Files() const {
        Contents contents;
        for (const auto& entry : fs::recursive_directory_iterator(Folder())) {
            if (!entry.is_directory()) {
                contents[fs::relative(entry.path(), Folder())] = ReadFile(entry.path());
            }
        }
        return contents;
    }

    void WriteOldFiles() const {
        for (const std::string& name : GetParam().files) WriteFile(Folder() / name, "old");
    }

    /// Whether @p files are exactly the outputs, each complete or unchanged.
    bool EachIsNewOrOld(const Contents& files) const {
        if (files.size() != whole_.size()) return false;
        for (const auto& [name, bytes] : whole_) {
            const auto file = files.find(name);
            if (file == files.end() || (file->second != bytes && file->second != "old")) {
                return false;
            }
        }
        return true;
    }

    /// Runs the job with a fault in the operation of the given number.
    /// @return false when the job has fewer operations
    bool RunWithFaultAt(int operation, const char* mode, const char* error) const {
        const fs::path log = shop_.Path("operations.txt");
        fs::remove(log);
        const Variable root("FAULTFS_ROOT", Folder());
        const Variable operations("FAULTFS_OPS", "create,open,write,fsync,rename,close");
        const Variable at("FAULTFS_AT", std::to_string(operation));
        const Variable how("FAULTFS_MODE", mode);
        const Variable code("FAULTFS_ERR", error);
        const Variable logged("FAULTFS_LOG", log);
        const Variable shim("LD_PRELOAD", SONREL_FAULTFS);
        result_ = shop_.Run(GetParam().arguments);
        hit_.clear();
        for (const std::string& line : ReadLines(log)) {
            if (line.find(" HIT ") != std::string::npos) hit_ = line;
        }
        return !hit_.empty();
    }

    /// Whether the fault was in an operation on a folder.
    bool HitAFolder(const std::string& operation) const {
        return hit_.find(' ' + operation + ' ') != std::string::npos &&
               fs::is_directory(hit_.substr(hit_.find('/')));
    }

    Workshop shop_;
    Contents whole_;
    mutable ProgramResult result_;
    mutable std::string hit_;  ///< line of the log about the operation with the fault
};

TEST_P(OutputFaults, AFailedOperationIsReportedAndEachOutputIsNewOrOld) {
    int operation = 1;
    for (; WriteOldFiles(), RunWithFaultAt(operation, "fail", "EIO"); ++operation) {
        EXPECT_TRUE(EachIsNewOrOld(Files())) << hit_;
        if (HitAFolder("close")) continue;  // it loses nothing
        EXPECT_EQ(result_.exitCode, 1) << hit_;
        EXPECT_TRUE(result_.HasOneErrorLine()) << hit_ << ": " << result_.err;
    }
    // An output needs eight: create, write, sync, link, close, rename, open and sync of the folder.
    EXPECT_GT(operation, 8);
    EXPECT_EQ(Files(), whole_);
}

TEST_P(OutputFaults, AFolderThatRefusesToBeSyncedIsNotAFailure) {
    int refused = 0;
    for (int operation = 1; WriteOldFiles(), RunWithFaultAt(operation, "fail", "EPERM");
         ++operation) {
        if (!HitAFolder("fsync")) continue;
        ++refused;
        EXPECT_EQ(Files(), whole_) << hit_;
        EXPECT_NE(result_.exitCode, 1) << hit_ << ": " << result_.err;
    }
    EXPECT_GE(refused, 1);
}

TEST_P(OutputFaults, AnInterruptedOperationIsNotAFailure) {
    for (int operation = 1; WriteOldFiles(), RunWithFaultAt(operation, "fail", "EINTR");
         ++operation) {
        if (hit_.find(" rename ") != std::string::npos) continue;
        EXPECT_EQ(Files(), whole_) << hit_ << ": " << result_.err;
        EXPECT_NE(result_.exitCode, 1) << hit_;
    }
}

TEST_P(OutputFaults, AShortWriteIsContinued) {
    for (int operation = 1; WriteOldFiles(), RunWithFaultAt(operation, "short", "EIO");
         ++operation) {
        EXPECT_TRUE(EachIsNewOrOld(Files())) << hit_;
        if (hit_.find(" write ") == std::string::npos) continue;
        EXPECT_EQ(Files(), whole_) << hit_ << ": " << result_.err;
    }
}

const std::vector<Job> JOBS{
    {"Mix",
     {"mix", "@edit.otio", "-o", "@out/mix.wav", "--meters", "@out/m.json", "--stems",
      "@out/stems"},
     {"mix.wav", "m.json", "stems/01-A1.wav"}},
    {"MixFlac", {"mix", "@edit.otio", "-o", "@out/mix.flac"}, {"mix.flac"}},
    {"MixOgg", {"mix", "@edit.otio", "-o", "@out/mix.ogg"}, {"mix.ogg"}},
    {"PlayWav", {"play", "@edit.otio", "--output", "@out/p.wav"}, {"p.wav"}},
    {"PlayRaw", {"play", "@a.wav", "--output", "@out/p.raw"}, {"p.raw"}},
    {"Waveform", {"waveform", "@a.wav", "-o", "@out/w.png"}, {"w.png"}},
    {"Peaks",
     {"peaks", "@a.wav", "-o", "@out/p.xwpk", "--export", "@out/p.json"},
     {"p.xwpk", "p.json"}},
    {"Align",
     {"align", "@a.wav", "@b.wav", "--plot", "@out/plot.svg", "--otio", "@out/sync.otio"},
     {"plot.svg", "sync.otio"}},
};

INSTANTIATE_TEST_SUITE_P(Every, OutputFaults, testing::ValuesIn(JOBS),
                         [](const testing::TestParamInfo<Job>& test) { return test.param.name; });

TEST(OutputLimits, AFileBeyondTheSizeLimitIsAnErrorWithItsName) {
    const Workshop shop;
    WriteFile(shop.Work("a.wav"), ConformedFileBytes(96000));
    ASSERT_EQ(shop.Run({"conform", "@a.wav"}).exitCode, 0);
    // The program has to ignore the signal itself.
    const ResourceLimit limit(RLIMIT_FSIZE, 100'000);

    const ProgramResult result = shop.Run({"mix", "@a.wav", "-o", "@out.wav"});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_NE(result.err.find("out.wav': File too large"), std::string::npos) << result.err;
    EXPECT_FALSE(fs::exists(shop.Work("out.wav")));
}

}  // namespace
}  // namespace sonrel_tests
