// SPDX-License-Identifier: MIT
#pragma once

#include <dlfcn.h>
#include <link.h>
#include <linux/limits.h>
#include <sys/mman.h>

#include <array>
#include <cstddef>
#include <new>
#include <string>

/// Modules: shared libraries of ours that are loaded at their first use, so that a host that does
/// not use them loads none of the libraries that they link. They are in a folder next to our
/// libraries.
namespace orlo::files {

/// The folder of the shared library that contains @p address; empty when it is unknown. A later
/// change of the working folder does not change it.
inline std::string FolderOfLibrary(const void* address) {
    Dl_info info = {};
    link_map* library = nullptr;
    std::array<char, 2 * PATH_MAX> folder = {};
    const bool isKnown =
        ::dladdr1(address, &info, reinterpret_cast<void**>(&library), RTLD_DL_LINKMAP) != 0 &&
        ::dlinfo(library, RTLD_DI_ORIGIN, folder.data()) == 0;
    return isKnown ? folder.data() : std::string();
}

/// Whether the linker failed for a lack of memory, which it reports in words only. It has the same
/// words for a file system that forbids programs, so the room for a module must be missing too.
inline bool IsLackOfMemory(const std::string& reason) {
    constexpr std::size_t ROOM = std::size_t{512} << 20;
    if (reason.find("map segment") == std::string::npos &&
        reason.find("allocate memory") == std::string::npos) {
        return false;
    }
    void* const room =
        ::mmap(nullptr, ROOM, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (room == MAP_FAILED) return true;
    ::munmap(room, ROOM);
    return false;
}

/// Loads a module and calls its function @p entry. The module stays loaded until the process ends.
///
/// Threads: any.
/// @param neighbour  an address in the library whose folder contains the folder of the modules
/// @param module     folder and name, relative to the folder of the library
/// @param failure    receives the reason of a failure, which names the missing file; may be null
/// @return null on failure
/// @throws std::bad_alloc when there is not enough memory for the module and its libraries
template <class Functions>
const Functions* LoadModule(const void* neighbour, const std::string& module, const char* entry,
                            std::string* failure) {
    const std::string path = FolderOfLibrary(neighbour) + "/" + module;
    void* const handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    void* const function = handle == nullptr ? nullptr : ::dlsym(handle, entry);
    if (function == nullptr) {
        const std::string reason = ::dlerror();
        if (IsLackOfMemory(reason)) throw std::bad_alloc();
        if (failure != nullptr) *failure = reason;
        return nullptr;
    }
    return reinterpret_cast<const Functions* (*)()>(function)();
}

}  // namespace orlo::files
