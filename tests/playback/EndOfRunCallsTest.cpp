// SPDX-License-Identifier: MIT
// The end-of-run calls: the commands that wait for them, their cancellation, and their exceptions.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/playback/PlaybackRig.h"

namespace sonrel_tests {
namespace {

using Calls = std::vector<std::string>;

/// Long enough for a command that does not block.
constexpr std::chrono::milliseconds A_WHILE{50};

/// A run of one buffer, whose end the test reports from any thread.
class EndOfRunCalls : public testing::Test {
protected:
    EndOfRunCalls() {
        EXPECT_EQ(rig_.SetUpSequence(), Err::NoError);
        rig_.Playback().AddMeterObserver(&first_);
        rig_.Playback().AddMeterObserver(second_.get());
    }

    sonrel::PlaybackEngine& Playback() { return rig_.Playback(); }

    /// Starts a run of the last frame.
    void PlayLastFrame(std::function<void(void*)> completion) {
        ASSERT_EQ(Playback().PlayFromFrame(249, FORWARD, 1, std::move(completion), nullptr),
                  Err::NoError);
        ASSERT_TRUE(rig_.device.WaitForQueued(1));
        first_.calls.clear();
        second_->calls.clear();
    }

    PlaybackRig rig_;
    SpyObserver first_;
    std::unique_ptr<SpyObserver> second_ = std::make_unique<SpyObserver>();
};

TEST_F(EndOfRunCalls, NoneBeginsAfterAStopFromAnotherThreadHasReturned) {
    std::promise<void> inside;
    std::promise<void> stopping;
    std::shared_future<Err> stop;
    std::atomic<bool> returned = false;
    std::thread::id device;
    const auto expectBeforeReturn = [&] { EXPECT_FALSE(returned) << "a call after the stop"; };
    first_.onStop = [&] {
        if (std::this_thread::get_id() != device) return;
        inside.set_value();
        stopping.get_future().wait();
        EXPECT_EQ(stop.wait_for(A_WHILE), std::future_status::timeout) << "it waits for this call";
    };
    PlayLastFrame([&](void*) { expectBeforeReturn(); });
    second_->onStop = expectBeforeReturn;
    std::promise<void> go;
    std::thread deviceThread([&] {
        go.get_future().wait();
        rig_.device.PlayBuffer();
    });
    device = deviceThread.get_id();
    go.set_value();
    inside.get_future().wait();

    stop = std::async(std::launch::async, [&] {
               const Err result = Playback().Stop();
               returned = true;
               return result;
           }).share();
    stopping.set_value();

    EXPECT_EQ(stop.get(), Err::NoError);
    Playback().RemoveMeterObserver(second_.get());
    second_.reset();
    deviceThread.join();
}

TEST_F(EndOfRunCalls, AStopFromInsideACallEndsTheCallsAfterIt) {
    bool completed = false;
    bool stopped = false;
    first_.onStop = [&] {
        if (!std::exchange(stopped, true)) Playback().Stop();
    };
    PlayLastFrame([&](void*) { completed = true; });
    stopped = false;

    rig_.device.PlayBuffer();

    EXPECT_EQ(first_.calls, (Calls{"stop", "stop"})) << "by the device, and by the stop";
    EXPECT_EQ(second_->calls, Calls{"stop"}) << "by the stop only";
    EXPECT_FALSE(completed);
}

TEST_F(EndOfRunCalls, AnObserverThatStopsMayDeleteTheNext) {
    bool stopped = true;
    first_.onStop = [&] {
        if (std::exchange(stopped, true)) return;
        Playback().Stop();
        Playback().RemoveMeterObserver(second_.get());
        second_.reset();
    };
    PlayLastFrame(nullptr);
    stopped = false;

    rig_.device.PlayBuffer();

    EXPECT_EQ(second_, nullptr);
    EXPECT_EQ(Playback().Stop(), Err::NoError);
}

/// The commands that end a run, by name.
struct EndingCommand {
    std::string name;
    std::function<void(PlaybackRig&)> give;
};

std::vector<EndingCommand> EndingCommands() {
    return {
        {"Stop", [](PlaybackRig& rig) { rig.Playback().Stop(); }},
        {"Initialize",
         [](PlaybackRig& rig) {
             // In no project: a project changes only while nothing mixes.
             const auto composition = std::make_shared<project::CompositionAsset>();
             Apply({25.0, 48000, 3}, composition->Settings());
             rig.Playback().Initialize(rig.builder.Project(), composition);
         }},
        {"Refresh", [](PlaybackRig& rig) { rig.Playback().Refresh(); }},
        {"PlayFromFrame", [](PlaybackRig& rig) { rig.Play(0); }},
        {"Destructor", [](PlaybackRig& rig) { rig.engine->InitializePlaybackEngine(); }},
    };
}

class EndingCommandWaits : public EndOfRunCalls, public testing::WithParamInterface<std::size_t> {
protected:
    /// The sequence has changed since its set-up, so that Refresh sets up again.
    EndingCommandWaits() { rig_.builder.Sequence()->Settings().SetFrameCount(251); }

    /// Plays the run to its end on a thread of the device. In the completion callback, after
    /// @p fromInside, another thread gives the command, which must not return before the callback.
    void ExpectThatTheCommandWaits(const std::function<void()>& fromInside) {
        std::promise<void> inside;
        std::promise<void> given;
        std::future<void> command;
        std::atomic<bool> left = false;
        PlayLastFrame([&](void*) {
            fromInside();
            inside.set_value();
            given.get_future().wait();
            EXPECT_EQ(command.wait_for(A_WHILE), std::future_status::timeout);
            left = true;
        });
        ASSERT_TRUE(rig_.device.BeginBuffer());
        std::thread deviceThread([&] { rig_.device.EndBuffer(); });
        inside.get_future().wait();

        command = std::async(std::launch::async, [&] {
            EndingCommands()[GetParam()].give(rig_);
            EXPECT_TRUE(left) << "it returned while the completion callback was running";
        });
        given.set_value();
        deviceThread.join();
        command.get();
    }
};

TEST_P(EndingCommandWaits, ForARunningCompletion) {
    ExpectThatTheCommandWaits([] {});
}

TEST_P(EndingCommandWaits, ForACompletionThatHasStoppedTheRun) {
    ExpectThatTheCommandWaits([&] { Playback().Stop(); });
}

TEST_P(EndingCommandWaits, ForACompletionThatHasStartedAnotherRun) {
    ExpectThatTheCommandWaits([&] { rig_.Play(0); });
}

INSTANTIATE_TEST_SUITE_P(Playback, EndingCommandWaits,
                         testing::Range<std::size_t>(0, EndingCommands().size()),
                         [](const auto& command) { return EndingCommands()[command.param].name; });

TEST_F(EndOfRunCalls, TheCompletionCallbackIsDestroyedByTheCommandThatReplacesIt) {
    const auto held = std::make_shared<int>(0);
    PlayLastFrame([held](void*) {});
    rig_.device.PlayBuffer();
    ASSERT_EQ(held.use_count(), 2) << "kept until the next run";

    EXPECT_EQ(rig_.Play(0), Err::NoError);

    EXPECT_EQ(held.use_count(), 1);
}

/// An exception type of the host.
struct HostError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class ThrowingObservers : public EndOfRunCalls {
protected:
    static void Throw(const char* text) { throw HostError(text); }

    /// @return the text of the exception of a command; empty when it threw nothing
    template <class Command>
    static std::string ThrownBy(Command command) {
        try {
            command();
            return {};
        } catch (const HostError& error) {
            return error.what();
        }
    }
};

TEST_F(ThrowingObservers, StopStopsNotifiesTheOthersAndThrowsTheFirstException) {
    rig_.Play(0);
    second_->calls.clear();
    first_.onStop = [] { Throw("first"); };
    second_->onStop = [] { Throw("second"); };

    EXPECT_EQ(ThrownBy([&] { Playback().Stop(); }), "first");

    EXPECT_EQ(second_->calls, Calls{"stop"});
    EXPECT_FALSE(Playback().IsPlaying());
    EXPECT_FALSE(rig_.device.Started());
}

TEST_F(ThrowingObservers, APlayCommandDoesNotStartWhenTheStopBeforeItThrows) {
    rig_.Play(0);
    first_.onStop = [] { Throw("first"); };

    EXPECT_EQ(ThrownBy([&] { rig_.Play(0); }), "first");

    EXPECT_FALSE(Playback().IsPlaying());
    EXPECT_FALSE(rig_.device.Started());
}

TEST_F(ThrowingObservers, ARunPlaysAfterAnExceptionOfItsStartNotification) {
    first_.onStart = [] { Throw("first"); };

    EXPECT_EQ(ThrownBy([&] { rig_.Play(0); }), "first");

    EXPECT_EQ(second_->calls, (Calls{"stop", "start 100"}));
    EXPECT_TRUE(Playback().IsPlaying());
    EXPECT_TRUE(rig_.device.Started());
}

TEST_F(ThrowingObservers, ASingleFrameSoundsAfterAnExceptionOfItsLevelsNotification) {
    first_.onUpdate = [] { Throw("first"); };

    EXPECT_EQ(ThrownBy([&] { Playback().PlayFrame(0); }), "first");

    EXPECT_EQ(second_->calls, Calls{"update"});
    EXPECT_EQ(rig_.device.Queued(), 1u);
}

TEST_F(ThrowingObservers, OnTheDevicesThreadAnExceptionEndsOnlyTheCallThatThrewIt) {
    bool completed = false;
    PlayLastFrame([&](void*) {
        completed = true;
        Throw("completion");
    });
    first_.onStop = [] { Throw("first"); };

    std::thread([&] { rig_.device.PlayBuffer(); }).join();

    EXPECT_EQ(second_->calls, Calls{"stop"});
    EXPECT_TRUE(completed);
    EXPECT_TRUE(Eventually([&] { return !Playback().IsPlaying(); }));
    first_.onStop = nullptr;
    EXPECT_EQ(rig_.Play(0), Err::NoError) << "the engine still works";
}

}  // namespace
}  // namespace sonrel_tests
