// SPDX-License-Identifier: MIT
#include "sonrel/playback/device/SdlLibrary.h"

#include <dlfcn.h>

#include <string>

#include "sonrel/playback/device/AudioDevice.h"

namespace orlo::sonrel::device {

template <class Function>
void SdlLibrary::Find(const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(handle_, name));
    if (function == nullptr) {
        throw LibraryLoadError(std::string("the sound library lacks ") + name);
    }
}

std::shared_ptr<const SdlLibrary> SdlLibrary::Load(const char* name) {
    const auto library = std::make_shared<SdlLibrary>();
    // The code stays mapped after the last reference: threads of the host may still run its
    // clean-up when they end.
    library->handle_ = dlopen(name, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (library->handle_ == nullptr) {
        throw LibraryLoadError(std::string("the sound library does not load: ") + dlerror());
    }
    library->Find("SDL_SetHint", library->setHint);
    library->Find("SDL_InitSubSystem", library->initSubSystem);
    library->Find("SDL_QuitSubSystem", library->quitSubSystem);
    library->Find("SDL_OpenAudioDevice", library->openAudioDevice);
    library->Find("SDL_PauseAudioDevice", library->pauseAudioDevice);
    library->Find("SDL_CloseAudioDevice", library->closeAudioDevice);
    library->Find("SDL_GetAudioDeviceStatus", library->getAudioDeviceStatus);
    library->setHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    return library;
}

SdlLibrary::~SdlLibrary() {
    if (handle_ != nullptr) dlclose(handle_);
}

}  // namespace orlo::sonrel::device
