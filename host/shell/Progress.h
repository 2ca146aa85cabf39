// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <mutex>
#include <string>

#include "host/shell/ProgressLine.h"

namespace orlo::host {

enum class ProgressMode { Auto, Json, None };

/// Shows the progress of a job on stderr: a line that is overwritten on a terminal, or an object on
/// each line with --progress json. A job of less than a second shows nothing on a terminal.
///
/// Threads: any thread may call Update.
class Progress {
public:
    /// Receives the state at the beginning and at the end of a step, and at most every 50
    /// milliseconds in between; one call at a time, on the thread that reports the progress.
    using Observer = std::function<void(const ProgressState&)>;

    Progress(ProgressMode mode, bool quiet);
    /// Shows nothing on stderr.
    /// @param observer  empty for none
    explicit Progress(Observer observer);
    /// Erases the line on the terminal.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Begins a step.
    /// @param step            name of the step: "mix"
    /// @param unit            unit of the counts: "samples"
    /// @param total           number of units in the step
    /// @param unitsPerSecond  of sound; 0 when the units are not a time
    void Begin(const std::string& step, const std::string& unit, long long total,
               double unitsPerSecond = 0.0);

    /// Sets the file that the steps work on; the line shows its name without the folder.
    void SetFile(const std::string& path);

    /// Sets the number of finished units. Cheap: most calls print nothing.
    void Update(long long done);

    /// Ends a completed step.
    void End();

private:
    using Clock = std::chrono::steady_clock;

    void Show(long long done, Clock::time_point now);
    void ShowLine();
    void ShowJson();
    void Erase();

    std::chrono::milliseconds Interval() const;

    const bool line_;
    const bool json_;
    const Observer observer_;
    std::mutex mutex_;
    ProgressState state_;
    long long shown_ = -1;
    bool lineIsShown_ = false;
    Clock::time_point begin_;
    Clock::time_point next_;
};

}  // namespace orlo::host
