// SPDX-License-Identifier: MIT
#include "sonrel/media/input/FfmpegLibrary.h"

#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "sonrel/media/ffmpeg/FfmpegFunctions.h"
#include "sonrel/media/input/DecoderVersion.h"
#include "sonrel/media/input/MediaLog.h"

namespace zrh::media {
namespace detail {
namespace {

std::mutex mutex;
std::atomic<const FfmpegFunctions*> functions = nullptr;  // written under the mutex
bool isLogSet = false;                                    // guarded
std::atomic<MediaLog> mediaLog = nullptr;

void PassError(void*, int level, const char* format, va_list arguments) {
    const MediaLog log = mediaLog;
    if (level > AV_LOG_ERROR || log == nullptr) return;
    std::array<char, 256> text = {};
    std::vsnprintf(text.data(), text.size(), format, arguments);
    std::string message = text.data();
    while (message.ends_with('\n')) message.pop_back();
    log(message);
}

void SetCallback(const FfmpegFunctions& loaded) {
    loaded.av_log_set_callback(mediaLog.load() == nullptr ? loaded.av_log_default_callback
                                                          : &PassError);
}

}  // namespace

const FfmpegFunctions* LoadFfmpeg(std::string* failure) {
    if (const FfmpegFunctions* loaded = functions) return loaded;
    const std::lock_guard lock(mutex);
    if (const FfmpegFunctions* loaded = functions) return loaded;
    std::string reason;
    const FfmpegFunctions* const found = FindFfmpegFunctions(&reason);
    if (found == nullptr) {
        if (failure != nullptr) *failure = reason;
        return nullptr;
    }
    if (isLogSet) SetCallback(*found);
    functions = found;
    return found;
}

const FfmpegFunctions& LoadedFfmpeg() {
    const FfmpegFunctions* loaded = functions.load(std::memory_order_acquire);
    if (loaded == nullptr) loaded = LoadFfmpeg();
    // Every operation that opens a media file or converts a stream checks LoadFfmpeg first.
    if (loaded == nullptr) std::abort();
    return *loaded;
}

}  // namespace detail

std::string DecoderVersion() {
    const detail::FfmpegFunctions* loaded = detail::LoadFfmpeg();
    return loaded == nullptr ? std::string() : loaded->av_version_info();
}

void SetMediaLog(MediaLog log) {
    const std::lock_guard lock(detail::mutex);
    detail::mediaLog = log;
    detail::isLogSet = true;
    if (const detail::FfmpegFunctions* loaded = detail::functions) detail::SetCallback(*loaded);
}

}  // namespace zrh::media
