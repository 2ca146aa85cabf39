// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <string>

#include "host/align/AlignmentReport.h"
#include "host/align/AlignmentSvg.h"
#include "host/shell/Text.h"
#include "sonrel/base/StereoFrame.h"
#include "sonrel/mixer/AudioMixer.h"

namespace orlo::host {

namespace {

FrameRange Moved(const FrameRange& range, long long frames) {
    return {range.start + frames, range.end + frames};
}

std::string TitleOf(const RecordingPair& pair, const AlignmentResult& result) {
    const Measure& refined = result.found.refined;
    return "offset " + std::to_string(refined.offset) + " sample frames (" +
           FormatNumber(static_cast<double>(refined.offset) / pair.Rate(), 6) +
           " s), correlation " + FormatNumber(refined.correlation, 3) + ", " +
           VerdictName(result.verdict);
}

PlottedRecording PlottedFrom(const Recording& recording, long long start) {
    return {std::filesystem::path(recording.input).filename().string(),
            {start, start + recording.Frames()},
            [&recording](long long from, long long to) { return recording.levels.Peak(from, to); }};
}

/// Reads the conformed samples of a recording.
ReadFrames ReaderOf(const RecordingPair& pair, const Recording& recording) {
    return [&pair, &recording](long long start, int count, short* frames) {
        const int bytes = count * zrtl::FRAME_BYTES;
        const int read = pair.Engine()->Mixer()->GetSamples(
            recording.asset, start, count, reinterpret_cast<unsigned char*>(frames), bytes);
        std::fill(frames + 2 * static_cast<std::ptrdiff_t>(std::max(read, 0)),
                  frames + 2 * static_cast<std::ptrdiff_t>(count), short{0});
    };
}

PlottedPlace PlottedFrom(const Measure& place, const RecordingPair& pair,
                         const AlignmentResult& result) {
    const Measure& whole = result.found.refined;
    return {Moved(place.place, whole.offset), place.offset,
            static_cast<double>(place.offset - whole.offset), place.correlation,
            Agrees(place, whole, pair.Rate())};
}

}  // namespace

std::string AlignmentPlot(const RecordingPair& pair, const AlignmentResult& result) {
    const long long offset = result.found.refined.offset;
    PlottedAlignment plot;
    plot.rate = pair.Rate();
    plot.title = TitleOf(pair, result);
    plot.a = PlottedFrom(pair.A(), 0);
    plot.b = PlottedFrom(pair.B(), offset);
    plot.overlap = Moved(pair.OverlapAt(offset), offset);
    plot.segmentsAreInA = result.referenceIsA;
    for (const FrameRange& segment : result.found.segments) {
        plot.segments.push_back(Moved(segment, result.referenceIsA ? 0 : offset));
    }
    for (const Measure& place : result.found.places) {
        plot.places.push_back(PlottedFrom(place, pair, result));
    }
    plot.drift = result.drift;
    plot.offset = offset;
    plot.difference = [&](const std::vector<long long>& bounds) {
        return MeasureDifference(ReaderOf(pair, pair.A()), ReaderOf(pair, pair.B()), offset,
                                 bounds);
    };
    return AlignmentSvg(plot);
}

}  // namespace orlo::host
