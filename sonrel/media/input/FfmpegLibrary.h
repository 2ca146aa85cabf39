// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace zrh::media::detail {

struct FfmpegFunctions;

/// Loads FFmpeg, unless it is loaded. It stays loaded until the process ends. After a failure the
/// next call tries again.
///
/// Threads: any.
/// @param failure  receives the reason of a failure; may be null
/// @return null on failure
/// @throws std::bad_alloc
const FfmpegFunctions* LoadFfmpeg(std::string* failure = nullptr);

/// The functions, for a caller that knows that FFmpeg can be loaded.
const FfmpegFunctions& LoadedFfmpeg();

/// Finds the functions: in a module, or in the program where FFmpeg is linked.
/// @param failure  receives the reason of a failure; may be null
/// @return null on failure
const FfmpegFunctions* FindFfmpegFunctions(std::string* failure);

}  // namespace zrh::media::detail
