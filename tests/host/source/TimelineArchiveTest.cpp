// SPDX-License-Identifier: MIT
#include "host/source/TimelineArchive.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <climits>

#include "host/shell/Errors.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/ZipBytes.h"

namespace sonrel_tests {
namespace {

namespace fs = std::filesystem;
using orlo::host::JobError;

const ZippedFile DOCUMENT_FILE{"content.otio", "{\"edit\": 1}", DEFLATED};

/// An archive and the folder of its content.
class TimelineArchive : public testing::Test {
protected:
    void Unpack(long long limit = 1000) const {
        orlo::host::Progress progress(orlo::host::ProgressMode::None, true);
        orlo::host::UnpackTimeline(folder_ / "edit.otioz", (folder_ / "content").string(), limit,
                                   progress);
    }

    void Write(const std::vector<ZippedFile>& files) const {
        WriteFile(folder_ / "edit.otioz", ZipBytes(files));
    }

    /// The message of a failure. Expects that it names the archive.
    std::string Failure(long long limit = 1000) const {
        try {
            Unpack(limit);
        } catch (const JobError& error) {
            const std::string message = error.what();
            EXPECT_NE(message.find("edit.otioz': "), std::string::npos) << message;
            return message;
        }
        ADD_FAILURE() << "the archive was unpacked";
        return {};
    }

    /// The message of a failure that writes nothing at all.
    std::string Refusal(const std::vector<ZippedFile>& files, long long limit = 1000) const {
        Write(files);
        const std::string message = Failure(limit);
        EXPECT_EQ(NamesIn(folder_.Path()), std::vector<std::string>{"edit.otioz"}) << message;
        return message;
    }

    TemporaryFolder folder_;
};

TEST_F(TimelineArchive, ItsFilesAreUnpackedToAFolder) {
    Write({{"media/", "", STORED, 040755},
           {"./version.txt", "1.0.0"},
           DOCUMENT_FILE,
           {"media/a.wav", "sound"},
           {"media/\xC3\xBC b.wav", "more sound", DEFLATED}});

    Unpack();

    const fs::path content = folder_ / "content";
    EXPECT_EQ(NamesIn(content), (std::vector<std::string>{"content.otio", "media", "version.txt"}));
    EXPECT_EQ(ReadFile(content / "content.otio"), "{\"edit\": 1}");
    EXPECT_EQ(ReadFile(content / "media/a.wav"), "sound");
    EXPECT_EQ(ReadFile(content / "media/\xC3\xBC b.wav"), "more sound");
}

TEST_F(TimelineArchive, ANameThatLeadsOutOfItIsRefusedBeforeAnythingIsWritten) {
    for (const char* name : {"../evil", "..", "media/../../evil", "media/..", "../"}) {
        const std::string message = Refusal({DOCUMENT_FILE, {name, "x"}});
        EXPECT_NE(message.find("leads out of the archive"), std::string::npos) << message;
    }
    const std::string message = Refusal({DOCUMENT_FILE, {"/tmp/evil", "x"}});
    EXPECT_NE(message.find("'/tmp/evil' is an absolute path"), std::string::npos) << message;
}

TEST_F(TimelineArchive, ANameWithMoreThan32FoldersIsRefused) {
    std::string deep;
    for (int i = 0; i < 31; ++i) deep += "f/";

    Write({DOCUMENT_FILE, {deep + "a", "x"}});
    Unpack();
    EXPECT_EQ(ReadFile(folder_ / ("content/" + deep + "a")), "x");

    fs::remove_all(folder_ / "content");
    const std::string message = Refusal({DOCUMENT_FILE, {deep + "f/a", "x"}});
    EXPECT_NE(message.find("more than 32 folders"), std::string::npos) << message;
}

TEST_F(TimelineArchive, ALinkAndADeviceAreRefused) {
    for (const std::uint32_t mode : {S_IFLNK | 0777U, S_IFIFO | 0600U, S_IFCHR | 0600U}) {
        const std::string message =
            Refusal({DOCUMENT_FILE, {"media/a.wav", "/etc/passwd", STORED, mode}});
        EXPECT_NE(message.find("'media/a.wav' is a link or a device"), std::string::npos);
    }
}

TEST_F(TimelineArchive, AnEncryptedFileIsRefused) {
    const std::string message =
        Refusal({DOCUMENT_FILE, {"media/a.wav", "secret", STORED, 0100644, 0x801}});

    EXPECT_NE(message.find("'media/a.wav' is encrypted"), std::string::npos) << message;
}

TEST_F(TimelineArchive, TwoFilesOfOneNameAreRefused) {
    for (const char* name : {"media/a.wav", "media//a.wav", "./media/a.wav"}) {
        const std::string message = Refusal({DOCUMENT_FILE, {"media/a.wav", "one"}, {name, "two"}});
        EXPECT_NE(message.find("two files 'media/a.wav'"), std::string::npos) << message;
    }
}

TEST_F(TimelineArchive, FilesBeyondTheLimitTogetherAreRefusedBeforeAnythingIsWritten) {
    // 11 bytes and 9 bytes.
    const std::vector<ZippedFile> files{DOCUMENT_FILE, {"media/a.wav", "012345678"}};

    const std::string message = Refusal(files, 19);
    EXPECT_NE(message.find("more than 19 bytes; allow more with --spool-limit"), std::string::npos);
    Unpack(20);
    EXPECT_EQ(ReadFile(folder_ / "content/media/a.wav"), "012345678");
}

TEST_F(TimelineArchive, AFileThatDeclares4GibibytesIsRefusedByItsSize) {
    ZippedFile bomb{"media/a.wav", "x", DEFLATED};
    bomb.declaredSize = 0xFFFFFFFE;

    const std::string message = Refusal({DOCUMENT_FILE, bomb}, 0xFFFFFFFE);

    EXPECT_NE(message.find("more than 4294967294 bytes"), std::string::npos) << message;
}

TEST_F(TimelineArchive, AFileWithAnotherSizeThanDeclaredIsRefusedAndNeverWrittenBeyondIt) {
    for (const int declared : {0, 1, 59999, 60001}) {
        ZippedFile bomb{"media/a.wav", std::string(60000, 'x'), DEFLATED};
        bomb.declaredSize = declared;
        Write({DOCUMENT_FILE, bomb});

        const std::string message = Failure(100000);

        EXPECT_NE(message.find("cannot unpack 'media/a.wav': "), std::string::npos) << message;
        EXPECT_LE(fs::file_size(folder_ / "content/media/a.wav"), declared);
        fs::remove_all(folder_ / "content");
    }
}

TEST_F(TimelineArchive, AFileWithAnotherChecksumIsRefused) {
    ZippedFile damaged{"media/a.wav", "sound"};
    damaged.declaredChecksum = 1;
    Write({DOCUMENT_FILE, damaged});

    EXPECT_NE(Failure().find("cannot unpack 'media/a.wav': "), std::string::npos);
}

TEST_F(TimelineArchive, AnUnknownCompressionIsRefused) {
    Write({DOCUMENT_FILE, {"media/a.wav", "sound", 77}});

    EXPECT_NE(Failure().find("cannot unpack 'media/a.wav': "), std::string::npos);
}

TEST_F(TimelineArchive, WithoutADocumentItIsRefused) {
    const std::string message = Refusal({{"media/content.otio", "x"}, {"content.otio/", ""}});

    EXPECT_NE(message.find("it has no content.otio"), std::string::npos) << message;
}

TEST_F(TimelineArchive, AFileInPlaceOfAFolderIsRefused) {
    for (const char* name : {"media/a.wav", "media/deep/a.wav"}) {
        const std::string message = Refusal({DOCUMENT_FILE, {"media", "x"}, {name, "x"}});
        EXPECT_NE(message.find("a file 'media' and a folder of this name"), std::string::npos)
            << message;
    }
}

// The archive has less than 1000 bytes.
TEST_F(TimelineArchive, FilesOf100TimesItsBytesAreRefusedBeforeAnythingIsWritten) {
    ZippedFile bomb{"media/a.wav", "x", DEFLATED};
    bomb.declaredSize = 67108864 - 11;  // 11 bytes belong to the document
    Write({DOCUMENT_FILE, bomb});
    EXPECT_NE(Failure(INT_MAX).find("cannot unpack 'media/a.wav'"), std::string::npos);
    fs::remove_all(folder_ / "content");

    bomb.declaredSize = 67108864 - 10;
    const std::string message = Refusal({DOCUMENT_FILE, bomb}, INT_MAX);

    EXPECT_NE(message.find(" times the bytes of the archive, more than 100 times; if you trust it, "
                           "unpack it to an .otiod folder"),
              std::string::npos)
        << message;
}

TEST_F(TimelineArchive, FilesThatAreCompressedLessThan100TimesAreUnpacked) {
    const std::string large(1 << 20, 'x');
    ZippedFile packed{"media/a.wav", "x", DEFLATED};
    packed.declaredSize = 99 << 20;
    Write({DOCUMENT_FILE, {"media/b.wav", large}, packed});
    EXPECT_NE(Failure(INT_MAX).find("cannot unpack 'media/a.wav'"), std::string::npos);
    fs::remove_all(folder_ / "content");

    packed.declaredSize = 101 << 20;
    const std::string message = Refusal({DOCUMENT_FILE, {"media/b.wav", large}, packed}, INT_MAX);

    EXPECT_NE(message.find("its files have 101 times the bytes"), std::string::npos) << message;
}

TEST_F(TimelineArchive, ATableOfFilesOfMoreThan64MebibytesIsRefusedUnread) {
    const std::string whole = ZipBytes({DOCUMENT_FILE});
    const std::size_t end = whole.size() - 22;
    const auto failureWith = [&](const std::string& tail) {
        WriteFile(folder_ / "edit.otioz", whole.substr(0, end) + tail);
        return Failure();
    };
    // The size of the table is at byte 12 of the record at the end.
    const auto record = [&](std::uint64_t size) {
        return whole.substr(end, 12) + Little(size, 4) + whole.substr(end + 16);
    };
    const char* const refusal = "its table of files has more than 67108864 bytes";

    EXPECT_NE(failureWith(record(67108865)).find(refusal), std::string::npos);
    EXPECT_EQ(failureWith(record(67108864)).find(refusal), std::string::npos);
    // The longer record has it at byte 40, and the locator has the place of the record at byte 8.
    const auto longRecord = [&](std::uint64_t size) {
        return "PK\6\6" + std::string(36, '\0') + Little(size, 8) + std::string(8, '\0') +
               "PK\6\7" + std::string(4, '\0') + Little(end, 8) + std::string(4, '\0') +
               record(0xFFFFFFFF);
    };
    EXPECT_NE(failureWith(longRecord(67108865)).find(refusal), std::string::npos);
    EXPECT_EQ(failureWith(longRecord(67108864)).find(refusal), std::string::npos);
    // A comment may contain a record too.
    EXPECT_NE(failureWith(record(100) + record(67108865)).find(refusal), std::string::npos);
}

TEST_F(TimelineArchive, WhateverIsNotAWholeArchiveIsRefused) {
    EXPECT_NE(Failure().find("No such file or directory"), std::string::npos);
    const std::string whole = ZipBytes({DOCUMENT_FILE, {"media/a.wav", "sound"}});
    for (std::size_t size = 0; size < whole.size(); ++size) {
        WriteFile(folder_ / "edit.otioz", whole.substr(0, size));
        Failure();
    }
    fs::remove(folder_ / "edit.otioz");
    ASSERT_EQ(mkfifo((folder_ / "edit.otioz").c_str(), 0600), 0);
    EXPECT_NE(Failure().find("not a regular file"), std::string::npos);
    EXPECT_FALSE(fs::exists(folder_ / "content"));
}

}  // namespace
}  // namespace sonrel_tests
