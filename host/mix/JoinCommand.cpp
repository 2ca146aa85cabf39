// SPDX-License-Identifier: MIT
#include "host/mix/JoinCommand.h"

#include <optional>

#include "host/measure/Loudness.h"
#include "host/media/InputProtection.h"
#include "host/mix/MixRender.h"
#include "host/mix/MixReport.h"
#include "host/mix/MixSummary.h"
#include "host/mix/PartSet.h"
#include "host/output/OutputFile.h"
#include "host/output/OutputName.h"
#include "host/output/SoundFormat.h"
#include "host/shell/Interrupt.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

/// Passes on the samples of a part in the blocks of its mix.
void Copy(PartReader& part, const MixBlocks& blocks, MixSink& sink, Progress& progress) {
    for (long long i = blocks.PartStart(); i < blocks.PartEnd(); ++i) {
        if (Interrupted()) ThrowInterrupted("nothing was written");
        const BlockRange block = blocks[i];
        part.Read(sink.Next(block.count), block.count);
        progress.Update(blocks.Start(i + 1) - blocks.Start(0));
    }
    part.RequireChecksum();
}

/// Joins the parts of a mix into one file.
class Join {
public:
    Join(const GlobalOptions& global, const JoinOptions& options)
        : global_(global),
          options_(options),
          guard_(options.overwrite),
          progress_(global.progress, global.quiet) {}

    Outcome Run() {
        ClaimOutputs();
        parts_.emplace(options_.parts);
        meterBlocks_ = parts_->Meters();
        Write();
        return Report();
    }

private:
    void ClaimOutputs() {
        ProtectCache(global_, guard_);
        for (const std::string& part : options_.parts) guard_.Protect(part, "a part");
        guard_.Claim(options_.output);
        RequireExtension(options_.output, SoundExtensions());
        if (!options_.meters.empty()) guard_.Claim(options_.meters);
    }

    MeterBlocks Blocks() const {
        return {meterBlocks_.size(), [this](unsigned long long index) {
                    return meterBlocks_[static_cast<std::size_t>(index)];
                }};
    }

    void Write() {
        const long long samples = parts_->Span().Count();
        const auto writer = OpenSoundWriter(options_.output, guard_, parts_->Grid().rate, samples);
        std::optional<OutputFile> meters;
        if (!options_.meters.empty()) meters.emplace(options_.meters, guard_);
        loudness_.emplace(parts_->Grid().rate);
        MixSink sink(writer.get(), &*loudness_);
        progress_.SetFile(options_.output);
        progress_.Begin("join", "samples", samples, parts_->Grid().rate);
        for (std::size_t i = 0; i < parts_->Parts().size(); ++i) {
            Copy(*parts_->Parts()[i], parts_->BlocksOfPart(i), sink, progress_);
        }
        sink.Flush();
        progress_.End();
        if (meters) {
            Json document = MetersJson(Blocks(), parts_->TrackNames(), parts_->Grid().rate,
                                       parts_->MeterBlockFrames(), parts_->Span().start);
            document["loudness"] = LoudnessBlocksJson(*loudness_);
            meters->Write(document.ToLine() + "\n");
        }
        writer->Seal();
        if (meters) meters->Seal();
        writer->Finish();
        if (meters) meters->Commit();
    }

    Outcome Report() const {
        const MeterSummary meters = Summarize(Blocks(), parts_->TrackNames(), parts_->Span().start);
        const FrameGrid& grid = parts_->Grid();
        const long long samples = parts_->Span().Count();
        Summary summary;
        SummarizeMix(samples, *loudness_, &meters, grid, summary);
        Outcome outcome;
        outcome.report["output"] = options_.output;
        outcome.report["parts"] = options_.parts;
        outcome.report["rate"] = grid.rate;
        outcome.report["fps"] = grid.fps;
        outcome.report["grid"] = grid.factor;
        outcome.report["samples"] = samples;
        outcome.report["tracks"] = Json::Array();
        for (const SignalSummary& track : meters.tracks) {
            outcome.report["tracks"].Append(SignalJson(track, grid));
        }
        outcome.report["master"] = SignalJson(meters.master, grid);
        outcome.report["loudness"] = LoudnessJson(*loudness_);
        outcome.text = HeadText(options_.output, grid, samples) + MetersText(meters, grid) +
                       LoudnessText(*loudness_) + summary.Text();
        if (options_.failOnClip) FailOnClip(options_.output, meters, grid, outcome);
        return outcome;
    }

    const GlobalOptions& global_;
    const JoinOptions& options_;
    OutputGuard guard_;
    Progress progress_;
    std::optional<PartSet> parts_;
    std::vector<sonrel::AudioMetrics> meterBlocks_;
    std::optional<LoudnessMeter> loudness_;
};

}  // namespace

Outcome RunJoin(const GlobalOptions& global, const JoinOptions& options) {
    return Join(global, options).Run();
}

}  // namespace orlo::host
