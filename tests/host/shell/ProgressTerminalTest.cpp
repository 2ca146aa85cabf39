// SPDX-License-Identifier: MIT
// The progress of a mix on a terminal.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <array>
#include <atomic>
#include <regex>
#include <thread>

#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/host/play/TerminalRun.h"

namespace sonrel_tests {
namespace {

/// A pipe that takes a piece of the output every few milliseconds: a mix into it takes minutes and
/// little processor time.
class SlowPipe {
public:
    explicit SlowPipe(const std::string& path) {
        if (mkfifo(path.c_str(), 0600) != 0) throw std::runtime_error("cannot make a pipe");
        pipe_ = open(path.c_str(), O_RDWR | O_CLOEXEC);
        reader_ = std::thread([this] { Read(); });
    }
    ~SlowPipe() {
        stops_ = true;
        reader_.join();
        close(pipe_);
    }
    SlowPipe(const SlowPipe&) = delete;
    SlowPipe& operator=(const SlowPipe&) = delete;

private:
    void Read() {
        std::array<char, 4096> piece;
        pollfd output = {pipe_, POLLIN, 0};
        while (!stops_) {
            if (poll(&output, 1, 2) > 0 && read(pipe_, piece.data(), piece.size()) <= 0) return;
            poll(nullptr, 0, 2);
        }
    }

    int pipe_ = -1;
    std::atomic<bool> stops_{false};
    std::thread reader_;
};

/// The lines that were drawn over one another.
std::vector<std::string> DrawnLines(const std::string& shown) {
    static const std::regex DRAWN("\r([^\r\x1b]+)\x1b\\[K");
    std::vector<std::string> lines;
    for (std::sregex_iterator line(shown.begin(), shown.end(), DRAWN), end; line != end; ++line) {
        lines.push_back(line->str(1));
    }
    return lines;
}

TEST(ProgressTerminal, TheBarFitsInto24ColumnsAndGrowsWithTheTerminal) {
    const Workshop shop;
    WriteFile(shop.Work("edit.otio"), Timeline({Track({Gap(90000)})}).dump());
    const std::string out = shop.Work("out.wav").string();
    const SlowPipe pipe(out);
    TerminalRun run(
        {SONREL_PROGRAM, "--cache", shop.Path("cache").string(), "--db",
         shop.Path("media.db").string(), "mix", shop.Work("edit.otio").string(), "-o", out},
        24);

    ASSERT_TRUE(run.Shows(" %")) << run.Shown();
    const std::vector<std::string> narrow = DrawnLines(run.Shown() + "\x1b[K");
    ASSERT_FALSE(narrow.empty()) << run.Shown();
    // Of an hour a part of a percent is mixed.
    EXPECT_EQ(narrow.back(), "mix [-----------]   0 %");

    run.Resize(100, 24);
    EXPECT_TRUE(run.Shows("mix out.wav [-")) << run.Shown();
    EXPECT_TRUE(run.Shows(" of 1:00:00,   0 %, ")) << run.Shown();
}

}  // namespace
}  // namespace sonrel_tests
