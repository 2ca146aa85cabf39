// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "host/arrangement/TimelineImport.h"
#include "host/options/DitherChoice.h"
#include "host/options/GlobalOptions.h"
#include "host/shell/Progress.h"
#include "host/timeline/Input.h"
#include "host/timeline/Positions.h"
#include "python/module/Session.h"
#include "sonrel/base/FrameRange.h"
#include "sonrel/project/Project.h"

namespace orlo::python {

/// Values of a sample: left and right.
inline constexpr std::size_t CHANNELS = 2;

/// A clip that Python code adds to a project.
struct NewClip {
    std::string media;
    zrh::media::SoundChoice sound;
    std::string name;
    int startFrame = 0;
    int frameCount = 0;
    int sourceStartFrame = 0;
    std::optional<float> gainDb;
};

/// The meter blocks of one signal, left and right of each block next to each other.
struct SignalLevels {
    std::string name;
    std::vector<float> peaks;
    std::vector<unsigned char> clipped;
};

/// The levels of a mixed range.
struct Levels {
    zrtl::FrameRange span;
    int rate = 0;
    int blockFrames = 0;
    std::vector<SignalLevels> tracks;
    SignalLevels master;
    std::optional<double> loudness;  ///< LUFS
    std::optional<double> truePeak;  ///< dBTP
};

struct NoiseChoice {
    host::DitherChoice dither = host::DitherChoice::HighPass;
    unsigned int seed = 1;
};

/// A timeline that was read or built, and its mix.
///
/// Threads: any, with the interpreter lock; Prepare, Mix and Measure without it, on one thread at a
/// time. An edit during these operations is refused.
class Project {
public:
    /// Reads a timeline and opens its media files.
    /// @throws CommandError
    static std::shared_ptr<Project> Read(const std::shared_ptr<Session>& session,
                                         const std::string& path,
                                         const host::GlobalOptions& options,
                                         const host::ReadingChoice& choice);
    /// An empty project.
    /// @throws UsageError for rates that cannot be combined
    Project(std::shared_ptr<Session> session, double fps, int rate);

    Project(std::shared_ptr<Session> session, std::string path, host::otio::TimelineImport import,
            bool allowMissing);
    Project(const Project&) = delete;
    Project& operator=(const Project&) = delete;

    const std::shared_ptr<Session>& GetSession() const { return session_; }
    /// Makes Close close the session.
    void OwnSession() { ownsSession_ = true; }
    /// Closes the session of this project only. Call without the interpreter lock.
    void Close() {
        if (ownsSession_) session_->Close();
    }
    const std::string& Name() const { return import_.name; }
    const host::otio::Arrangement& Arrangement() const { return import_.arrangement; }
    const host::FrameGrid& Grid() const { return grid_; }
    /// Length in samples.
    long long SampleCount() const;
    /// The media files of all clips, each once.
    std::vector<std::string> Media() const;
    /// The parts of the timeline that the mix leaves out or changes. After Prepare, and while no
    /// operation runs, also the clips that are longer than their media files.
    std::vector<host::otio::ImportReport::Entry> Report() const;

    // Edits.

    /// @return the number of the track
    std::size_t AddTrack(const std::string& name, std::optional<float> gainDb);
    /// @throws UsageError for a range that is empty or overlaps a clip of the track
    void AddClip(std::size_t track, const NewClip& clip);
    void SetMuted(std::size_t track, bool muted);

    // Work without the interpreter lock.

    /// Opens and conforms the media files and builds the tracks, where it was not done before.
    void Prepare(const Session::Use& use, host::Progress& progress);
    /// Mixes a range into an array.
    /// @param samples  2 * span.Count() values
    void Mix(const Session::Use& use, const zrtl::FrameRange& span, const NoiseChoice& noise,
             short* samples, host::Progress& progress);
    /// Mixes a range and returns its levels.
    /// @param samples  as in Mix; null when the samples are not needed
    Levels Measure(const Session::Use& use, const zrtl::FrameRange& span, const NoiseChoice& noise,
                   short* samples, host::Progress& progress);

private:
    /// The project of the engine.
    struct Built {
        std::shared_ptr<project::Project> project = std::make_shared<project::Project>();
        std::vector<host::MediaUse> media;
        host::otio::ImportReport report;
    };

    using AfterBlock = std::function<void(const short* samples, int count)>;

    std::unique_lock<std::mutex> LockForEdit();
    host::otio::PlacedTrack& TrackAt(std::size_t track);
    void OpenMedia();
    void MakeReady(const Session::Use& use, host::Progress& progress);
    void StartMix(const Session::Use& use, const NoiseChoice& noise) const;
    void MixBlocks(const Session::Use& use, const zrtl::FrameRange& span, short* samples,
                   const AfterBlock& afterBlock, host::Progress& progress) const;
    Levels CollectLevels(const Session::Use& use, const zrtl::FrameRange& span) const;

    const std::shared_ptr<Session> session_;
    const std::string path_;
    const bool allowMissing_ = false;
    bool ownsSession_ = false;
    host::otio::TimelineImport import_;  // changed by edits only
    host::FrameGrid grid_;
    mutable std::mutex mutex_;  // held by edits, and by work without the interpreter lock
    std::unique_ptr<ProcessOwned<Built>> built_;  // guarded by mutex_; empty after an edit
    bool isReady_ = false;                        // guarded by mutex_
};

}  // namespace orlo::python
