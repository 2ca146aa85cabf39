// SPDX-License-Identifier: MIT
#include "host/play/PlaySession.h"

#include <utility>

#include "host/shell/Errors.h"
#include "host/shell/Interrupt.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

using sonrel::PlaybackEngine;

/// Interval at which keys and the current frame are polled. Shorter than any frame.
constexpr std::chrono::milliseconds KEY_INTERVAL{4};
/// The length of a meter block.
constexpr std::chrono::milliseconds METER_POLL{100};
constexpr int METER_POLLS_PER_SECOND = 10;

}  // namespace

PlaySession::PlaySession(const GlobalOptions& global, const PlayOptions& options,
                         const PlaySubject& subject, const PlayDevices& devices)
    : options_(options),
      subject_(subject),
      engine_(devices.engine),
      output_(devices.output),
      sessions_(devices.sessions),
      events_(options.events, subject.trackNames),
      display_(global.quiet || options.events, subject.trackNames,
               options.meters && subject.metered),
      transport_(devices.engine, subject.grid, subject.total),
      nextPoll_(Clock::now() + METER_POLL) {}

void PlaySession::Run(long long begin) {
    using Direction = Transport::Direction;
    std::unique_ptr<TerminalKeys> keys;
    if (!output_.IsStepped()) keys = std::make_unique<TerminalKeys>();
    transport_.Begin(begin, options_.reverse ? Direction::Reverse : Direction::Forward,
                     options_.speed);
    while (Poll(keys.get())) continue;
}

/// @return whether to continue
bool PlaySession::Poll(TerminalKeys* keys) {
    StopIfInterrupted();
    if (suspension_.IsRequested()) Suspend(keys);
    Advance(keys);
    // The order matters: levels heard before the end are reported before it.
    const bool ended = transport_.HasEnded();
    Report();
    if (ended) events_.End();
    if (ended && transport_.HasBeenUsed()) transport_.PauseAtEnd();
    CheckDevice();
    return !transport_.WantsToQuit() && (!ended || transport_.HasBeenUsed());
}

void PlaySession::Advance(TerminalKeys* keys) {
    if (keys == nullptr) return output_.Step();
    for (const Key key : keys->Read(KEY_INTERVAL)) transport_.Press(key);
    transport_.RetryFrame();
}

void PlaySession::Suspend(TerminalKeys* keys) {
    display_.Erase();
    if (keys != nullptr) keys->Release();
    suspension_.StopProgram();
}

void PlaySession::StopIfInterrupted() {
    if (!Interrupted()) return;
    transport_.Stop();
    Report();
    ThrowInterrupted(output_.IsStepped() ? "nothing was written" : "playback stopped");
}

void PlaySession::CheckDevice() {
    if (!output_.IsDevice()) return;
    const std::string failure = watch_.Check(engine_.OutputState(), Clock::now());
    if (failure.empty()) return;
    transport_.Stop();
    Report();
    const std::string position = Timecode();
    throw JobError("playback of " + Quoted(subject_.name) + " stopped at " + position + ": " +
                   failure + "; continue with --from " + position);
}

void PlaySession::Report() {
    using Change = MeterSessions::Change;
    std::vector<Change> changes = sessions_.Take();
    // The last levels are reported before the end of their session.
    const bool stops = !changes.empty() && changes.back() == Change::Stopped;
    if (stops) changes.pop_back();
    for (const Change change : changes) {
        if (change == Change::Started) {
            events_.MeterStart();
            display_.Reset();
        } else {
            events_.MeterStop();
        }
    }
    ReportReadError();
    const int heard = HeardFrame();
    if (heard != lastFrame_ && heard != PlaybackEngine::NO_FRAME) events_.Frame(heard);
    if (heard != PlaybackEngine::NO_FRAME) lastFrame_ = heard;
    ShowState();
    if (subject_.metered && transport_.IsPlaying() && MeterIsDue()) {
        const sonrel::AudioMetrics metrics = engine_.CurrentPlaybackMetrics();
        if (metrics.masterMetrics.sampleCount > 0) {
            const sonrel::PlaybackLoudness loudness = engine_.CurrentPlaybackLoudness();
            events_.Meter(heard, metrics, loudness);
            display_.Show(metrics, loudness, Clock::now());
        }
    }
    if (stops) events_.MeterStop();
}

/// Reports the first read error as soon as it happens: the sound is mixed some frames before it is
/// heard.
void PlaySession::ReportReadError() {
    if (!readError_.empty()) return;
    readError_ = subject_.reads.Notice();
    if (!readError_.empty()) events_.ReadError(subject_.reads.ErrorMessage());
}

int PlaySession::HeardFrame() const {
    const int heard = engine_.CurrentPlaybackVideoFrame();
    return heard == PlaybackEngine::NO_FRAME ? heard : subject_.grid.FrameOfEngine(heard);
}

std::string PlaySession::Timecode() const {
    return FormatTimecode(subject_.grid.Start(transport_.Frame()), subject_.grid);
}

void PlaySession::ShowState() {
    PlayState state;
    state.timecode = Timecode();
    state.playing = transport_.IsPlaying();
    state.reverse = transport_.CurrentDirection() == Transport::Direction::Reverse;
    state.speed = transport_.Speed();
    state.readError = readError_;
    display_.Show(state);
}

/// Ten times per second of played sound.
bool PlaySession::MeterIsDue() {
    if (output_.IsStepped()) {
        const long long poll = output_.FramesTaken() * METER_POLLS_PER_SECOND / subject_.grid.rate;
        return std::exchange(lastStepPoll_, poll) != poll;
    }
    const Clock::time_point now = Clock::now();
    if (now < nextPoll_) return false;
    nextPoll_ = now + METER_POLL;
    return true;
}

}  // namespace orlo::host
