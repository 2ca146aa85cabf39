// SPDX-License-Identifier: MIT
#include "host/media/Conforming.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "host/media/CacheFileRunner.h"
#include "host/media/DatabaseErrorMessage.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "sonrel/base/Paths.h"
#include "sonrel/base/StereoFrame.h"
#include "sonrel/cache/ConformedAudioFileHelper.h"
#include "sonrel/conformed/ConformedAudioFile.h"
#include "sonrel/media/ConversionObserver.h"
#include "sonrel/media/MediaInfo.h"
#include "sonrel/media/input/MediaErrors.h"

namespace orlo::host {

namespace {

using project::MediaAsset;
using project::MediaDB;
namespace helper = sonrel::ConformedAudioFileHelper;

constexpr long long BYTES_PER_FRAME = zrtl::FRAME_BYTES;

/// The remedy for the reason why a conversion failed; empty where there is none.
std::string RemedyOf(const std::string& reason) {
    constexpr auto TOO_MANY = static_cast<int>(zrh::media::MediaError::TooManyChannels);
    if (reason != zrh::media::MediaErrorText(TOO_MANY)) return {};
    return " to be mixed down; choose some with --channels, or with metadata.sonrel.channels of a "
           "clip";
}

std::string MediaPath(const MediaAsset& asset) {
    return zrtl::ToUtf8(asset.IsMerged() ? asset.MergedAudioFilename() : asset.Filename());
}

long long NativeFrames(const ConformTask& task) {
    return std::max(0LL, task.asset->AudioStream()->NativeSampleCount());
}

/// Size of the conformed file of a task, calculated from the declared length of its stream.
long long ExpectedBytes(const ConformTask& task) {
    const auto frames = static_cast<double>(NativeFrames(task));
    const int nativeRate = task.asset->AudioStream()->NativeSampleRate();
    const double bytes =
        frames * task.rate / std::max(1, nativeRate) * static_cast<double>(BYTES_PER_FRAME);
    return static_cast<long long>(std::min(bytes, 1e18));
}

bool CanRead(const project::ConformedAudioFile& file, long long sample) {
    unsigned char frame[BYTES_PER_FRAME];
    int read = 0;
    return file.GetSamples(sample, 1, frame, sizeof(frame), &read) == 0;
}

/// The reason why a conformed file is unusable, as a clause; empty when it is usable. Reads only
/// the first and the last sample.
/// @param samples  length of the file as the asset has it
std::string ConformedFileErrorMessage(const std::string& path, int rate, long long samples) {
    const auto clause = [&](const char* otherwise) {
        return "its conformed file " + Quoted(path) +
               " cannot be read: " + (errno != 0 ? std::strerror(errno) : otherwise);
    };
    project::ConformedAudioFile file;
    errno = 0;
    if (!file.Open(WidePath(path))) return clause("it is not a complete conformed file");
    errno = 0;
    if (file.SampleRate() != rate) return clause("it has another sample rate");
    if (file.SampleCount() != samples) return clause("it could not be opened before; try again");
    if (samples == 0) return {};
    const bool canRead = CanRead(file, 0) && CanRead(file, samples - 1);
    return canRead ? std::string() : clause("it was truncated");
}

class ConformTasks final : public CacheFileTasks {
public:
    ConformTasks(const EngineSession& session, std::vector<ConformTask>& tasks, bool allCodecs)
        : session_(session), tasks_(tasks), allCodecs_(allCodecs) {}

    std::size_t Count() const override { return tasks_.size(); }

    long long Frames(std::size_t task) const override { return NativeFrames(tasks_[task]); }

    int Rate(std::size_t task) const override {
        return tasks_[task].asset->AudioStream()->NativeSampleRate();
    }

    std::string Media(std::size_t task) const override { return MediaPath(*tasks_[task].asset); }

    CacheFileAttempt Attempt(std::size_t task, bool remake,
                             const std::shared_ptr<MediaDB>& database,
                             TaskMonitor& monitor) override {
        monitor.Start(ExpectedBytes(tasks_[task]));
        const zrh::media::ConversionObserver observer(
            [&monitor](long long done, long long) { return monitor.Report(done); });
        const auto operation =
            remake ? helper::RemakeConformedAudioFile : helper::CreateConformedAudioFile;
        const std::wstring path = operation(
            tasks_[task].asset, tasks_[task].rate, session_.Engine()->MediaCacheFolderPath(),
            session_.Engine()->MediaCacheErrorLog(), database, allCodecs_);
        return {zrtl::ToUtf8(path), observer.Failure(), {}};
    }

    /// Sets the file on the asset's stream, and compares them.
    std::string Check(std::size_t task, const std::string& path, bool) override {
        const ConformTask& checked = tasks_[task];
        helper::SetAudioSamplesAvailable(checked.asset, checked.rate, WidePath(path));
        if (path.empty()) return {};
        return ConformedFileErrorMessage(path, checked.rate,
                                         checked.asset->AudioStream()->ConformedSampleCount());
    }

    std::string FailureReason(std::size_t task, const CacheFileAttempt& last) const override {
        if (last.mediaFailure.empty() && !last.databaseFailure.empty()) {
            return DatabaseErrorMessage(session_.Paths().database, last.databaseFailure,
                                        session_.Paths().databaseRemedy);
        }
        const ConformTask& failed = tasks_[task];
        std::string reason = FolderErrorMessage(session_.Paths(), ExpectedBytes(failed));
        if (!reason.empty()) return reason;
        zrh::media::MediaInfo info;
        const std::wstring media = WidePath(MediaPath(*failed.asset));
        if (zrh::media::DescribeMedia(media, &info, &reason) != 0) return reason;
        if (last.mediaFailure.empty()) return "its sound could not be converted or recorded";
        return last.mediaFailure + RemedyOf(last.mediaFailure);
    }

    std::string FailureClause(std::size_t task) const override {
        return "cannot conform " + Quoted(MediaPath(*tasks_[task].asset));
    }

    void Store(std::size_t task, const FileResult& result) override {
        tasks_[task].result = result;
    }

private:
    const EngineSession& session_;
    std::vector<ConformTask>& tasks_;
    const bool allCodecs_;
};

}  // namespace

void Conform(const EngineSession& session, std::vector<ConformTask>& tasks,
             const ConformSettings& settings, Progress& progress) {
    ConformTasks work(session, tasks, settings.allCodecs);
    CacheFileRun run;
    run.step = "conform";
    run.unfinished = "not all media files are conformed";
    run.current = settings.force ? CurrentFiles::Recreated : CurrentFiles::Kept;
    run.jobs = settings.jobs;
    RunCacheFileTasks(session, work, run, progress);
}

}  // namespace orlo::host
