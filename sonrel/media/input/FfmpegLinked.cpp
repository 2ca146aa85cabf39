// SPDX-License-Identifier: MIT
// FFmpeg of a program that links it together with the media library.
#include "sonrel/media/ffmpeg/FfmpegFunctions.h"
#include "sonrel/media/input/FfmpegLibrary.h"

namespace zrh::media::detail {

const FfmpegFunctions* FindFfmpegFunctions(std::string*) {
    return SonrelFfmpegFunctions();
}

}  // namespace zrh::media::detail
