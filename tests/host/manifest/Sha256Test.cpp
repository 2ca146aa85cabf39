// SPDX-License-Identifier: MIT
#include "host/manifest/Sha256.h"

#include <gtest/gtest.h>

#include "host/manifest/HashedWriter.h"
#include "host/shell/Errors.h"
#include "tests/support/TemporaryFolder.h"

namespace orlo::host {
namespace {

// The examples of FIPS 180-2.
constexpr const char* OF_ABC = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
constexpr const char* OF_MILLION =
    "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0";
constexpr const char* OF_NOTHING =
    "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";

TEST(Sha256, OfFilesOfAnySize) {
    const sonrel_tests::TemporaryFolder folder;
    const std::string path = (folder / "file").string();
    const auto hashOf = [&](const std::string& bytes) {
        sonrel_tests::WriteFile(path, bytes);
        return Sha256OfFile(path);
    };

    EXPECT_EQ(hashOf(""), OF_NOTHING);
    EXPECT_EQ(hashOf("abc"), OF_ABC);
    EXPECT_EQ(hashOf(std::string(1000000, 'a')), OF_MILLION);
}

TEST(Sha256, CountsTheBytesOfAFile) {
    const sonrel_tests::TemporaryFolder folder;
    sonrel_tests::WriteFile(folder / "file", std::string(1000000, 'a'));
    long long bytes = 0;

    Sha256OfFile((folder / "file").string(), [&](long long count) { bytes = count; });

    EXPECT_EQ(bytes, 1000000);
}

TEST(Sha256, OfAFileThatCannotBeReadIsAnError) {
    const sonrel_tests::TemporaryFolder folder;

    EXPECT_THROW(Sha256OfFile((folder / "missing").string()), JobError);
    EXPECT_THROW(Sha256OfFile(folder.Path().string()), JobError);
}

TEST(HashedWriter, HashesTheBytesOfFramesInAnyDivision) {
    HashedWriter writer(nullptr);
    const short frame[] = {0x6161, 0x6161};
    for (int i = 0; i < 250000; ++i) writer.Write(frame, 1);
    writer.Write(frame, 0);

    EXPECT_EQ(writer.Hash(), OF_MILLION);
}

}  // namespace
}  // namespace orlo::host
