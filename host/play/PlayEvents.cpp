// SPDX-License-Identifier: MIT
#include "host/play/PlayEvents.h"

#include <cstdio>
#include <utility>

namespace orlo::host {

namespace {

Json MetricsJson(const sonrel::AudioTrackMetrics& metrics) {
    return Json::Object({{"samples", metrics.sampleCount},
                         {"peak", Json::Array({metrics.peak[0], metrics.peak[1]})},
                         {"clipped", Json::Array({metrics.clipped[0], metrics.clipped[1]})}});
}

Json LufsJson(const sonrel::PlaybackLoudness& loudness) {
    const auto orNull = [](const std::optional<double>& lufs) {
        return lufs ? Json(*lufs) : Json();
    };
    return Json::Object({{"momentary", orNull(loudness.momentaryLufs)},
                         {"shortTerm", orNull(loudness.shortTermLufs)}});
}

}  // namespace

PlayEvents::PlayEvents(bool wanted, std::vector<std::string> trackNames)
    : wanted_(wanted), trackNames_(std::move(trackNames)) {}

void PlayEvents::Frame(int frame) {
    Print(Json::Object({{"event", "frame"}, {"frame", frame}}));
}

void PlayEvents::MeterStart() {
    Print(Json::Object({{"event", "meter-start"}}));
}

void PlayEvents::MeterStop() {
    Print(Json::Object({{"event", "meter-stop"}}));
}

void PlayEvents::Meter(int frame, const sonrel::AudioMetrics& metrics,
                       const sonrel::PlaybackLoudness& loudness) {
    if (!wanted_) return;
    Json event = Json::Object({{"event", "meter"}, {"frame", frame}});
    event["tracks"] = Json::Array();
    for (std::size_t i = 0; i < metrics.trackMetrics.size(); ++i) {
        Json track = MetricsJson(metrics.trackMetrics[i]);
        if (i < trackNames_.size()) track["name"] = trackNames_[i];
        event["tracks"].Append(std::move(track));
    }
    event["master"] = MetricsJson(metrics.masterMetrics);
    event["loudness"] = LufsJson(loudness);
    Print(event);
}

void PlayEvents::ReadError(const std::string& error) {
    Print(Json::Object({{"event", "read-error"}, {"error", error}}));
}

void PlayEvents::End() {
    Print(Json::Object({{"event", "end"}}));
}

void PlayEvents::Print(const Json& event) {
    if (!wanted_) return;
    const std::string line = event.ToLine() + "\n";
    if (std::fwrite(line.data(), 1, line.size(), stdout) != line.size() ||
        std::fflush(stdout) != 0) {
        throw JobError("the events cannot be written to standard output");
    }
}

void MeterSessions::OnMeterSessionStart(int) {
    const std::lock_guard lock(mutex_);
    changes_.push_back(Change::Started);
    open_ = true;
}

void MeterSessions::OnMeterSessionStop() {
    const std::lock_guard lock(mutex_);
    if (open_) changes_.push_back(Change::Stopped);
    open_ = false;
}

void MeterSessions::OnMeterUpdate(const sonrel::AudioMetrics&) {}

std::vector<MeterSessions::Change> MeterSessions::Take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(changes_, {});
}

}  // namespace orlo::host
