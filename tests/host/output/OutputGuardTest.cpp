// SPDX-License-Identifier: MIT
#include "host/output/OutputGuard.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>

#include "host/shell/Errors.h"
#include "tests/support/TemporaryFolder.h"

namespace orlo::host {
namespace {

using sonrel_tests::TemporaryFolder;
using sonrel_tests::WriteFile;

class OutputGuardTest : public testing::Test {
protected:
    void SetUp() override { WriteFile(folder_ / "read", "x"); }

    std::string Path(const std::string& name) const { return folder_ / name; }

    TemporaryFolder folder_;
    OutputGuard guard_{false};
};

std::string RefusalOf(OutputGuard& guard, const std::string& output) {
    try {
        guard.Claim(output);
        return "";
    } catch (const CommandError& error) {
        return error.what();
    }
}

TEST_F(OutputGuardTest, AnErrorNamesTheOutputItsRoleAndARemedy) {
    guard_.Protect(Path("read"), "the media file of clip 'take' on track 2");

    EXPECT_EQ(RefusalOf(guard_, Path("read")),
              "the output '" + Path("read") +
                  "' is the media file of clip 'take' on track 2; choose another name");
}

TEST_F(OutputGuardTest, AProtectedFileIsRefusedUnderAllItsNames) {
    std::filesystem::create_symlink("read", Path("link"));
    std::filesystem::create_hard_link(Path("read"), Path("hard"));
    std::filesystem::create_directory(Path("sub"));
    guard_.Protect(Path("read"), "the timeline");

    for (const char* name : {"read", "link", "hard", "sub/../read", ".//read"}) {
        EXPECT_THROW(guard_.Claim(Path(name)), UsageError) << name;
    }
    EXPECT_NO_THROW(guard_.Claim(Path("free")));
}

TEST_F(OutputGuardTest, AFileProtectedThroughALinkIsRefusedUnderItsName) {
    std::filesystem::create_symlink("read", Path("link"));
    guard_.Protect(Path("link"), "the timeline");

    EXPECT_THROW(guard_.Claim(Path("read")), UsageError);
}

TEST_F(OutputGuardTest, AProtectedNameIsRefusedAfterItsFileWasDeletedOrReplaced) {
    guard_.Protect(Path("read"), "a file of the media database");

    std::filesystem::remove(Path("read"));
    EXPECT_THROW(guard_.Claim(Path("read")), UsageError);
    WriteFile(Path("new"), "y");
    std::filesystem::rename(Path("new"), Path("read"));
    EXPECT_THROW(guard_.Claim(Path("read")), UsageError);
}

TEST_F(OutputGuardTest, AProtectedFileThatDoesNotExistIsRefused) {
    std::filesystem::create_directory(Path("sub"));
    std::filesystem::create_directory_symlink("sub", Path("folder-link"));
    guard_.Protect(Path("sub/later"), "the media database");

    EXPECT_THROW(guard_.Claim(Path("sub/later")), UsageError);
    EXPECT_THROW(guard_.Claim(Path("folder-link/later")), UsageError);
    EXPECT_NO_THROW(guard_.Claim(Path("sub/other")));
}

TEST_F(OutputGuardTest, TwoOutputsToTheSameFileAreRefused) {
    WriteFile(Path("old"), "x");
    std::filesystem::create_hard_link(Path("old"), Path("hard"));
    guard_.Claim(Path("old"));
    guard_.Claim(Path("new"));

    EXPECT_THROW(guard_.Claim(Path("old")), UsageError);
    EXPECT_THROW(guard_.Claim(Path("hard")), UsageError);
    EXPECT_THROW(guard_.Claim(Path("./new")), UsageError);
}

TEST_F(OutputGuardTest, TwoOutputsMayUseTheSameDevice) {
    guard_.Claim("/dev/null");

    EXPECT_NO_THROW(guard_.Claim("/dev/null"));
}

TEST_F(OutputGuardTest, AFileWithoutWritePermissionOfItsOwnerNeedsOverwrite) {
    chmod(Path("read").c_str(), 0466);
    OutputGuard overwriting(true);

    EXPECT_NE(RefusalOf(guard_, Path("read")).find("write-protected; use --overwrite"),
              std::string::npos);
    EXPECT_NO_THROW(overwriting.Claim(Path("read")));
}

TEST_F(OutputGuardTest, OverwriteDoesNotAllowInputsToBeReplaced) {
    OutputGuard overwriting(true);
    overwriting.Protect(Path("read"), "the timeline");

    EXPECT_THROW(overwriting.Claim(Path("read")), UsageError);
}

TEST_F(OutputGuardTest, ADanglingLinkIsRefused) {
    std::filesystem::create_symlink("nowhere", Path("dangling"));
    std::filesystem::create_symlink("loop", Path("loop"));

    EXPECT_NE(RefusalOf(guard_, Path("dangling")).find("link to a file that does not exist"),
              std::string::npos);
    EXPECT_THROW(guard_.Claim(Path("loop")), JobError);
}

TEST_F(OutputGuardTest, AFolderAndASocketAreRefused) {
    const int socketFile = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, Path("socket").c_str(), sizeof address.sun_path - 1);
    ASSERT_EQ(bind(socketFile, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    close(socketFile);

    EXPECT_THROW(guard_.Claim(folder_.Path()), JobError);
    EXPECT_THROW(guard_.Claim(Path("socket")), JobError);
}

TEST_F(OutputGuardTest, AProtectedFileThatIsMovedToTheOutputIsRefusedByConfirm) {
    guard_.Protect(Path("read"), "the timeline");
    guard_.Claim(Path("out"));
    const OutputTarget opened = guard_.Open(Path("out"));
    std::filesystem::rename(Path("read"), Path("out"));

    EXPECT_THROW(guard_.Confirm(Path("out"), opened), UsageError);
}

TEST_F(OutputGuardTest, AProtectedFileThatAppearsUnderTheOutputIsRefusedByConfirm) {
    guard_.Protect(Path("later"), "the media database");
    guard_.Claim(Path("out"));
    const OutputTarget opened = guard_.Open(Path("out"));
    WriteFile(Path("later"), "x");
    std::filesystem::create_hard_link(Path("later"), Path("out"));

    EXPECT_THROW(guard_.Confirm(Path("out"), opened), UsageError);
}

TEST_F(OutputGuardTest, ALinkThatAppearsUnderTheOutputIsRefusedByConfirm) {
    guard_.Claim(Path("out"));
    const OutputTarget opened = guard_.Open(Path("out"));
    WriteFile(Path("other"), "x");
    std::filesystem::create_symlink("other", Path("out"));

    EXPECT_THROW(guard_.Confirm(Path("out"), opened), JobError);
}

TEST_F(OutputGuardTest, AnotherFileThatAppearsUnderTheOutputMayBeReplaced) {
    guard_.Claim(Path("out"));
    const OutputTarget opened = guard_.Open(Path("out"));
    WriteFile(Path("out"), "x");

    EXPECT_EQ(guard_.Confirm(Path("out"), opened).identity, FileIdentity::At(Path("out")));
}

}  // namespace
}  // namespace orlo::host
