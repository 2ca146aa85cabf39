// SPDX-License-Identifier: MIT
#include "host/waveform/WaveformCommand.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

#include "host/media/EngineSession.h"
#include "host/media/InputProtection.h"
#include "host/media/PeakMaking.h"
#include "host/otio/TimelinePath.h"
#include "host/output/OutputFile.h"
#include "host/output/OutputName.h"
#include "host/shell/Interrupt.h"
#include "host/shell/Paths.h"
#include "host/shell/Progress.h"
#include "host/shell/Text.h"
#include "host/waveform/WaveformPicture.h"
#include "host/waveform/WaveformRuler.h"

namespace orlo::host {

namespace {

/// The peak file of a stream: found or made in the cache; without a cache an unnamed file with the
/// lifetime of this object.
class StreamPeaks {
public:
    /// @param picture  the output file, for messages
    StreamPeaks(const EngineSession& session, const PeakTask& task, const std::string& picture,
                Progress& progress) {
        if (session.Paths().folder.empty()) {
            const std::string name =
                (std::filesystem::temp_directory_path() / "sonrel.xwpk").string();
            scratch_.emplace(name, name);
            WritePeakFile(task, *scratch_, PeakMode::Auto, picture, progress);
            path_ = scratch_->OpenPath();
            return;
        }
        std::vector<PeakTask> tasks{task};
        FindOrMakePeakFiles(session, tasks, progress);
        const FileResult& result = tasks.front().result;
        if (result.status == FileStatus::Failed) throw JobError(result.error);
        path_ = result.path;
    }

    const std::string& Path() const { return path_; }
    /// Like PartialFile::TemporaryName.
    std::string TemporaryName() const {
        return scratch_ ? scratch_->TemporaryName() : std::string();
    }

private:
    std::optional<PartialFile> scratch_;
    std::string path_;
};

bool IsSvg(const std::string& output) {
    return ExtensionOf(output) == ".svg";
}

/// The ruler for the visible range of a picture.
Ruler RulerFor(const PeakSource& source, const zrtl::FrameRange& range,
               const WaveformOptions& options) {
    const zrtl::FrameRange shown = ShownRange(source, range);
    return {RulerTicks(static_cast<double>(shown.start) / source.rate,
                       static_cast<double>(shown.end) / source.rate, options.size.width),
            options.color, options.background};
}

/// The bytes of the output file.
std::string PictureBytes(const PeakSource& source, const zrtl::FrameRange& range,
                         const WaveformOptions& options) {
    PictureSize size = options.size;
    std::optional<Ruler> ruler;
    if (options.ruler) {
        ruler = RulerFor(source, range, options);
        size.height -= RULER_HEIGHT;
    }
    Picture image = DrawWaveform(source, range, options, size);
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
        throw UsageError("--ruler needs " + std::to_string(RULER_HEIGHT) +
                         " rows and leaves none for the waveform; choose a larger --size");
    }
}

}  // namespace

Outcome RunWaveform(const GlobalOptions& global, const WaveformOptions& options) {
    CheckOptions(options);
    CheckSound(options.sound, {options.input});
    OutputGuard guard(options.overwrite);
    ProtectCache(global, guard);
    ProtectMediaInput(options.input, guard);
    guard.Claim(options.output);
    RequireExtension(options.output, {".png", ".svg"});
    const std::string media = AbsolutePath(options.input);
    // The asset does not own its manager.
    const auto manager = std::make_shared<project::MediaManager>();
    const PeakTask task = PeakTaskFor(manager, media, options.sound.Choice());

    OutputFile output(options.output, guard);
    const EngineSession session(global);
    Progress progress(global.progress, global.quiet);
    const StreamPeaks peaks(session, task, options.output, progress);
    const PeakSource source = OpenPeakSource(media, peaks.Path(), task.rate, task.frames);
    const zrtl::FrameRange range = ParseStreamRange(options.range, source.rate, source.samples);
    std::string picture;
    {
        // A large picture takes seconds in calls that cannot be interrupted.
        const EndOnInterrupt endable("nothing was written to " + Quoted(options.output),
                                     global.json, {output.TemporaryName(), peaks.TemporaryName()});
        picture = PictureBytes(source, range, options);
    }
    output.Write(picture);
    if (Interrupted()) ThrowInterrupted("nothing was written to " + Quoted(options.output));
    output.Commit();

    Outcome outcome;
    outcome.report["output"] = options.output;
    outcome.report["width"] = options.size.width;
    outcome.report["height"] = options.size.height;
    outcome.report["rate"] = source.rate;
    outcome.report["channels"] = source.channels;
    outcome.report["range"] = Json::Array({range.start, range.end});
    outcome.text = OneLine(options.output) + ": " + std::to_string(options.size.width) + " x " +
                   std::to_string(options.size.height) + " pixels, " +
                   FormatDuration(static_cast<double>(range.start) / source.rate) + " to " +
                   FormatDuration(static_cast<double>(range.end) / source.rate) + "\n";
    return outcome;
}

}  // namespace orlo::host
