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
#include "host/timeline/MediaCatalog.h"
#include "host/waveform/ClippedStretches.h"
#include "host/waveform/FramePicture.h"
#include "host/waveform/PicturePainter.h"
#include "host/waveform/SoundInfo.h"
#include "host/waveform/StreamReader.h"
#include "host/waveform/WaveformPicture.h"

namespace orlo::host {

namespace {

using zrh::media::SoundChoice;

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
        FindOrMakePeakFiles(session, tasks, {}, progress);
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

SoundChoice SoundOf(const PeakTask& task) {
    return SoundChoice::FromNumber(task.asset->AudioStreamIndex());
}

bool IsSvg(const std::string& output) {
    return ExtensionOf(output) == ".svg";
}

/// A picture while it is drawn.
class PictureMaker {
public:
    PictureMaker(const GlobalOptions& global, const WaveformOptions& options,
                 const PeakSource& source, const SoundChoice& sound, const zrtl::FrameRange& range)
        : global_(global),
          options_(options),
          source_(source),
          sound_(sound),
          range_(range),
          colors_(ResolveColors(options.colors, options.background)) {}

    /// The bytes of the output file.
    std::string Make() {
        const bool isSvg = IsSvg(options_.output);
        if (HasLabels(options_) && !isSvg) OpenFont();
        const TextWidth widthOf = [this](const std::string& text) {
            return font_ == nullptr ? NominalWidth(text) : font_->WidthOf(text);
        };
        Describe();
        ReadSound(PlaceWaveform(options_, content_, widthOf).width);
        const Frame frame = LayOutFrame(options_, colors_, content_, widthOf);
        const Picture waveform = Draw({frame.waveform.width, frame.waveform.height});
        if (isSvg) {
            return SvgDocument(PngBytes(waveform), frame,
                               std::filesystem::path(source_.media).filename().string());
        }
        if (!HasFrame(options_)) return PngBytes(waveform);
        return PngBytes(AddFrame(waveform, frame, font_.get()));
    }

    /// Number of clipped stretches.
    long long Clips() const { return CountStretches(content_.clipped); }
    /// Clauses about missing parts of the picture; empty when nothing is missing.
    const std::string& Note() const { return note_; }

private:
    void OpenFont() {
        font_ = FindLabelFont(options_.font, FindPicturePainter().openFont);
        if (font_ != nullptr) return;
        AddNote(
            "the picture has no labels, because no font was found; install one, on Debian with "
            "the package fonts-dejavu-core, or choose one with --font");
    }

    void AddNote(const std::string& clause) { note_ += (note_.empty() ? "" : "; ") + clause; }

    void Describe() {
        content_.rate = source_.rate;
        content_.channels = source_.channels;
        if (!options_.names && !options_.timecode) return;
        MediaCatalog catalog;
        const zrh::media::MediaInfo& info = catalog.Describe(source_.media).info;
        content_.names = NamesOfSound(info, sound_, source_.channels);
        std::string problem;
        if (options_.timecode) content_.clock = ClockOfMedia(info, global_, problem);
        if (!problem.empty()) AddNote("the ruler counts from 0, because " + problem);
    }

    /// @param width  of the waveform
    void ReadSound(int width) {
        drawsSamples_ = options_.samples && IsStretched(source_, range_, width);
        content_.shown = drawsSamples_ ? range_ : ShownRange(source_, range_);
        if (drawsSamples_) samples_ = ReadStreamSamples(source_.media, sound_, range_);
        if (!options_.clips) return;
        content_.clipped = drawsSamples_ ? ClippedSamples(samples_, range_.start)
                                         : ClippedBlocks(source_, content_.shown);
    }

    Picture Draw(const PictureSize& size) const {
        return drawsSamples_ ? DrawSamplePicture(samples_, options_, colors_, size)
                             : DrawWaveform(source_, range_, options_, colors_, size);
    }

    const GlobalOptions& global_;
    const WaveformOptions& options_;
    const PeakSource& source_;
    const SoundChoice sound_;
    const zrtl::FrameRange range_;
    const PictureColors colors_;
    bool drawsSamples_ = false;
    StreamSamples samples_;
    FrameContent content_;
    std::unique_ptr<LabelFont> font_;
    std::string note_;
};

void CheckOptions(const WaveformOptions& options) {
    if (otio::IsTimelinePath(options.input)) {
        throw UsageError("waveform draws a media file, and " + Quoted(options.input) +
                         " is a timeline; mix it and draw the mix");
    }
    if (options.ruler && options.size.height <= RULER_HEIGHT) {
        throw UsageError("--ruler needs " + std::to_string(RULER_HEIGHT) +
                         " rows and leaves none for the waveform; choose a larger --size");
    }
    const bool isEnvelope = options.style == sonrel::WaveformPreview::Style::RMSEnvelope;
    if (isEnvelope && (options.names || options.samples)) {
        throw UsageError(std::string(options.names ? "--names" : "--samples") +
                         " needs a picture of channels; add --style lanes or overlaid");
    }
}

void ClaimOutput(const GlobalOptions& global, const WaveformOptions& options, OutputGuard& guard) {
    ProtectCache(global, guard);
    ProtectMediaInput(options.input, guard);
    if (!options.font.empty()) guard.Protect(options.font, "the font of the labels");
    guard.Claim(options.output);
    RequireExtension(options.output, {".png", ".svg"});
}

Outcome ReportPicture(const WaveformOptions& options, const PeakSource& source,
                      const zrtl::FrameRange& range, const PictureMaker& maker) {
    Outcome outcome;
    outcome.report["output"] = options.output;
    outcome.report["width"] = options.size.width;
    outcome.report["height"] = options.size.height;
    outcome.report["rate"] = source.rate;
    outcome.report["channels"] = source.channels;
    outcome.report["range"] = Json::Array({range.start, range.end});
    if (options.clips) outcome.report["clips"] = maker.Clips();
    if (!maker.Note().empty()) outcome.report["note"] = maker.Note();
    outcome.text = OneLine(options.output) + ": " + std::to_string(options.size.width) + " x " +
                   std::to_string(options.size.height) + " pixels, " +
                   FormatDuration(static_cast<double>(range.start) / source.rate) + " to " +
                   FormatDuration(static_cast<double>(range.end) / source.rate) +
                   (options.clips ? ", " + std::to_string(maker.Clips()) + " clipped" : "") + "\n";
    if (!maker.Note().empty()) outcome.text += "note: " + maker.Note() + "\n";
    return outcome;
}

}  // namespace

Outcome RunWaveform(const GlobalOptions& global, const WaveformOptions& options) {
    CheckOptions(options);
    CheckSound(options.sound, {options.input});
    OutputGuard guard(options.overwrite);
    ClaimOutput(global, options, guard);
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
    PictureMaker maker(global, options, source, SoundOf(task), range);
    std::string picture;
    {
        // A large picture takes seconds in calls that cannot be interrupted.
        const EndOnInterrupt endable("nothing was written to " + Quoted(options.output),
                                     global.json, {output.TemporaryName(), peaks.TemporaryName()});
        picture = maker.Make();
    }
    output.Write(picture);
    if (Interrupted()) ThrowInterrupted("nothing was written to " + Quoted(options.output));
    output.Commit();
    return ReportPicture(options, source, range, maker);
}

}  // namespace orlo::host
