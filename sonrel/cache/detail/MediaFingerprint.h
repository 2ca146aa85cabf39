// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace orlo::sonrel::detail {

/// A text that changes when a media file changes, computed from its size and last-write time only.
///
/// It is the MD5 digest, as 32 lower-case hexadecimal digits, of four unsigned 32-bit numbers in
/// decimal without separators: the high and the low half of the size in bytes, the high and the low
/// half of the last-write time in ticks of 100 nanoseconds since 1 January 1601. Links are
/// followed.
/// @return the digest; empty when the file cannot be examined
std::wstring MediaFingerprint(const std::wstring& mediaPath);

}  // namespace orlo::sonrel::detail
