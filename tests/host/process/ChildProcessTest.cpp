// SPDX-License-Identifier: MIT
#include "host/process/ChildProcess.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>

#include "tests/support/TemporaryFolder.h"

namespace sonrel_tests {
namespace {

namespace fs = std::filesystem;
using orlo::host::ProgramEnd;

/// Longer than any program here runs.
constexpr std::chrono::minutes NO_LIMIT{10};

ProgramEnd RunShell(const std::string& script, std::chrono::milliseconds limit = NO_LIMIT) {
    return orlo::host::RunProgramToEnd({"/bin/sh", "-c", script}, limit);
}

TEST(ChildProcess, ReturnsTheExitCodeAndTheStandardError) {
    const ProgramEnd end = RunShell("echo dropped; echo fault >&2; exit 3");

    EXPECT_EQ(end.kind, ProgramEnd::Kind::Exited);
    EXPECT_EQ(end.code, 3);
    EXPECT_EQ(end.message, "fault\n");
}

TEST(ChildProcess, PassesArgumentsUnchanged) {
    const ProgramEnd end = orlo::host::RunProgramToEnd(
        {"/bin/sh", "-c", "printf '%s|' \"$@\" >&2", "sh", "a b", "-o", "it's", "$x;`y`", ""},
        NO_LIMIT);

    EXPECT_EQ(end.message, "a b|-o|it's|$x;`y`||");
}

TEST(ChildProcess, KeepsTheEndOfALongStandardError) {
    const ProgramEnd end = RunShell("yes 0123456 | head -n 100000 >&2; printf last >&2");

    EXPECT_EQ(end.message.size(), 4096u);
    EXPECT_TRUE(end.message.ends_with("0123456\nlast")) << end.message;
}

TEST(ChildProcess, HasAnEmptyStandardInputAndDefaultSignals) {
    EXPECT_EQ(RunShell("cat >&2; kill -PIPE $$").kind, ProgramEnd::Kind::Signaled);
}

TEST(ChildProcess, IsEndedWhenItRunsTooLong) {
    const ProgramEnd end = RunShell("echo begun >&2; exec sleep 600", std::chrono::milliseconds(1));

    EXPECT_EQ(end.kind, ProgramEnd::Kind::TooLate);
}

TEST(ChildProcess, AProgramThatCannotBeStartedHasTheReason) {
    const ProgramEnd end = orlo::host::RunProgramToEnd({"/nonexistent/program"}, NO_LIMIT);

    EXPECT_EQ(end.kind, ProgramEnd::Kind::NotStarted);
    EXPECT_EQ(end.code, ENOENT);
}

TEST(ChildProcess, AProgramIsFoundInTheFirstFolderOfPathThatHasIt) {
    const TemporaryFolder folder;
    for (const char* name : {"a", "b", "c"}) fs::create_directory(folder / name);
    fs::create_directory(folder / "a/tool");
    WriteFile(folder / "b/tool", "");
    WriteFile(folder / "c/tool", "");
    fs::permissions(folder / "c/tool", fs::perms::owner_exec, fs::perm_options::add);
    const std::string before = std::getenv("PATH");
    const std::string path = folder.Path().string();

    setenv("PATH", (":" + path + "/a:" + path + "/b:" + path + "/c:").c_str(), 1);
    const std::string found = orlo::host::FindProgram("tool");
    const std::string missing = orlo::host::FindProgram("other");
    unsetenv("PATH");
    const std::string withoutPath = orlo::host::FindProgram("tool");
    setenv("PATH", before.c_str(), 1);

    EXPECT_EQ(found, path + "/c/tool");
    EXPECT_EQ(missing, "");
    EXPECT_EQ(withoutPath, "");
}

}  // namespace
}  // namespace sonrel_tests
