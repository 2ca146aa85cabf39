// SPDX-License-Identifier: MIT
#include "sonrel/cache/LogFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <ctime>
#include <filesystem>
#include <future>
#include <regex>
#include <thread>

#include "sonrel/cache/detail/LogClock.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using orlo::project::LogFile;
using sonrel_tests::NamesIn;
using sonrel_tests::ReadFile;
using sonrel_tests::ReadLines;
using sonrel_tests::TemporaryFolder;
using sonrel_tests::WriteFile;
using testing::AnyOf;
using testing::IsEmpty;
using testing::MatchesRegex;

constexpr std::size_t STAMP_LENGTH = 19;  // "[dd.MM.yy] [hh.mm] "

std::string Stamp() {
    const std::time_t now = std::time(nullptr);
    char text[32];
    std::strftime(text, sizeof(text), "[%d.%m.%y] [%H.%M] ", std::localtime(&now));
    return text;
}

/// Sets the local time zone during its lifetime.
class TimeZone {
public:
    explicit TimeZone(const char* zone) {
        if (const char* before = std::getenv("TZ")) before_ = before;
        Set(zone);
    }
    ~TimeZone() { Set(before_.empty() ? nullptr : before_.c_str()); }

private:
    static void Set(const char* zone) {
        if (zone != nullptr) {
            ::setenv("TZ", zone, 1);
        } else {
            ::unsetenv("TZ");
        }
        ::tzset();
    }

    std::string before_;
};

/// Runs work that could wait forever in a broken build.
void ExpectToEnd(const std::function<void()>& work) {
    std::promise<void> done;
    auto end = done.get_future();
    std::thread thread([&work, &done] {
        work();
        done.set_value();
    });
    if (end.wait_for(std::chrono::seconds(30)) != std::future_status::ready) {
        thread.detach();
        FAIL() << "the call does not return";
    }
    thread.join();
}

TEST(LogFile, ALineIsDateTimeMessageAndLineFeed) {
    TemporaryFolder folder;
    LogFile log(folder.Wide("log.txt"));

    log.Write(L"Could not save: /media/a.mov /cache/9b2c.xwmc");

    EXPECT_THAT(ReadFile(folder / "log.txt"),
                MatchesRegex("\\[[0-9]{2}\\.[0-9]{2}\\.[0-9]{2}\\] \\[[0-9]{2}\\.[0-9]{2}\\] "
                             "Could not save: /media/a\\.mov /cache/9b2c\\.xwmc\n"));
}

TEST(LogFile, TheTimeIsLocalTime) {
    for (const char* zone : {"EAST-11:30", "WEST+10:30"}) {
        const TimeZone here(zone);
        TemporaryFolder folder;
        LogFile log(folder.Wide("log.txt"));

        const std::string before = Stamp();
        log.Write(L"message");
        const std::string after = Stamp();

        EXPECT_THAT(ReadFile(folder / "log.txt"), AnyOf(before + "message\n", after + "message\n"));
    }
}

TEST(LogFile, EveryFieldOfTheTimeHasTwoDigitsAndTheHoursAre0To23) {
    struct Case {
        QDateTime now;
        std::string line;
    };
    for (const Case& one : {
             Case{{QDate(2006, 2, 3), QTime(4, 5, 59)}, "[03.02.06] [04.05] message\n"},
             Case{{QDate(2026, 12, 31), QTime(23, 59)}, "[31.12.26] [23.59] message\n"},
             Case{{QDate(2026, 12, 31), QTime(0, 0)}, "[31.12.26] [00.00] message\n"},
         }) {
        TemporaryFolder folder;
        LogFile log(folder.Wide("log.txt"));
        orlo::project::SetLogClock([&] { return one.now; });

        log.Write(L"message");

        EXPECT_EQ(ReadFile(folder / "log.txt"), one.line);
        orlo::project::SetLogClock({});
    }
}

TEST(LogFile, ControlCharactersAreWrittenAsTextSoThatAMessageIsOneLine) {
    TemporaryFolder folder;
    LogFile log(folder.Wide("log.txt"));

    log.Write(L"a\n[03.02.26] [14.07] forged\r\t\x1B[2J\x7F\x85\x9B\x2028z \\n");

    const auto lines = ReadLines(folder / "log.txt");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].substr(STAMP_LENGTH),
              "a\\n[03.02.26] [14.07] forged\\r\\t\\u001b[2J\\u007f\\u0085\\u009b\\u2028z \\n");
}

TEST(LogFile, AZeroCharacterDoesNotCutTheMessage) {
    TemporaryFolder folder;
    LogFile log(folder.Wide("log.txt"));

    log.Write(std::wstring(L"a\0b", 3));

    EXPECT_EQ(ReadFile(folder / "log.txt").substr(STAMP_LENGTH), "a\\u0000b\n");
}

TEST(LogFile, LinesAreAppendedToAnExistingFile) {
    TemporaryFolder folder;
    WriteFile(folder / "log.txt", "from before\n");
    LogFile log(folder.Wide("log.txt"));

    log.Write(L"one");
    log.Write(L"two");

    const auto lines = ReadLines(folder / "log.txt");
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], "from before");
    EXPECT_EQ(lines[1].substr(STAMP_LENGTH), "one");
    EXPECT_EQ(lines[2].substr(STAMP_LENGTH), "two");
}

TEST(LogFile, NamesOutsideAsciiAreWrittenInUtf8) {
    TemporaryFolder folder;
    LogFile log(folder.Wide("Fehler \xC3\xBC.txt"));

    log.Write(L"Could not save: /media/Gr\u00FC\u00DFe \U0001F3B5.mov");

    EXPECT_EQ(ReadFile(folder / "Fehler \xC3\xBC.txt").substr(STAMP_LENGTH),
              "Could not save: /media/Gr\xC3\xBC\xC3\x9F"
              "e \xF0\x9F\x8E\xB5.mov\n");
}

TEST(LogFile, NothingIsWrittenBeforeTheFirstLine) {
    TemporaryFolder folder;

    LogFile log(folder.Wide("log.txt"));

    EXPECT_THAT(NamesIn(folder.Path()), IsEmpty());
}

TEST(LogFile, AnEmptyPathWritesNothing) {
    TemporaryFolder folder;
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(folder.Path());
    LogFile log(L"");

    log.Write(L"message");

    EXPECT_THAT(NamesIn(folder.Path()), IsEmpty());
    std::filesystem::current_path(before);
}

TEST(LogFile, InAFolderThatDoesNotExistNothingIsWrittenAndNoFolderMade) {
    TemporaryFolder folder;
    LogFile log(folder.Wide("missing/log.txt"));

    log.Write(L"message");

    EXPECT_THAT(NamesIn(folder.Path()), IsEmpty());
}

TEST(LogFile, ADeletedLogIsMadeAgainAtTheNextLine) {
    TemporaryFolder folder;
    LogFile log(folder.Wide("log.txt"));
    log.Write(L"one");
    std::filesystem::remove(folder / "log.txt");

    log.Write(L"two");

    const auto lines = ReadLines(folder / "log.txt");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].substr(STAMP_LENGTH), "two");
}

TEST(LogFile, ALongMessageIsWhole) {
    TemporaryFolder folder;
    LogFile log(folder.Wide("log.txt"));

    log.Write(std::wstring(1000000, L'x'));

    EXPECT_EQ(ReadFile(folder / "log.txt").substr(STAMP_LENGTH), std::string(1000000, 'x') + "\n");
}

TEST(LogFile, ANamedPipeOfThatNameIsIgnoredWithoutWaiting) {
    TemporaryFolder folder;
    ASSERT_EQ(::mkfifo((folder / "log.txt").c_str(), 0600), 0);
    LogFile log(folder.Wide("log.txt"));

    ExpectToEnd([&] { log.Write(L"message"); });

    EXPECT_TRUE(std::filesystem::is_fifo(folder / "log.txt"));
}

TEST(LogFile, ALinkToANamedPipeIsIgnoredWithoutWaiting) {
    TemporaryFolder folder;
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    std::filesystem::create_symlink("pipe", folder / "log.txt");
    LogFile log(folder.Wide("log.txt"));

    ExpectToEnd([&] { log.Write(L"message"); });

    EXPECT_TRUE(std::filesystem::is_symlink(folder / "log.txt"));
}

TEST(LogFile, AFolderOfThatNameDropsTheLine) {
    TemporaryFolder folder;
    std::filesystem::create_directory(folder / "log.txt");
    LogFile log(folder.Wide("log.txt"));

    log.Write(L"message");

    EXPECT_THAT(NamesIn(folder / "log.txt"), IsEmpty());
}

TEST(LogFile, ALinkIsFollowedToItsFile) {
    TemporaryFolder folder;
    WriteFile(folder / "elsewhere.txt", "");
    std::filesystem::create_symlink("elsewhere.txt", folder / "log.txt");
    LogFile log(folder.Wide("log.txt"));

    log.Write(L"message");

    EXPECT_EQ(ReadFile(folder / "elsewhere.txt").substr(STAMP_LENGTH), "message\n");
}

}  // namespace
