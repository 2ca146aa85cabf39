// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "sonrel/engine/Sonrel.h"
#include "sonrel/playback/PlaybackEngine.h"
#include "tests/playback/storms/StormAudience.h"
#include "tests/playback/storms/StormDevice.h"
#include "tests/playback/storms/StormFaults.h"
#include "tests/playback/storms/StormPoller.h"
#include "tests/playback/storms/StormScene.h"
#include "tests/playback/storms/StormScript.h"

namespace sonrel_tests {

/// How long commands have taken at most.
struct StormTimes {
    std::chrono::microseconds stop{0};
    std::chrono::microseconds flush{0};
    std::chrono::microseconds any{0};
};

/// The figures of a storm.
struct StormOutcome {
    long long commands = 0;
    long long framesTaken = 0;
    int completions = 0;
    int refusedCalls = 0;
    StormTimes longest;
    int faultCount = 0;
    std::vector<std::string> faults;  ///< the first ones
};

/// Gives the commands of a script to a playback engine and checks each result against the results
/// that the current state allows.
///
/// Several storms may run at the same time, each on its own thread.
class Storm {
public:
    /// @param limit  a command that takes longer is a fault
    Storm(unsigned int seed, std::chrono::milliseconds limit);
    ~Storm();
    Storm(const Storm&) = delete;
    Storm& operator=(const Storm&) = delete;

    /// Gives the commands, then plays to the end of the sequence on a device that works.
    /// @throws std::runtime_error for a word that is not a command
    StormOutcome Run(const StormScript& script);

private:
    using Err = sonrel::PlaybackEngine::Err;
    using Numbers = std::array<int, 3>;
    using Command = std::function<Err()>;
    struct Word;

    void GiveCommand(int number, const StormCommand& command);
    static const std::vector<Word>& Words();

    void SetUp(const Numbers& numbers);
    void Refresh(const Numbers& numbers);
    void Resize(const Numbers& numbers);
    void AddTrack(const Numbers& numbers);
    void PlayFrame(const Numbers& numbers);
    void PlaySample(const Numbers& numbers);
    void Skip(const Numbers& numbers);
    void PlaySingleFrame(const Numbers& numbers);
    void Stop(const Numbers& numbers);
    void Flush(const Numbers& numbers);
    void DropTarget(const Numbers& numbers);
    void Reset(const Numbers& numbers);
    void MakeEngine(const Numbers& numbers);
    void SetPace(const Numbers& numbers);

    sonrel::PlaybackEngine& Playback() { return *engine_->Playback(); }
    sonrel::AudioMixer& Mixer() { return *engine_->Mixer(); }

    /// Runs a command. Checks its time, and that it throws exactly what its observers throw.
    /// @return its result; empty when it has thrown
    std::optional<Err> Give(const Command& command, std::chrono::microseconds& longest);
    std::optional<Err> Give(const Command& command) { return Give(command, longest_.any); }
    void Expect(std::optional<Err> result, const std::set<Err>& allowed);
    /// @param known  the result of a set-up that builds nothing, if it does not depend on the past
    void GiveSetUp(const Command& command, std::optional<Err> known = std::nullopt);
    void GivePlay(long long sample, int settings, const Command& command);
    void NoteRun(long long sample, std::optional<Err> result, int startsBefore);
    void NoteEndOfRuns();
    void CheckState();
    void PlayToTheEnd();
    void WaitUntil(const std::function<bool()>& condition, const std::string& fault);

    long long SampleOf(int frame);
    bool IsInside(long long sample);
    /// The result of a play command that reaches the start of its voice.
    Err ResultOfStart(long long sample, int refusedBefore);
    /// Whether a run is under way for sure: the device has taken nothing of it.
    bool CertainlyPlays() const;

    const std::chrono::milliseconds limit_;
    StormFaults faults_;
    StormAudience audience_{faults_};
    StormDevice device_{[this](const char* fault) { faults_.Add(fault); }};
    StormScene scene_;
    std::shared_ptr<project::EditorSequence> temporary_;
    std::shared_ptr<sonrel::Sonrel> engine_;
    std::unique_ptr<StormPoller> poller_;
    StormTimes longest_;

    // The expected state of the engine.
    bool isSetUp_ = false;
    bool hasVoice_ = false;
    bool onTemporary_ = false;  ///< the target is the temporary sequence
    Err lastSetUp_ = Err::NoError;
    bool mayPlay_ = false;     ///< a run was started and not stopped
    bool isHeldBack_ = false;  ///< the device has taken nothing of the run
    bool reverse_ = false;     ///< the run
    int speed_ = 1;
    int submitsRefused_ = 0;  ///< before the run
    int heardFrame_ = -1;     ///< while no run is under way
};

}  // namespace sonrel_tests
