// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

#include "sonrel/media/ZRAbstractMediaFile.h"

namespace zrh::media::detail {

/// Makes a media file like ZRMediaFileCreate; ZRMediaFileRelease deletes it.
using MediaFileFactory = std::function<int(const wchar_t* path, ZRAbstractMediaFile** file)>;

/// Replaces ZRMediaFileCreate by @p factory, for the whole process; an empty factory restores it.
/// Do not call it while another thread opens media.
void SetMediaFileFactoryForTests(MediaFileFactory factory);

}  // namespace zrh::media::detail
