// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/Export.h"
#include "sonrel/mixer/AudioMetrics.h"

namespace orlo::sonrel {

struct AudioMeterImpl;

namespace detail {
struct AudioMeterAccess;
}

/// Records peak and clipping of a stereo signal, block by block, over one metering session.
///
/// Blocks are cut by counted sample frames alone and are kept, in time order, until the next
/// session or restart. A moved-from meter may only be destroyed or assigned to.
///
/// Threads: one thread feeds the meter with ProcessSamples, and any thread may read the finished
/// blocks meanwhile. A session is started, stopped or restarted while nothing feeds it.
class SONREL_EXPORT AudioMeter {
public:
    AudioMeter();
    ~AudioMeter();
    AudioMeter(AudioMeter&&) noexcept;
    AudioMeter& operator=(AudioMeter&&) noexcept;
    AudioMeter(const AudioMeter&) = delete;
    AudioMeter& operator=(const AudioMeter&) = delete;

    /// Starts a session, over a running one too: earlier blocks are dropped.
    /// @param blockFrames  sample frames in a block; below 1 nothing happens at all
    void StartMeterSession(int blockFrames);

    /// Ends the session. What was gathered since the last full block becomes one short last block.
    /// The blocks stay readable. Nothing happens without a session.
    void StopMeterSession();

    /// Drops all blocks and what was gathered, and goes on. Nothing happens without a session.
    void Restart();

    /// Counts @p frames sample frames into the session. Nothing happens without one.
    /// @param samples  2 * frames values, left first, full scale 1.0; null means silence, for which
    ///                 time passes all the same. A NaN leaves peak and clipping as they were
    void ProcessSamples(const float* samples, int frames);

    /// Finished blocks; the one being filled does not count.
    unsigned long long MeterBlockCount() const;

    /// A finished block.
    /// @param index  below MeterBlockCount(); not checked
    /// @return a reference that the next finished block, start or restart may end
    const AudioTrackMetrics& MetricsForBlock(unsigned long long index) const;

private:
    friend struct detail::AudioMeterAccess;

    std::unique_ptr<AudioMeterImpl> impl_;
};

}  // namespace orlo::sonrel
