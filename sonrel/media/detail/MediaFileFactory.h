// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

#include "sonrel/media/ZRAbstractMediaFile.h"

namespace zrh::media::detail {

/// Makes a media file, as ZRMediaFileCreate does; ZRMediaFileRelease deletes it.
using MediaFileFactory = std::function<int(const wchar_t* path, ZRAbstractMediaFile** file)>;

/// Puts @p factory in the place of the real opener, for the whole process; an empty one brings the
/// real one back. Not while another thread opens media.
void SetMediaFileFactoryForTests(MediaFileFactory factory);

}  // namespace zrh::media::detail
