// SPDX-License-Identifier: MIT
#include "host/shell/Progress.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "host/json/Json.h"
#include "host/shell/Terminal.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

constexpr std::chrono::milliseconds FIRST_SHOWN{1000};
constexpr std::chrono::milliseconds INTERVAL{250};

}  // namespace

Progress::Progress(ProgressMode mode, bool quiet)
    : line_(mode == ProgressMode::Auto && !quiet && CanDraw(STDERR_FILENO)),
      json_(mode == ProgressMode::Json) {}

Progress::~Progress() {
    Erase();
}

void Progress::Begin(const std::string& step, const std::string& unit, long long total) {
    const std::lock_guard lock(mutex_);
    step_ = step;
    unit_ = unit;
    total_ = std::max(total, 0LL);
    shown_ = -1;
    begin_ = Clock::now();
    next_ = begin_ + (json_ ? INTERVAL : FIRST_SHOWN);
    if (json_) Show(0, begin_);
}

void Progress::Update(long long done) {
    if (!line_ && !json_) return;
    const std::lock_guard lock(mutex_);
    const Clock::time_point now = Clock::now();
    if (now < next_) return;
    next_ = now + INTERVAL;
    Show(std::clamp(done, 0LL, total_), now);
}

void Progress::End() {
    const std::lock_guard lock(mutex_);
    if (json_ && shown_ != total_) Show(total_, Clock::now());
    Erase();
}

void Progress::Show(long long done, Clock::time_point now) {
    const double elapsed = std::chrono::duration<double>(now - begin_).count();
    const double left =
        done > 0 ? elapsed * static_cast<double>(total_ - done) / static_cast<double>(done) : -1.0;
    shown_ = done;
    if (json_) {
        ShowJson(done, left);
    } else if (line_) {
        ShowLine(done, left);
    }
}

void Progress::ShowJson(long long done, double secondsLeft) {
    Json line;
    line["step"] = step_;
    line["unit"] = unit_;
    line["done"] = done;
    line["total"] = total_;
    line["percent"] =
        total_ > 0 ? 100.0 * static_cast<double>(done) / static_cast<double>(total_) : 100.0;
    if (secondsLeft < 0.0) {
        line["secondsLeft"] = nullptr;
    } else {
        line["secondsLeft"] = secondsLeft;
    }
    const std::string text = Json::Object({{"progress", line}}).ToLine() + "\n";
    std::fputs(text.c_str(), stderr);
}

void Progress::ShowLine(long long done, double secondsLeft) {
    if (!InForeground(STDERR_FILENO)) return;
    const double percent =
        total_ > 0 ? 100.0 * static_cast<double>(done) / static_cast<double>(total_) : 100.0;
    std::string text = step_ + ": " + std::to_string(done) + " of " + std::to_string(total_) + " " +
                       unit_ + ", " + FormatNumber(percent, 0) + " %";
    if (secondsLeft >= 0.0) {
        const auto seconds = std::llround(secondsLeft);
        char left[64];
        std::snprintf(left, sizeof(left), ", %lld:%02lld left", seconds / 60, seconds % 60);
        text += left;
    }
    std::fprintf(stderr, "\r%s\033[K", text.c_str());
    lineIsShown_ = true;
}

void Progress::Erase() {
    if (!lineIsShown_ || !InForeground(STDERR_FILENO)) return;
    std::fputs("\r\033[K", stderr);
    lineIsShown_ = false;
}

}  // namespace orlo::host
