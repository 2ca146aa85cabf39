// SPDX-License-Identifier: MIT
#include "host/shell/Progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <utility>

#include "host/json/Json.h"
#include "host/shell/Terminal.h"

namespace orlo::host {

namespace {

constexpr std::chrono::milliseconds FIRST_SHOWN{1000};
constexpr std::chrono::milliseconds INTERVAL{250};
constexpr std::chrono::milliseconds OBSERVER_INTERVAL{50};

}  // namespace

Progress::Progress(ProgressMode mode, bool quiet)
    : line_(mode == ProgressMode::Auto && !quiet && CanDraw(STDERR_FILENO)),
      json_(mode == ProgressMode::Json) {}

Progress::Progress(Observer observer)
    : line_(false), json_(false), observer_(std::move(observer)) {}

Progress::~Progress() {
    Erase();
}

void Progress::Begin(const std::string& step, const std::string& unit, long long total,
                     double unitsPerSecond) {
    const std::lock_guard lock(mutex_);
    state_ = {step, state_.file, unit, 0, std::max(total, 0LL), unitsPerSecond, -1.0};
    shown_ = -1;
    begin_ = Clock::now();
    next_ = begin_ + (line_ ? FIRST_SHOWN : Interval());
    if (!line_) Show(0, begin_);
}

void Progress::SetFile(const std::string& path) {
    const std::lock_guard lock(mutex_);
    state_.file = std::filesystem::path(path).filename().string();
}

void Progress::Update(long long done) {
    if (!line_ && !json_ && !observer_) return;
    const std::lock_guard lock(mutex_);
    const Clock::time_point now = Clock::now();
    if (now < next_) return;
    next_ = now + Interval();
    Show(std::clamp(done, 0LL, state_.total), now);
}

void Progress::End() {
    const std::lock_guard lock(mutex_);
    if (!line_ && shown_ != state_.total) Show(state_.total, Clock::now());
    Erase();
}

void Progress::Show(long long done, Clock::time_point now) {
    const double elapsed = std::chrono::duration<double>(now - begin_).count();
    state_.done = done;
    state_.secondsLeft =
        done > 0 ? elapsed * static_cast<double>(state_.total - done) / static_cast<double>(done)
                 : -1.0;
    shown_ = done;
    if (observer_) {
        observer_(state_);
    } else if (json_) {
        ShowJson();
    } else if (line_) {
        ShowLine();
    }
}

std::chrono::milliseconds Progress::Interval() const {
    return observer_ ? OBSERVER_INTERVAL : INTERVAL;
}

void Progress::ShowJson() {
    const auto done = static_cast<double>(state_.done);
    Json line;
    line["step"] = state_.step;
    line["unit"] = state_.unit;
    line["done"] = state_.done;
    line["total"] = state_.total;
    line["percent"] = state_.total > 0 ? 100.0 * done / static_cast<double>(state_.total) : 100.0;
    line["secondsLeft"] = state_.secondsLeft < 0.0 ? Json() : Json(state_.secondsLeft);
    line["file"] = state_.file.empty() ? Json() : Json(state_.file);
    const std::string text = Json::Object({{"progress", line}}).ToLine() + "\n";
    std::fputs(text.c_str(), stderr);
}

void Progress::ShowLine() {
    if (!InForeground(STDERR_FILENO)) return;
    const std::string text = ProgressLine(state_, SizeOfTerminal(STDERR_FILENO).columns);
    std::fprintf(stderr, "\r%s\033[K", text.c_str());
    lineIsShown_ = true;
}

void Progress::Erase() {
    if (!lineIsShown_ || !InForeground(STDERR_FILENO)) return;
    std::fputs("\r\033[K", stderr);
    lineIsShown_ = false;
}

}  // namespace orlo::host
