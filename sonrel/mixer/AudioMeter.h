// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/base/Export.h"
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
/// Threads: one thread at a time feeds the meter with ProcessSamples. Any thread may read the
/// finished blocks, and start, stop or restart a session, meanwhile. Frames that are being fed at
/// that moment may be missing from the old session, and the new one begins with frames fed later.
class SONREL_EXPORT AudioMeter {
public:
    AudioMeter();
    ~AudioMeter();
    AudioMeter(AudioMeter&&) noexcept;             ///< takes over the session
    AudioMeter& operator=(AudioMeter&&) noexcept;  ///< takes over the session
    AudioMeter(const AudioMeter&) = delete;
    AudioMeter& operator=(const AudioMeter&) = delete;

    /// Starts a session, over a running one too: earlier blocks are dropped.
    /// @param blockFrames  sample frames in a block; below 1 nothing happens at all
    void StartMeterSession(int blockFrames);

    /// Ends the session. The frames since the last full block become one short last block.
    /// The blocks stay readable. Nothing happens without a session.
    void StopMeterSession();

    /// Drops all blocks and the open block, and continues. Nothing happens without a session.
    void Restart();

    /// Counts @p frames sample frames into the session. Nothing happens without a session.
    /// @param samples  2 * frames values, left first, full scale 1.0; null means silence, for which
    ///                 time passes all the same. A NaN leaves peak and clipping as they were
    void ProcessSamples(const float* samples, int frames);

    /// Finished blocks. The block being filled does not count.
    unsigned long long MeterBlockCount() const;

    /// A finished block.
    /// @return a reference that is valid until the next start or restart; an empty record for an
    ///         index that is not below MeterBlockCount()
    const AudioTrackMetrics& MetricsForBlock(unsigned long long index) const;

private:
    friend struct detail::AudioMeterAccess;

    std::unique_ptr<AudioMeterImpl> impl_;
};

}  // namespace orlo::sonrel
