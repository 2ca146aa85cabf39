// SPDX-License-Identifier: MIT
// The text of info on a terminal.
#include <gtest/gtest.h>

#include <sstream>

#include "tests/host/NumberedSound.h"
#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/host/play/TerminalRun.h"

namespace sonrel_tests {
namespace {

/// The length of the longest line below the heading of the list, which has 25 characters.
std::size_t LongestLineOfList(const std::string& shown) {
    std::istringstream lines(shown.substr(std::min(shown.find("or changed:"), shown.size())));
    std::size_t longest = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.ends_with('\r')) line.pop_back();
        longest = std::max(longest, line.size());
    }
    return longest;
}

TEST(InfoTerminal, TheListFitsIntoItsColumns) {
    const Workshop shop;
    WriteFile(shop.Work("n.wav"), NumberedWave());
    WriteFile(shop.Work("edit.otio"),
              Timeline({Track({Clip("n.wav", 90, 40)}), Track({}, "V1", "Video")}).dump());
    for (const unsigned short columns : {24, 40, 120}) {
        TerminalRun run({SONREL_PROGRAM, "--cache", shop.Path("cache").string(), "--db",
                         shop.Path("media.db").string(), "--progress", "none", "info",
                         shop.Work("edit.otio").string()},
                        columns);

        EXPECT_EQ(run.Wait(), 0) << run.Shown();
        EXPECT_LE(LongestLineOfList(run.Shown()), columns) << run.Shown();
        // The entry of the clip has 133 characters.
        EXPECT_GT(LongestLineOfList(run.Shown()), columns - 16) << run.Shown();
    }
}

}  // namespace
}  // namespace sonrel_tests
