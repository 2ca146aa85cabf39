// SPDX-License-Identifier: MIT
// The expected state of the engine, and the results that each command may return.
#include <algorithm>
#include <chrono>
#include <mutex>

#include "sonrel/base/Timing.h"
#include "sonrel/playback/detail/PlaybackEngineImpl.h"
#include "tests/playback/storms/Storm.h"

namespace sonrel_tests {

using Err = sonrel::PlaybackEngine::Err;

std::optional<Err> Storm::Give(const Command& command, std::chrono::microseconds& longest) {
    const int thrown = audience_.Thrown();
    std::optional<Err> result;
    const auto begin = std::chrono::steady_clock::now();
    try {
        result = command();
    } catch (const StormError&) {
    }
    const auto took = std::chrono::duration_cast<std::chrono::microseconds>(
        std::chrono::steady_clock::now() - begin);
    longest = std::max(longest, took);
    longest_.any = std::max(longest_.any, took);
    if (took > limit_) faults_.Add("took " + std::to_string(took.count()) + " microseconds");
    const bool threw = audience_.Thrown() > thrown;
    if (threw && result) faults_.Add("an exception of an observer was dropped");
    if (!threw && !result) faults_.Add("a command threw without an observer that throws");
    return result;
}

void Storm::Expect(std::optional<Err> result, const std::set<Err>& allowed) {
    if (result && allowed.count(*result) == 0) {
        faults_.Add("returned " + std::to_string(static_cast<int>(*result)));
    }
}

void Storm::GiveSetUp(const Command& command, std::optional<Err> known) {
    using Call = StormDevice::Call;
    const int made = device_.Made(Call::CreateMasteringVoice);
    const int refusedMastering = device_.Refused(Call::CreateMasteringVoice);
    const int refusedSource = device_.Refused(Call::CreateSourceVoice);
    const std::lock_guard guard(poller_->SetUpMutex());

    const auto result = Give(command);

    if (known || device_.Made(Call::CreateMasteringVoice) == made) {
        // An unchanged target: the result of its former set-up.
        return Expect(result, {known.value_or(lastSetUp_)});
    }
    lastSetUp_ = device_.Refused(Call::CreateMasteringVoice) > refusedMastering
                     ? Err::MasteringVoiceFailed
                 : device_.Refused(Call::CreateSourceVoice) > refusedSource ? Err::SourceVoiceFailed
                                                                            : Err::NoError;
    Expect(result, {lastSetUp_});
    isSetUp_ = hasVoice_ = lastSetUp_ == Err::NoError;
    onTemporary_ = false;
    NoteEndOfRuns();
}

void Storm::GivePlay(long long sample, int settings, const Command& command) {
    const int refused = device_.Refused(StormDevice::Call::Start);
    const int starts = audience_.Starts();
    if (isSetUp_) {
        reverse_ = settings / 4 % 3 == 0;
        speed_ = settings / 12 - 1;
        audience_.OpenRun();
    }
    submitsRefused_ = device_.Refused(StormDevice::Call::Submit);

    const auto result = Give(command);

    // A run whose target was deleted continues.
    if (!isSetUp_) return Expect(result, {Err::NotInitialized});
    Expect(result, {ResultOfStart(sample, refused)});
    NoteRun(sample, result, starts);
}

void Storm::NoteRun(long long sample, std::optional<Err> result, int startsBefore) {
    /// A pull that was under way when the run began may take as much of it.
    constexpr long long MAX_PULL = 1024;
    if (result != Err::NoError && audience_.Starts() == startsBefore) return NoteEndOfRuns();
    const long long total = sonrel::PlaybackEngineAccess::Impl(Playback()).format.totalSamples;
    const long long length = (reverse_ ? sample : total - sample) / std::clamp(speed_, 1, 4);
    mayPlay_ = true;
    isHeldBack_ = device_.IsStill() && length > 2 * MAX_PULL;
    audience_.EndRunsBefore(audience_.RunNumber());
}

void Storm::NoteEndOfRuns() {
    mayPlay_ = isHeldBack_ = false;
    audience_.EndAllRuns();
    heardFrame_ = Playback().CurrentPlaybackVideoFrame();
}

void Storm::CheckState() {
    const sonrel::PlaybackEngine& playback = Playback();
    if (playback.IsInitialized() != isSetUp_) faults_.Add("IsInitialized is wrong");
    if (CertainlyPlays() && !playback.IsPlaying()) faults_.Add("a run that nobody heard has ended");
    if (mayPlay_) return;
    if (playback.IsPlaying()) faults_.Add("something plays without a run");
    if (playback.CurrentPlaybackVideoFrame() != heardFrame_) {
        faults_.Add("the frame has changed after the end of a run");
    }
}

long long Storm::SampleOf(int frame) {
    const auto& impl = sonrel::PlaybackEngineAccess::Impl(Playback());
    if (!isSetUp_) return 0;
    return impl.format.SampleOfFrame(frame);
}

bool Storm::IsInside(long long sample) {
    return sample >= 0 &&
           sample < sonrel::PlaybackEngineAccess::Impl(Playback()).format.totalSamples;
}

Err Storm::ResultOfStart(long long sample, int refusedBefore) {
    if (!IsInside(sample)) return Err::OutOfRange;
    const bool refused = device_.Refused(StormDevice::Call::Start) > refusedBefore;
    return refused ? Err::PlaybackFailed : Err::NoError;
}

bool Storm::CertainlyPlays() const {
    return isSetUp_ && mayPlay_ && isHeldBack_ &&
           device_.Refused(StormDevice::Call::Submit) == submitsRefused_;
}

}  // namespace sonrel_tests
