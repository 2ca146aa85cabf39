// SPDX-License-Identifier: MIT
// A sound library whose server ends or freezes, loaded by the program in place of the real library.
// The variable SONREL_FAKE_SDL chooses: "lost", "frozen", or "frozen-open".
#include <SDL.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace {

/// The server fails after a fifth of a second.
constexpr int PULLS = 20;
constexpr std::chrono::milliseconds PERIOD{10};

SDL_AudioSpec spec;
std::atomic<bool> lost{false};

std::string Mode() {
    const char* const mode = std::getenv("SONREL_FAKE_SDL");
    return mode != nullptr ? mode : "";
}

[[noreturn]] void WaitForever() {
    std::promise<void>().get_future().wait();
    std::abort();
}

void Play() {
    std::vector<Uint8> samples(spec.samples * 4u);
    for (int pull = 0;; ++pull) {
        if (pull == PULLS && Mode() == "frozen") return;
        if (pull == PULLS && Mode() == "lost") lost = true;
        spec.callback(spec.userdata, samples.data(), static_cast<int>(samples.size()));
        std::this_thread::sleep_for(PERIOD);
    }
}

}  // namespace

extern "C" {

SDL_bool SDL_SetHint(const char*, const char*) {
    return SDL_TRUE;
}

int SDL_InitSubSystem(Uint32) {
    return 0;
}

void SDL_QuitSubSystem(Uint32) {}

SDL_AudioDeviceID SDL_OpenAudioDevice(const char*, int, const SDL_AudioSpec* wanted, SDL_AudioSpec*,
                                      int) {
    if (Mode() == "frozen-open") WaitForever();
    spec = *wanted;
    return 2;
}

void SDL_PauseAudioDevice(SDL_AudioDeviceID, int) {
    std::thread(Play).detach();
}

void SDL_CloseAudioDevice(SDL_AudioDeviceID) {
    if (Mode() == "frozen") WaitForever();
}

SDL_AudioStatus SDL_GetAudioDeviceStatus(SDL_AudioDeviceID) {
    return lost ? SDL_AUDIO_STOPPED : SDL_AUDIO_PLAYING;
}

}  // extern "C"
