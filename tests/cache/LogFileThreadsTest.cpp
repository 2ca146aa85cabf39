// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "sonrel/cache/LogFile.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using orlo::project::LogFile;
using sonrel_tests::ReadLines;
using sonrel_tests::TemporaryFolder;

constexpr std::size_t STAMP_LENGTH = 19;  // "[dd.MM.yy] [hh.mm] "

/// @param length  characters of each line, without its numbers
void ExpectWholeLines(int lineCount, std::size_t length) {
    constexpr int THREADS = 8;
    TemporaryFolder folder;
    LogFile log(folder.Wide("log.txt"));
    const auto message = [length](int thread, int line) {
        return L"thread " + std::to_wstring(thread) + L" line " + std::to_wstring(line) +
               std::wstring(length, L'.');
    };

    std::vector<std::thread> threads;
    for (int thread = 0; thread < THREADS; ++thread) {
        threads.emplace_back([&, thread] {
            for (int line = 0; line < lineCount; ++line) log.Write(message(thread, line));
        });
    }
    for (auto& thread : threads) thread.join();

    std::vector<std::string> expected;
    for (int thread = 0; thread < THREADS; ++thread) {
        for (int line = 0; line < lineCount; ++line) {
            expected.push_back(zrtl::ToUtf8(message(thread, line)));
        }
    }
    auto lines = ReadLines(folder / "log.txt");
    for (auto& line : lines) line.erase(0, STAMP_LENGTH);
    std::sort(lines.begin(), lines.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_TRUE(lines == expected);
}

TEST(LogFileThreads, ThreadsWriteWholeLines) {
    ExpectWholeLines(250, 200);
}

// A line of this length is written in many pieces.
TEST(LogFileThreads, LinesThatNeedManyWritesAreWholeToo) {
    ExpectWholeLines(20, 60000);
}

}  // namespace
