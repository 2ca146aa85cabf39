// SPDX-License-Identifier: MIT
#include "tests/playback/storms/Storm.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "sonrel/playback/detail/PlaybackEngineImpl.h"
#include "tests/playback/storms/StormMaker.h"

namespace sonrel_tests {

namespace {

using std::chrono::steady_clock;
using Err = sonrel::PlaybackEngine::Err;
using Direction = sonrel::PlaybackEngine::PlaybackDirection;

constexpr std::chrono::milliseconds FLUSH_TIMEOUT{30};
/// Only a broken build waits as long for the end of a run.
constexpr std::chrono::seconds MAX_WAIT{100};

}  // namespace

struct Storm::Word {
    std::string name;
    std::function<void(Storm&, const Numbers&)> give;
};

const std::vector<Storm::Word>& Storm::Words() {
    static const std::vector<Word> WORDS = {
        {"set_up", &Storm::SetUp},
        {"refresh", &Storm::Refresh},
        {"resize", &Storm::Resize},
        {"add_track", &Storm::AddTrack},
        {"play_frame", &Storm::PlayFrame},
        {"play_sample", &Storm::PlaySample},
        {"skip", &Storm::Skip},
        {"single", &Storm::PlaySingleFrame},
        {"stop", &Storm::Stop},
        {"flush", &Storm::Flush},
        {"add_observer",
         [](Storm& storm, const Numbers& numbers) {
             storm.Playback().AddMeterObserver(storm.audience_.Observer(numbers[0]));
         }},
        {"remove_observer",
         [](Storm& storm, const Numbers& numbers) {
             storm.Playback().RemoveMeterObserver(storm.audience_.Observer(numbers[0]));
         }},
        {"mute",
         [](Storm& storm, const Numbers& numbers) {
             storm.scene_.Mute(storm.Mixer(), numbers[0], numbers[1] == 1);
         }},
        {"level",
         [](Storm& storm, const Numbers& numbers) {
             storm.scene_.SetLevel(storm.Mixer(), numbers[0], numbers[1]);
         }},
        {"effect",
         [](Storm& storm, const Numbers& numbers) { storm.scene_.EnableEffect(numbers[0] == 1); }},
        {"slow_mix",
         [](Storm& storm, const Numbers& numbers) { storm.scene_.SlowDown(numbers[0]); }},
        {"drop_target", &Storm::DropTarget},
        {"reset", &Storm::Reset},
        {"new_engine", &Storm::MakeEngine},
        {"pace", &Storm::SetPace},
        {"refuse",
         [](Storm& storm, const Numbers& numbers) {
             storm.device_.Refuse(static_cast<StormDevice::Call>(numbers[0]), numbers[1],
                                  numbers[2]);
         }},
        {"wait",
         [](Storm&, const Numbers& numbers) {
             std::this_thread::sleep_for(std::chrono::milliseconds(numbers[0]));
         }},
    };
    return WORDS;
}

Storm::Storm(unsigned int seed, std::chrono::milliseconds limit) : limit_(limit), scene_(seed) {
    engine_ = sonrel::Sonrel::Create(L"", L"", nullptr, sonrel::Sonrel::LogOption::NoErrorLog);
    Mixer().SetDither(sonrel::DitherType::None, 1);
    MakeEngine({});
    poller_ = std::make_unique<StormPoller>(*engine_, faults_);
}

Storm::~Storm() {
    poller_.reset();
    engine_.reset();
}

StormOutcome Storm::Run(const StormScript& script) {
    StormOutcome outcome;
    for (const StormCommand& command : script) {
        GiveCommand(static_cast<int>(++outcome.commands), command);
    }
    PlayToTheEnd();
    outcome.framesTaken = device_.FramesTaken();
    outcome.completions = audience_.Completions();
    outcome.refusedCalls = device_.RefusedCalls();
    outcome.longest = longest_;
    outcome.faultCount = faults_.Count();
    outcome.faults = faults_.Texts();
    return outcome;
}

void Storm::GiveCommand(int number, const StormCommand& command) {
    const auto word = std::find_if(Words().begin(), Words().end(),
                                   [&](const Word& known) { return known.name == command.word; });
    if (word == Words().end()) throw std::runtime_error("not a word of a storm: " + command.word);
    faults_.Begin(number, TextOf(command));
    word->give(*this, command.numbers);
    CheckState();
}

void Storm::SetUp(const Numbers& numbers) {
    const auto& project = scene_.Project();
    switch (numbers[0]) {
        case 1:
            return GiveSetUp([&] { return Playback().Initialize(project, scene_.Composition()); });
        case 2:
            return GiveSetUp([&] { return Playback().Initialize(project, scene_.Media()); });
        case 3:
            return GiveSetUp([&] { return Playback().Initialize(project, scene_.EmptyMedia()); },
                             Err::NoMediaStream);
        case 4:
            GiveSetUp([&] { return Playback().Initialize(project, scene_.RefusedRate()); },
                      Err::UnsupportedSampleRate);
            // A run continues without a target.
            lastSetUp_ = Err::UnsupportedSampleRate;
            isSetUp_ = false;
            return;
        case 5:
            temporary_ = StormScene::TemporarySequence();
            GiveSetUp([&] { return Playback().Initialize(project, temporary_); });
            onTemporary_ = true;
            return;
        default:
            return GiveSetUp([&] { return Playback().Initialize(project, scene_.Sequence()); });
    }
}

void Storm::Refresh(const Numbers&) {
    const bool temporary = onTemporary_;
    std::optional<Err> known;
    if (!isSetUp_ || (temporary && !temporary_)) known = Err::NotInitialized;
    GiveSetUp([&] { return Playback().Refresh(); }, known);
    onTemporary_ = temporary;
}

void Storm::Resize(const Numbers& numbers) {
    constexpr double FRAME_RATES[] = {25.0, 29.97, 50.0, 8.0};
    Stop({});
    scene_.Resize(numbers[0], FRAME_RATES[numbers[1]]);
}

void Storm::AddTrack(const Numbers&) {
    Stop({});
    scene_.AddTrack();
}

void Storm::PlayFrame(const Numbers& numbers) {
    GivePlay(SampleOf(numbers[0]), numbers[1], [&, frame = numbers[0]] {
        return Playback().PlayFromFrame(frame, reverse_ ? Direction::Reverse : Direction::Forward,
                                        speed_, audience_.NextCompletion(numbers[1] % 4),
                                        &audience_);
    });
}

void Storm::PlaySample(const Numbers& numbers) {
    GivePlay(numbers[0], numbers[1], [&, sample = numbers[0]] {
        return Playback().PlayFromSample(sample, reverse_ ? Direction::Reverse : Direction::Forward,
                                         speed_, audience_.NextCompletion(numbers[1] % 4),
                                         &audience_);
    });
}

void Storm::Skip(const Numbers& numbers) {
    const long long sample = SampleOf(numbers[0]);
    const int refused = device_.Refused(StormDevice::Call::Start);
    const int starts = audience_.Starts();
    const bool mayPlay = isSetUp_ && mayPlay_;
    const bool certainlyPlays = CertainlyPlays();
    submitsRefused_ = device_.Refused(StormDevice::Call::Submit);
    audience_.AllowOneMore();

    const auto result = Give([&] { return Playback().SkipToFrame(numbers[0]); });

    std::set<Err> allowed;
    if (mayPlay) allowed.insert(ResultOfStart(sample, refused));
    if (!certainlyPlays) allowed.insert(Err::PlaybackFailed);
    Expect(result, allowed);
    const bool restarted = result == Err::NoError || audience_.Starts() > starts;
    if (!restarted) audience_.AllowOneLess();
    // Without a run nothing has changed.
    const bool nothingPlayed =
        result == Err::PlaybackFailed && device_.Refused(StormDevice::Call::Start) == refused;
    if (!nothingPlayed) NoteRun(sample, result, starts);
}

void Storm::PlaySingleFrame(const Numbers& numbers) {
    const int refused = device_.RefusedCalls();
    const bool certainlyPlays = CertainlyPlays();
    const bool inside = IsInside(SampleOf(numbers[0]));

    const auto result = Give([&] { return Playback().PlayFrame(numbers[0]); });

    if (!isSetUp_) return Expect(result, {Err::NotInitialized});
    if (certainlyPlays) return Expect(result, {Err::Busy});
    // Busy also while the device has not released the former buffers.
    std::set<Err> allowed = {Err::Busy, inside ? Err::NoError : Err::OutOfRange};
    // The refused buffer may be one of the former worker.
    if (inside && device_.RefusedCalls() > refused) allowed.insert(Err::PlaybackFailed);
    Expect(result, allowed);
    if (result != Err::Busy && numbers[0] >= 0) NoteEndOfRuns();
}

void Storm::Stop(const Numbers&) {
    Expect(Give([&] { return Playback().Stop(); }, longest_.stop),
           {hasVoice_ ? Err::NoError : Err::NotInitialized});
    NoteEndOfRuns();
    if (device_.ThreadsInUse() != 1) faults_.Add("a worker is left after a stop");
    if (Playback().IsPlaying()) faults_.Add("something plays after a stop");
}

void Storm::Flush(const Numbers&) {
    const bool certainlyPlays = CertainlyPlays();

    const auto result =
        Give([&] { return Playback().FlushQueuedPlaybackSamples(); }, longest_.flush);

    std::set<Err> allowed;
    if (!certainlyPlays) allowed.insert(Err::NotPlaying);
    if (isSetUp_ && mayPlay_) allowed.insert({Err::NoError, Err::FlushFailed});
    Expect(result, allowed);
    // The run continues from the beginning of the target, which in reverse is its end.
    if (result == Err::NoError) isHeldBack_ = false;
}

/// The worker may hold the target until it has mixed a block. Until then the engine still finds it.
void Storm::DropTarget(const Numbers&) {
    const std::weak_ptr<project::EditorSequence> dropped = temporary_;
    temporary_.reset();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!dropped.expired() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
}

void Storm::Reset(const Numbers&) {
    const std::lock_guard guard(poller_->SetUpMutex());
    engine_->ResetPlaybackEngine();
    isSetUp_ = false;
}

void Storm::MakeEngine(const Numbers&) {
    std::unique_lock<std::shared_mutex> guard;
    if (poller_) guard = std::unique_lock(poller_->SetUpMutex());
    const StormMaker maker(device_);
    Expect(Give([&] { return engine_->InitializePlaybackEngine(); }), {Err::NoError});
    auto& impl = sonrel::PlaybackEngineAccess::Impl(Playback());
    impl.headStart = std::chrono::milliseconds(0);
    impl.flushTimeout = FLUSH_TIMEOUT;
    NoteEndOfRuns();
    isSetUp_ = hasVoice_ = false;
    lastSetUp_ = Err::NoError;
    heardFrame_ = sonrel::PlaybackEngine::NO_FRAME;
    if (device_.ThreadsInUse() != 1) faults_.Add("a thread of the former engine is left");
}

void Storm::SetPace(const Numbers& numbers) {
    using Pace = StormDevice::Pace;
    constexpr Pace PACES[] = {Pace::Fast, Pace::Fast, Pace::Fast,
                              Pace::Slow, Pace::Lost, Pace::LostButFlushing};
    device_.SetPace(PACES[numbers[0]]);
    if (!device_.IsStill()) isHeldBack_ = false;
}

void Storm::PlayToTheEnd() {
    faults_.Begin(0, "the end");
    device_.RefuseNothing();
    SetPace({});
    scene_.SlowDown(0);
    Resize({StormScene::FRAMES, 0, 0});
    MakeEngine({});
    SetUp({});
    const int before = audience_.Completions();
    PlayFrame({StormScene::FRAMES - 2, 4 * (1 + 3 * 2) + 1, 0});
    WaitUntil([&] { return audience_.Completions() > before && !Playback().IsPlaying(); },
              "the last run did not end");
    Stop({});
}

void Storm::WaitUntil(const std::function<bool()>& condition, const std::string& fault) {
    const auto deadline = steady_clock::now() + MAX_WAIT;
    while (!condition()) {
        if (steady_clock::now() > deadline) return faults_.Add(fault);
        std::this_thread::yield();
    }
}

}  // namespace sonrel_tests
