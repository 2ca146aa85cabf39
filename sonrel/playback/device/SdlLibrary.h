// SPDX-License-Identifier: MIT
#pragma once

#include <SDL.h>

#include <memory>

namespace orlo::sonrel::device {

constexpr const char* SDL_LIBRARY = "libSDL2-2.0.so.0";

/// The sound library, loaded at run time: a host that only mixes carries none of it.
struct SdlLibrary {
    decltype(&SDL_SetHint) setHint = nullptr;
    decltype(&SDL_InitSubSystem) initSubSystem = nullptr;
    decltype(&SDL_QuitSubSystem) quitSubSystem = nullptr;
    decltype(&SDL_OpenAudioDevice) openAudioDevice = nullptr;
    decltype(&SDL_PauseAudioDevice) pauseAudioDevice = nullptr;
    decltype(&SDL_CloseAudioDevice) closeAudioDevice = nullptr;
    decltype(&SDL_GetAudioDeviceStatus) getAudioDeviceStatus = nullptr;

    /// Loads the library and holds it as long as the pointer. The signal handlers of the host stay:
    /// a hint keeps the library from setting its own.
    /// @throws LibraryLoadError when it is missing or lacks a function
    static std::shared_ptr<const SdlLibrary> Load(const char* name);

    SdlLibrary() = default;
    ~SdlLibrary();
    SdlLibrary(const SdlLibrary&) = delete;
    SdlLibrary& operator=(const SdlLibrary&) = delete;

private:
    template <class Function>
    void Find(const char* name, Function& function);

    void* handle_ = nullptr;
};

}  // namespace orlo::sonrel::device
