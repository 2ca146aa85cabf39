// SPDX-License-Identifier: MIT
#include "host/align/Recordings.h"

#include <algorithm>
#include <optional>

#include "host/media/Conforming.h"
#include "host/media/PeakMaking.h"
#include "host/otio/TimelinePath.h"
#include "host/shell/Errors.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "host/timeline/Input.h"
#include "sonrel/base/Paths.h"
#include "sonrel/cache/WaveformPeakFileHelper.h"

namespace orlo::host {

Recordings::Recordings(const GlobalOptions& global, const std::vector<std::string>& inputs,
                       const zrh::media::SoundChoice& sound)
    : rate_(RateFor(global)), sound_(sound) {
    for (const std::string& input : inputs) {
        if (otio::IsTimelinePath(input)) {
            throw UsageError(Quoted(input) + " is a timeline; only recordings are aligned");
        }
        list_.push_back({input, AbsolutePath(input), nullptr, {}, {}});
    }
}

void Recordings::SetError(const std::string& input, const std::string& error) {
    sources_[AbsolutePath(input)].error = error;
}

void Recordings::MoveToFront(std::size_t index) {
    const auto at = list_.begin() + static_cast<std::ptrdiff_t>(index);
    std::rotate(list_.begin(), at, at + 1);
}

void Recordings::Prepare(const EngineSession& session, int jobs, Progress& progress) {
    Import();
    ConformSources(session, jobs, progress);
    PreparePeaks(session, jobs, progress);
    for (Recording& recording : list_) {
        const Source& source = sources_[recording.path];
        recording.asset = source.asset;
        recording.error = source.error;
        if (recording.error.empty()) ReadLevels(recording);
    }
}

void Recordings::Import() {
    for (const Recording& recording : list_) {
        const auto [entry, isNew] = sources_.try_emplace(recording.path);
        if (!isNew) continue;
        try {
            entry->second.asset = ImportMediaFile(project_, recording.path, sound_);
        } catch (const JobError& error) {
            entry->second.error = error.what();
        }
    }
}

std::vector<Recordings::Source*> Recordings::UsableSources() {
    std::vector<Source*> usable;
    for (auto& [path, source] : sources_) {
        if (source.error.empty()) usable.push_back(&source);
    }
    return usable;
}

void Recordings::ConformSources(const EngineSession& session, int jobs, Progress& progress) {
    const std::vector<Source*> sources = UsableSources();
    std::vector<ConformTask> tasks;
    for (const Source* source : sources) {
        ConformTask task;
        task.asset = source->asset;
        task.rate = rate_;
        tasks.push_back(task);
    }
    Conform(session, tasks, {jobs}, progress);
    for (std::size_t i = 0; i < tasks.size(); ++i) sources[i]->error = tasks[i].result.error;
}

void Recordings::PreparePeaks(const EngineSession& session, int jobs, Progress& progress) {
    const std::vector<Source*> sources = UsableSources();
    std::vector<PeakTask> tasks;
    for (const Source* source : sources) {
        PeakTask task;
        task.asset = source->asset;
        task.rate = source->asset->AudioStream()->NativeSampleRate();
        task.frames = source->asset->AudioStream()->NativeSampleCount();
        tasks.push_back(task);
    }
    FindOrMakePeakFiles(session, tasks, {jobs}, progress);
    for (std::size_t i = 0; i < tasks.size(); ++i) {
        const FileResult& result = tasks[i].result;
        sources[i]->error = result.error;
        if (result.status == FileStatus::Failed) continue;
        sonrel::WaveformPeakFileHelper::SetWaveformPreviewAvailable(tasks[i].asset,
                                                                    WidePath(result.path));
    }
}

void Recordings::ReadLevels(Recording& recording) const {
    const project::MediaAudioStream& stream = *recording.asset->AudioStream();
    const std::optional<sonrel::LevelProfile> levels = sonrel::LevelProfile::Read(stream, rate_);
    if (levels) {
        recording.levels = *levels;
    } else {
        recording.error = "cannot read the peak file " +
                          Quoted(zrtl::ToUtf8(stream.WaveformPeakFilePath())) +
                          "; run the command again, or remove the file";
    }
}

}  // namespace orlo::host
