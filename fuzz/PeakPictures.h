// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "fuzz/Support.h"

namespace sonrel_fuzz {

/// Draws a peak file twice, with settings and sizes that the input chooses: an ordinary picture,
/// and any size into a small buffer.
/// @param channels  of the stream; those of the file may differ
/// @param samples   of the stream; those of the file may differ
void DrawPictures(const std::wstring& path, int channels, long long samples, Choices& choices);

}  // namespace sonrel_fuzz
