// SPDX-License-Identifier: MIT
#include "host/process/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <string_view>

#include "host/shell/Interrupt.h"

namespace orlo::host {

namespace {

using EndClock = std::chrono::steady_clock;

/// Interval at which a wait polls for an interrupt, in milliseconds.
constexpr int WAIT_INTERVAL = 20;
constexpr std::size_t MAX_MESSAGE = 4096;

bool IsProgram(const std::string& path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           access(path.c_str(), X_OK) == 0;
}

/// A pipe for the standard error of a program.
class ErrorPipe {
public:
    ErrorPipe() {
        if (pipe2(ends_.data(), O_CLOEXEC) != 0) ends_ = {-1, -1};
        if (IsOpen()) fcntl(ends_[0], F_SETFL, O_NONBLOCK);
    }
    ~ErrorPipe() {
        CloseWriter();
        if (ends_[0] >= 0) close(ends_[0]);
    }
    ErrorPipe(const ErrorPipe&) = delete;
    ErrorPipe& operator=(const ErrorPipe&) = delete;

    bool IsOpen() const { return ends_[0] >= 0; }
    int Reader() const { return ends_[0]; }
    int Writer() const { return ends_[1]; }

    void CloseWriter() {
        if (ends_[1] >= 0) close(ends_[1]);
        ends_[1] = -1;
    }

    /// Waits for bytes, at most one interval, and appends all that have arrived. Keeps the newest.
    void Read(std::string& message) {
        pollfd waiting{isAtEnd_ ? -1 : ends_[0], POLLIN, 0};
        poll(&waiting, 1, WAIT_INTERVAL);
        std::array<char, MAX_MESSAGE> bytes;
        for (;;) {
            const ssize_t got = read(ends_[0], bytes.data(), bytes.size());
            isAtEnd_ = got == 0;
            if (got <= 0) return;
            message.append(bytes.data(), static_cast<std::size_t>(got));
            if (message.size() > MAX_MESSAGE) message.erase(0, message.size() - MAX_MESSAGE);
        }
    }

private:
    std::array<int, 2> ends_{-1, -1};
    bool isAtEnd_ = false;
};

/// How a program is started: with default signals, in a separate process group, and with nothing
/// but the pipe open.
class StartSettings {
public:
    explicit StartSettings(int errorWriter) {
        posix_spawn_file_actions_init(&files_);
        posix_spawn_file_actions_addopen(&files_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&files_, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_adddup2(&files_, errorWriter, STDERR_FILENO);
        posix_spawnattr_init(&attributes_);
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes_, &signals);
        // Ignored signals would stay ignored.
        for (const int signal : {SIGPIPE, SIGXFSZ}) sigaddset(&signals, signal);
        posix_spawnattr_setsigdefault(&attributes_, &signals);
        posix_spawnattr_setpgroup(&attributes_, 0);
        posix_spawnattr_setflags(
            &attributes_, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    }
    ~StartSettings() {
        posix_spawn_file_actions_destroy(&files_);
        posix_spawnattr_destroy(&attributes_);
    }
    StartSettings(const StartSettings&) = delete;
    StartSettings& operator=(const StartSettings&) = delete;

    /// @return 0, or an errno
    int Start(const std::vector<std::string>& arguments, pid_t& program) const {
        std::vector<char*> texts;
        texts.reserve(arguments.size() + 1);
        for (const std::string& argument : arguments) {
            texts.push_back(const_cast<char*>(argument.c_str()));
        }
        texts.push_back(nullptr);
        return posix_spawn(&program, texts.front(), &files_, &attributes_, texts.data(), environ);
    }

private:
    posix_spawn_file_actions_t files_;
    posix_spawnattr_t attributes_;
};

ProgramEnd::Kind EndKindOf(int status) {
    return WIFSIGNALED(status) ? ProgramEnd::Kind::Signaled : ProgramEnd::Kind::Exited;
}

/// Waits for the end of a program, and ends it when it runs too long or on an interrupt.
ProgramEnd WaitForEnd(pid_t program, ErrorPipe& errors, EndClock::time_point latest) {
    ProgramEnd end;
    int status = 0;
    for (;;) {
        errors.Read(end.message);
        if (waitpid(program, &status, WNOHANG) != 0) break;
        const bool stops = Interrupted();
        if (!stops && EndClock::now() < latest) continue;
        end.kind = stops ? ProgramEnd::Kind::Interrupted : ProgramEnd::Kind::TooLate;
        kill(-program, SIGKILL);
        waitpid(program, &status, 0);
        return end;
    }
    errors.Read(end.message);
    end.kind = EndKindOf(status);
    end.code = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
    // Programs that it left running are not waited for.
    kill(-program, SIGKILL);
    return end;
}

}  // namespace

std::string FindProgram(const std::string& name) {
    const char* const variable = std::getenv("PATH");
    std::string_view rest = variable == nullptr ? "" : variable;
    while (!rest.empty()) {
        std::string path(rest.substr(0, rest.find(':')));
        rest.remove_prefix(std::min(path.size() + 1, rest.size()));
        if (path.empty()) continue;
        path += '/';
        path += name;
        if (IsProgram(path)) return path;
    }
    return {};
}

ProgramEnd RunProgramToEnd(const std::vector<std::string>& arguments,
                           std::chrono::milliseconds limit) {
    ErrorPipe errors;
    if (!errors.IsOpen()) return {ProgramEnd::Kind::NotStarted, errno, {}};
    pid_t program = 0;
    const int error = StartSettings(errors.Writer()).Start(arguments, program);
    if (error != 0) return {ProgramEnd::Kind::NotStarted, error, {}};
    errors.CloseWriter();
    return WaitForEnd(program, errors, EndClock::now() + limit);
}

}  // namespace orlo::host
