// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <mutex>
#include <string>

namespace orlo::host {

enum class ProgressMode { Auto, Json, None };

/// Shows the progress of a job on stderr: a line that is overwritten on a terminal, or an object on
/// each line with --progress json. A job of less than a second shows nothing on a terminal.
///
/// Threads: any thread may call Update.
class Progress {
public:
    Progress(ProgressMode mode, bool quiet);
    /// Erases the line on the terminal.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Begins a step.
    /// @param step   name of the step: "mix"
    /// @param unit   unit of the counts: "frames"
    /// @param total  number of units in the step
    void Begin(const std::string& step, const std::string& unit, long long total);

    /// Sets the number of finished units. Cheap: most calls print nothing.
    void Update(long long done);

    /// Ends a completed step.
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
