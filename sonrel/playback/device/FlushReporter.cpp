// SPDX-License-Identifier: MIT
#include "sonrel/playback/device/FlushReporter.h"

#include <utility>

namespace orlo::sonrel::device {

FlushReporter::FlushReporter(std::function<void()> report)
    : report_(std::move(report)), thread_([this] { Run(); }) {}

FlushReporter::~FlushReporter() {
    ending_ = true;
    changed_.Signal();
    thread_.join();
}

void FlushReporter::Expect(bool atOnce) {
    if (atOnce) atOnce_ = true;
    changed_.Signal();
}

void FlushReporter::Run() {
    for (;;) {
        changed_.Wait();
        // Each further flush gives the device the full time again.
        while (!ending_ && !atOnce_ && changed_.WaitFor(REPORT_GRACE)) {
        }
        if (ending_) return;
        // Cleared before the report: a flush that comes later is not lost.
        atOnce_ = false;
        const CallbackGate::Scope reporting(reporting_);
        report_();
    }
}

}  // namespace orlo::sonrel::device
