// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <mutex>
#include <string>

namespace orlo::host {

enum class ProgressMode { Auto, Json, None };

/// Tells on stderr how far a job has come: on a terminal one line that is written over, or with
/// --progress json one object a line. A job of less than a second shows nothing on a terminal.
///
/// Threads: any may call Update.
class Progress {
public:
    Progress(ProgressMode mode, bool quiet);
    /// Takes the line off the terminal.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Begins a step.
    /// @param step   what is done, for people and programs: "mix"
    /// @param unit   what is counted: "frames"
    /// @param total  how many there are
    void Begin(const std::string& step, const std::string& unit, long long total);

    /// Tells how many are done. Cheap: most calls print nothing.
    void Update(long long done);

    /// Ends the step, all of it done.
    void End();

private:
    using Clock = std::chrono::steady_clock;

    void Show(long long done, Clock::time_point now);
    void ShowLine(long long done, double secondsLeft);
    void ShowJson(long long done, double secondsLeft);
    void Erase();

    const bool line_;
    const bool json_;
    std::mutex mutex_;
    std::string step_;
    std::string unit_;
    long long total_ = 0;
    long long shown_ = -1;
    bool lineIsShown_ = false;
    Clock::time_point begin_;
    Clock::time_point next_;
};

}  // namespace orlo::host
