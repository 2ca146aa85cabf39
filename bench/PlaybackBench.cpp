// SPDX-License-Identifier: MIT
// The cost of playback: the worker's share of a core for sixteen tracks with meters in real time,
// and the number of such sequences that play at once before a ring is empty.
//   playback_bench [seconds]    duration of each measurement, default 10, at most 40
#include <pthread.h>
#include <time.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

#include "sonrel/engine/Sonrel.h"
#include "sonrel/playback/AbstractAudioMeterObserver.h"
#include "sonrel/playback/VirtualOutput.h"
#include "sonrel/playback/detail/PlaybackEngineImpl.h"
#include "tests/support/ProjectBuilder.h"

namespace {

using namespace sonrel_tests;
namespace sonrel = orlo::sonrel;
using SteadyClock = std::chrono::steady_clock;

constexpr int RATE = 48000;
constexpr int TRACKS = 16;
constexpr int FRAMES = 1500;  // a minute
constexpr int FEWEST_AT_ONCE = 64;
constexpr int MAX_AT_ONCE = 1024;
constexpr int CLOSE_ENOUGH = 32;

class Observer : public sonrel::AbstractAudioMeterObserver {
public:
    void OnMeterSessionStart(int) override {}
    void OnMeterSessionStop() override {}
    void OnMeterUpdate(const sonrel::AudioMetrics&) override {}
};

/// A metered sequence of sixteen tracks with static levels, with the default dither.
class SixteenTracks {
public:
    SixteenTracks() : builder_(Format{25.0, RATE, FRAMES}) {
        const auto media = builder_.AddMedia(Noise(FRAMES * RATE / 25, 1));
        for (int track = 0; track < TRACKS; ++track) {
            builder_.AddObject(media, 0, FRAMES)->Animation().SetStaticValue("audioLevel", -20.0f);
        }
    }
    const ProjectBuilder& Builder() const { return builder_; }

private:
    ProjectBuilder builder_;
};

/// The sequence on its own engine and output, in real time.
class Player {
public:
    explicit Player(const SixteenTracks& scene)
        : output_(std::make_shared<sonrel::VirtualOutput>(sonrel::VirtualOutput::Clock::Paced)),
          engine_(
              sonrel::Sonrel::Create(L"", L"", nullptr, sonrel::Sonrel::LogOption::NoErrorLog)) {
        sonrel::SetAudioOutputFactory([this] { return output_; });
        engine_->InitializePlaybackEngine();
        engine_->Playback()->Initialize(scene.Builder().Project(), scene.Builder().Sequence());
        engine_->Playback()->AddMeterObserver(&observer_);
        // Otherwise the first of a thousand would have ended before the last begins.
        sonrel::PlaybackEngineAccess::Impl(*engine_->Playback()).headStart = {};
    }

    void Play() {
        engine_->Playback()->PlayFromFrame(0, sonrel::PlaybackEngine::PlaybackDirection::Forward, 1,
                                           nullptr, nullptr);
    }
    void Stop() { engine_->Playback()->Stop(); }
    bool IsHeard() const {
        return engine_->Playback()->CurrentPlaybackMetrics().masterMetrics.peak[0] > 0.1f;
    }
    long long FramesTaken() const { return output_->FramesTaken(); }

    /// Processor time of the worker so far.
    double WorkerSeconds() const {
        auto& worker = sonrel::PlaybackEngineAccess::Impl(*engine_->Playback()).worker;
        clockid_t clock = {};
        timespec time = {};
        pthread_getcpuclockid(worker.NativeHandle(), &clock);
        clock_gettime(clock, &time);
        return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
    }

private:
    Observer observer_;
    std::shared_ptr<sonrel::VirtualOutput> output_;
    std::shared_ptr<sonrel::Sonrel> engine_;
};

void Sleep(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

double Seconds(SteadyClock::duration duration) {
    return std::chrono::duration<double>(duration).count();
}

/// The worker's share of one core, after its ring is full.
double WorkerShare(const SixteenTracks& scene, double seconds) {
    Player player(scene);
    player.Play();
    Sleep(1.0);
    const double before = player.WorkerSeconds();
    const auto begin = SteadyClock::now();
    Sleep(seconds);
    const double share = (player.WorkerSeconds() - before) / Seconds(SteadyClock::now() - begin);
    if (!player.IsHeard()) std::printf("nothing is heard\n");
    player.Stop();
    return share;
}

/// Whether every output received all frames of the elapsed time.
bool NoneRunsDry(const SixteenTracks& scene, int count, double seconds) {
    std::vector<std::unique_ptr<Player>> players;
    for (int i = 0; i < count; ++i) players.push_back(std::make_unique<Player>(scene));
    for (const auto& player : players) player->Play();
    // The first to start also plays while the others start.
    std::vector<long long> before;
    const auto begin = SteadyClock::now();
    for (const auto& player : players) before.push_back(player->FramesTaken());
    Sleep(seconds);
    const double due = Seconds(SteadyClock::now() - begin) * RATE;
    bool dry = false;
    for (std::size_t i = 0; i < players.size(); ++i) {
        const auto taken = static_cast<double>(players[i]->FramesTaken() - before[i]);
        dry = dry || taken < due - RATE / 10.0;
    }
    for (const auto& player : players) player->Stop();
    return !dry;
}

}  // namespace

int main(int argc, char** argv) {
    const double seconds = argc > 1 ? std::atof(argv[1]) : 10.0;
    const SixteenTracks scene;
    std::printf("worker's share of one core: %.2f %%\n", 100.0 * WorkerShare(scene, seconds));
    int most = 0;
    for (int count = FEWEST_AT_ONCE; count <= MAX_AT_ONCE; count *= 2) {
        if (!NoneRunsDry(scene, count, seconds)) break;
        most = count;
        std::printf("%d at once: no ring is empty\n", count);
    }
    for (int step = most / 2; step >= CLOSE_ENOUGH && most < MAX_AT_ONCE; step /= 2) {
        if (NoneRunsDry(scene, most + step, seconds)) most += step;
    }
    std::printf("most at once: %d, on %u cores\n", most, std::thread::hardware_concurrency());
}
