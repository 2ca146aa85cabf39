// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace zrh::media::detail {

/// Whether a conversion takes long enough for threads: at least ten seconds of sound, and more than
/// one core.
/// @param frames  of the source
/// @param rate    of the source, hertz
bool IsWorthThreads(std::int64_t frames, int rate);

/// A share of the threads that decode sound in this process. All shares together have at most as
/// many threads as the process has cores, so that conversions that run at the same time do not
/// start more and more threads. With one core no share has a thread.
///
/// Threads: any.
class DecoderThreads {
public:
    /// @param wanted  threads at most; 0 or more
    explicit DecoderThreads(int wanted);
    ~DecoderThreads();
    DecoderThreads(const DecoderThreads&) = delete;
    DecoderThreads& operator=(const DecoderThreads&) = delete;

    /// The threads of this share.
    int Count() const { return count_; }

private:
    int count_;
};

}  // namespace zrh::media::detail
