// SPDX-License-Identifier: MIT
// FFmpeg of a shared library, in a module that is loaded at the first use.
#include "sonrel/files/Module.h"
#include "sonrel/media/input/FfmpegLibrary.h"

namespace zrh::media::detail {

const FfmpegFunctions* FindFfmpegFunctions(std::string* failure) {
    return orlo::files::LoadModule<FfmpegFunctions>(
        reinterpret_cast<const void*>(&FindFfmpegFunctions), SONREL_MODULE_FOLDER "/ffmpeg.so",
        "SonrelFfmpegFunctions", failure);
}

}  // namespace zrh::media::detail
