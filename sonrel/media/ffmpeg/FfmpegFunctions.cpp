// SPDX-License-Identifier: MIT
#include "sonrel/media/ffmpeg/FfmpegFunctions.h"

const zrh::media::detail::FfmpegFunctions* SonrelFfmpegFunctions() {
    static constexpr zrh::media::detail::FfmpegFunctions FUNCTIONS = {
#define SONREL_ADDRESS(name) &::name,
        SONREL_FFMPEG_FUNCTIONS(SONREL_ADDRESS)
#undef SONREL_ADDRESS
    };
    return &FUNCTIONS;
}
