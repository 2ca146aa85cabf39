// SPDX-License-Identifier: MIT
#include "fuzz/CommandLine.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>

#include "fuzz/Support.h"
#include "host/program/Program.h"

namespace sonrel_fuzz {

namespace {

constexpr std::size_t MAX_ARGUMENTS = 24;
/// A picture of 999 by 999 pixels is drawn quickly, and 999 jobs start quickly.
constexpr int MAX_DIGITS = 6;
constexpr int MAX_DIGITS_OF_A_SIZE = 3;
constexpr std::array<std::string_view, 13> COMMANDS = {
    "mix",   "join",     "verify", "plan",  "info", "conform", "loudness",
    "peaks", "waveform", "report", "align", "sync", "cache"};

std::vector<std::string> Words(std::string_view line) {
    std::vector<std::string> words;
    while (!line.empty() && words.size() < MAX_ARGUMENTS) {
        const std::size_t end = std::min(line.find(' '), line.size());
        if (end > 0) words.emplace_back(line.substr(0, end));
        line.remove_prefix(std::min(end + 1, line.size()));
    }
    return words;
}

int LongestNumber(const std::string& word) {
    int longest = 0;
    int digits = 0;
    for (const char byte : word) {
        digits = std::isdigit(static_cast<unsigned char>(byte)) != 0 ? digits + 1 : 0;
        longest = std::max(longest, digits);
    }
    return longest;
}

bool IsSafe(const std::string& word) {
    const auto has = [&](std::string_view text) { return word.find(text) != std::string::npos; };
    if (has("/") || has("..") || has("~") || word.find('\0') != std::string::npos) return false;
    // Standard input and standard output belong to the fuzzer.
    if (word == "-") return false;
    // The end of a mix is set here.
    if (has("--to") || has("--jobs")) return false;
    return LongestNumber(word) <= (has("x") ? MAX_DIGITS_OF_A_SIZE : MAX_DIGITS);
}

/// Replaces a descriptor by another while the object exists.
class Redirection {
public:
    Redirection(int descriptor, int target)
        : target_(target), former_(fcntl(target, F_DUPFD_CLOEXEC, 0)) {
        dup2(descriptor, target);
    }
    ~Redirection() {
        dup2(former_, target_);
        close(former_);
    }
    Redirection(const Redirection&) = delete;
    Redirection& operator=(const Redirection&) = delete;

private:
    int target_;
    int former_;
};

std::string Content(int descriptor) {
    std::string bytes(static_cast<std::size_t>(lseek(descriptor, 0, SEEK_END)), '\0');
    const ssize_t got = pread(descriptor, bytes.data(), bytes.size(), 0);
    bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    return bytes;
}

}  // namespace

std::vector<std::string> SafeArguments(std::string_view line) {
    std::vector<std::string> words = Words(line);
    if (!std::all_of(words.begin(), words.end(), IsSafe)) return {};
    const auto command =
        std::find_first_of(words.begin(), words.end(), COMMANDS.begin(), COMMANDS.end());
    if (command == words.end() || std::find(words.begin(), words.end(), "play") != words.end()) {
        return {};
    }
    if (*command == "mix") words.insert(words.end(), {"--to", "3f"});
    return words;
}

RunResult Run(const std::vector<std::string>& arguments) {
    std::vector<const char*> words{"sonrel"};
    for (const std::string& argument : arguments) words.push_back(argument.c_str());
    const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
    const int errors = memfd_create("errors", MFD_CLOEXEC);
    Require(nowhere >= 0 && errors >= 0, "descriptors for a run");
    RunResult result;
    {
        const Redirection output(nowhere, STDOUT_FILENO);
        const Redirection error(errors, STDERR_FILENO);
        result.code = orlo::host::RunProgram(static_cast<int>(words.size()), words.data());
        std::fflush(stdout);
        std::fflush(stderr);
    }
    result.errors = Content(errors);
    close(errors);
    close(nowhere);
    return result;
}

}  // namespace sonrel_fuzz
