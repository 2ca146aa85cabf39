// SPDX-License-Identifier: MIT
#include <stdlib.h>

#include <algorithm>
#include <cctype>
#include <exception>
#include <filesystem>
#include <optional>

#include "host/Commands.h"
#include "host/EngineSession.h"
#include "host/Input.h"
#include "host/Interrupt.h"
#include "host/OutputFile.h"
#include "host/Paths.h"
#include "host/Text.h"
#include "host/WaveformPicture.h"
#include "host/WaveformRuler.h"
#include "sonrel/caches/PeakFile.h"
#include "sonrel/caches/WaveformPeakFileHelper.h"
#include "sonrel/contracts/zrtl/Paths.h"
#include "sonrel/standin/media/MediaErrors.h"
#include "sonrel/standin/media/MediaInfo.h"

namespace orlo::host {

namespace {

using project::MediaAsset;
using sonrel::PeakFile;

/// A folder for one file, gone with it.
class ScratchFolder {
public:
    ScratchFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "sonrel-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            throw JobError("cannot make a folder in " +
                           Quoted(std::filesystem::temp_directory_path().string()) +
                           "; give another with TMPDIR");
        }
        path_ = pattern;
    }
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    std::string Path(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

/// The peak file of a stream: the one in the cache, found or made; without a cache one that lasts
/// as long as the object.
class StreamPeaks {
public:
    StreamPeaks(const EngineSession& session, const std::shared_ptr<MediaAsset>& asset,
                const std::string& media) {
        if (session.Places().folder.empty()) {
            scratch_.emplace();
            path_ = scratch_->Path("peaks.xwpk");
            MakeAt(asset, media);
        } else {
            FindOrMake(session, asset, media);
        }
    }

    const std::string& Path() const { return path_; }

private:
    void MakeAt(const std::shared_ptr<MediaAsset>& asset, const std::string& media) const {
        try {
            const int result = PeakFile::Create(asset, WidePath(path_), PeakFile::CreateMode::Auto);
            if (result == 0) return;
            throw JobError("cannot read the sound of " + Quoted(media) + " to the end, or write " +
                           Quoted(path_) + " (result " + std::to_string(result) + ")");
        } catch (const CommandError&) {
            throw;
        } catch (const std::exception& error) {
            throw JobError("cannot read " + Quoted(media) + ": " + error.what());
        }
    }

    void FindOrMake(const EngineSession& session, const std::shared_ptr<MediaAsset>& asset,
                    const std::string& media) {
        const std::shared_ptr<project::MediaDB> database = session.Connect();
        // Where another process records the same file first, the second question finds its file.
        for (int attempt = 0; attempt < 2 && path_.empty(); ++attempt) {
            path_ = zrtl::ToUtf8(Ask(session, asset, database));
        }
        if (!path_.empty()) return;
        const std::string trouble = FolderTrouble(session.Places().folder, 0);
        throw JobError("cannot make the peak file of " + Quoted(media) + ": " +
                       (trouble.empty() ? "its sound could not be read or recorded" : trouble));
    }

    static std::wstring Ask(const EngineSession& session, const std::shared_ptr<MediaAsset>& asset,
                            const std::shared_ptr<project::MediaDB>& database) {
        try {
            return sonrel::WaveformPeakFileHelper::CreateWaveformPeakFile(
                asset, session.Engine()->MediaCacheFolderPath(),
                session.Engine()->MediaCacheErrorLog(), database, true);
        } catch (const std::exception& error) {
            throw JobError(DatabaseTrouble(session.Places().database, error.what()));
        }
    }

    std::optional<ScratchFolder> scratch_;
    std::string path_;
};

bool IsSvg(const std::string& output) {
    std::string extension = std::filesystem::path(output).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char letter) { return std::tolower(letter); });
    return extension == ".svg";
}

/// The ruler of what a picture shows.
Ruler RulerFor(const PeakSource& source, const StreamRange& range, const WaveformOptions& options) {
    const StreamRange shown = ShownRange(source, range);
    return {RulerTicks(static_cast<double>(shown.start) / source.rate,
                       static_cast<double>(shown.end) / source.rate, options.size.width),
            options.color, options.background};
}

/// The whole output file.
std::string PictureBytes(const PeakSource& source, const StreamRange& range,
                         const WaveformOptions& options) {
    PictureSize size = options.size;
    std::optional<Ruler> ruler;
    if (options.ruler) {
        ruler = RulerFor(source, range, options);
        size.height -= RULER_HEIGHT;
    }
    QImage image = DrawWaveform(source, range, options, size);
    if (IsSvg(options.output)) {
        return SvgDocument(PngBytes(image), size.width, size.height,
                           std::filesystem::path(source.media).filename().string(),
                           ruler ? &*ruler : nullptr);
    }
    if (ruler) image = AddRuler(image, *ruler);
    return PngBytes(image);
}

void CheckOptions(const WaveformOptions& options) {
    if (otio::IsTimelinePath(options.input)) {
        throw UsageError("waveform draws a media file, and " + Quoted(options.input) +
                         " is a timeline; mix it and draw the mix");
    }
    if (options.ruler && options.size.height <= RULER_HEIGHT) {
        throw UsageError("--ruler takes " + std::to_string(RULER_HEIGHT) +
                         " rows and leaves none for the waveform; make --size higher");
    }
    RequireOtherFile(options.output, options.input);
}

}  // namespace

Outcome RunWaveform(const GlobalOptions& global, const WaveformOptions& options) {
    CheckOptions(options);
    const std::string media = AbsolutePath(options.input);
    project::Project project;
    const std::shared_ptr<MediaAsset> asset = ImportMediaFile(project, media, 0);
    const project::MediaAudioStream& stream = *asset->AudioStream();
    const int rate = stream.NativeSampleRate();
    const long long samples = stream.NativeSampleCount();
    if (samples < 1) throw JobError("the sound of " + Quoted(media) + " has no length");
    const StreamRange range = ParseStreamRange(options.range, rate, samples);

    OutputFile output(options.output);
    const EngineSession session(global);
    const StreamPeaks peaks(session, asset, media);
    const PeakSource source = OpenPeakSource(media, peaks.Path(), rate, samples);
    output.Write(PictureBytes(source, range, options));
    if (Interrupted()) ThrowInterrupted("nothing was written to " + Quoted(options.output));
    output.Commit();

    Outcome outcome;
    outcome.report["output"] = options.output;
    outcome.report["width"] = options.size.width;
    outcome.report["height"] = options.size.height;
    outcome.report["rate"] = rate;
    outcome.report["channels"] = source.channels;
    outcome.report["range"] = {range.start, range.end};
    outcome.text = OneLine(options.output) + ": " + std::to_string(options.size.width) + " x " +
                   std::to_string(options.size.height) + " pixels, " +
                   FormatDuration(static_cast<double>(range.start) / rate) + " to " +
                   FormatDuration(static_cast<double>(range.end) / rate) + "\n";
    return outcome;
}

}  // namespace orlo::host
