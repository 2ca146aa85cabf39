// SPDX-License-Identifier: MIT
#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/TemporaryFolder.h"

namespace sonrel_tests {

/// The result of a run of the program.
struct ProgramResult {
    int exitCode = -1;  ///< -1 when a signal ended the program
    std::string out;
    std::string err;

    nlohmann::json Json() const { return nlohmann::json::parse(out); }
    /// Whether stderr is a single line that starts with the name of the program.
    bool HasOneErrorLine() const {
        return err.starts_with("sonrel: ") && err.find('\n') == err.size() - 1;
    }
};

/// A text of a report in one line: line breaks and the blanks around them are one blank.
inline std::string InOneLine(const std::string& text) {
    std::string line;
    for (const char c : text) {
        const bool isBlank = c == ' ' || c == '\n';
        if (!isBlank) line += c;
        if (isBlank && !line.ends_with(' ')) line += ' ';
    }
    return line;
}

/// A run of the program in the background, until Wait.
class RunningProgram {
public:
    /// @param arguments  arguments without the program name
    RunningProgram(const std::filesystem::path& folder, const std::vector<std::string>& arguments)
        : out_(folder / "stdout.txt"), err_(folder / "stderr.txt") {
        std::vector<std::string> words{SONREL_PROGRAM};
        words.insert(words.end(), arguments.begin(), arguments.end());
        std::vector<char*> pointers;
        for (std::string& word : words) pointers.push_back(word.data());
        pointers.push_back(nullptr);
        child_ = fork();
        if (child_ == 0) Exec(folder, pointers.data());
        if (child_ < 0) throw std::runtime_error("cannot start the program");
    }

    pid_t Id() const { return child_; }

    ProgramResult Wait() {
        int status = 0;
        waitpid(child_, &status, 0);
        ProgramResult result;
        result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        result.out = ReadFile(out_);
        result.err = ReadFile(err_);
        return result;
    }

    std::string OutputSoFar() const {
        return std::filesystem::exists(out_) ? ReadFile(out_) : std::string();
    }
    std::string ErrorSoFar() const {
        return std::filesystem::exists(err_) ? ReadFile(err_) : std::string();
    }

private:
    [[noreturn]] void Exec(const std::filesystem::path& folder, char** arguments) const {
        const int out = open(out_.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
        const int err = open(err_.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
        dup2(out, STDOUT_FILENO);
        dup2(err, STDERR_FILENO);
        if (chdir(folder.c_str()) == 0) execv(arguments[0], arguments);
        _exit(127);
    }

    std::filesystem::path out_;
    std::filesystem::path err_;
    pid_t child_ = -1;
};

/// A temporary folder with a work folder, a cache and a database, in which the program runs.
class Workshop {
public:
    Workshop() { std::filesystem::create_directory(Path("work")); }

    /// A path in the folder.
    std::filesystem::path Path(const std::string& name) const { return folder_ / name; }
    /// A path in the work folder, where the program runs.
    std::filesystem::path Work(const std::string& name) const { return Path("work") / name; }

    /// Runs the program with the cache and the database of this folder.
    ProgramResult Run(std::vector<std::string> arguments) const {
        return Start(std::move(arguments)).Wait();
    }

    RunningProgram Start(std::vector<std::string> arguments) const {
        std::vector<std::string> all{"--cache", Path("cache").string(), "--db",
                                     Path("media.db").string()};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return RunningProgram(Path("").parent_path(), WithWorkPaths(std::move(all)));
    }

    /// Runs the program with exactly these arguments.
    ProgramResult RunBare(const std::vector<std::string>& arguments) const {
        return StartBare(arguments).Wait();
    }

    RunningProgram StartBare(const std::vector<std::string>& arguments) const {
        return RunningProgram(Path("").parent_path(), WithWorkPaths(arguments));
    }

private:
    /// Replaces "@name" by the path of that file in the work folder.
    std::vector<std::string> WithWorkPaths(std::vector<std::string> arguments) const {
        for (std::string& argument : arguments) {
            if (argument.starts_with('@')) argument = Work(argument.substr(1)).string();
        }
        return arguments;
    }

    TemporaryFolder folder_;
};

/// The sample bytes of a WAV that the program wrote.
inline std::string SampleBytes(const std::filesystem::path& path) {
    const std::string bytes = ReadFile(path);
    const std::size_t data = bytes.find("data");
    return data == std::string::npos ? std::string() : bytes.substr(data + 8);
}

}  // namespace sonrel_tests
