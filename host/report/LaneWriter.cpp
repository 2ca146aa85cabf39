// SPDX-License-Identifier: MIT
#include "host/report/LaneWriter.h"

#include "host/report/WavePath.h"
#include "host/shell/Markup.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

/// A stretch of the page.
struct Extent {
    double start = 0.0;
    double end = 0.0;

    double Length() const { return end - start; }
};

/// Lines for a tooltip.
std::string TitleOf(const std::string& name, const std::vector<std::string>& details) {
    std::string title = XmlText(name);
    for (const std::string& line : details) title += (title.empty() ? "" : "&#10;") + XmlText(line);
    return title;
}

std::string PositionOf(double start, double end, const Extent& parent) {
    return R"( style="left:)" + Percent(start - parent.start, parent.Length()) +
           ";width:" + Percent(end - start, parent.Length()) + '"';
}

std::string ClassesOf(const PageClip& clip) {
    std::string classes = "clip";
    if (clip.isNested) classes += " nested";
    if (clip.muted) classes += " muted";
    if (clip.missing) classes += " missing";
    if (clip.soundless) classes += " soundless";
    return classes;
}

/// The name on a clip, after its state.
std::string LabelOf(const PageClip& clip) {
    std::string label;
    if (clip.missing) label = "missing: ";
    if (clip.soundless) label = "no sound: ";
    if (clip.muted) label += "muted: ";
    return label + clip.name;
}

std::string WaveOf(const Envelope& wave) {
    if (wave.high.empty()) return {};
    return R"(<svg viewBox="0 0 )" + std::to_string(wave.high.size()) + ' ' +
           std::to_string(WAVE_HEIGHT) + R"(" preserveAspectRatio="none"><path d=")" +
           WavePath(wave) + R"("/></svg>)";
}

std::string FadeOf(const char* side, double seconds, const PageClip& clip) {
    if (seconds <= 0.0) return {};
    return R"(<i class="fade )" + std::string(side) + ' ' + XmlText(clip.fades.curve) +
           R"(" style="width:)" + Percent(seconds, clip.end - clip.start) + R"("></i>)";
}

std::string LaneOf(const PageLane& lane, const Extent& extent);

std::string InnerOf(const PageClip& clip) {
    if (!clip.isNested) return {};
    std::string inner = R"(<div class="inner">)";
    for (const PageLane& lane : clip.lanes) inner += LaneOf(lane, {clip.start, clip.end});
    return inner + "</div>";
}

std::string ClipOf(const PageClip& clip, const Extent& extent) {
    return R"(<div class=")" + ClassesOf(clip) + R"(" id=")" + clip.id + '"' +
           PositionOf(clip.start, clip.end, extent) + R"( title=")" +
           TitleOf(clip.name, clip.details) + R"(">)" + WaveOf(clip.wave) + InnerOf(clip) +
           FadeOf("in", clip.fades.inFrames, clip) + FadeOf("out", clip.fades.outFrames, clip) +
           "<span>" + XmlText(LabelOf(clip)) + "</span></div>\n";
}

std::string LaneOf(const PageLane& lane, const Extent& extent) {
    std::string html =
        std::string(R"(<div class="lane)") + (lane.silent ? " silent" : "") + R"(">)";
    for (const PageClip& clip : lane.clips) html += ClipOf(clip, extent);
    for (const PageTransition& transition : lane.transitions) {
        html += R"(<div class="cross" id=")" + transition.id + '"' +
                PositionOf(transition.start, transition.end, extent) + R"( title=")" +
                TitleOf({}, transition.details) + R"("></div>)";
    }
    return html + "</div>";
}

}  // namespace

std::string Percent(double part, double whole) {
    return FormatNumber(whole > 0.0 ? 100.0 * part / whole : 0.0, 5) + "%";
}

std::string LaneRow(const PageLane& lane, double duration) {
    const bool isBare = lane.clips.empty() && lane.transitions.empty();
    std::string marks;
    for (const std::string& mark : lane.marks) marks += "<span>" + XmlText(mark) + "</span>";
    const std::string head = R"(<div class="head" title=")" + TitleOf(lane.name, lane.marks) +
                             R"("><b>)" + XmlText(lane.name) + "</b>";
    // An empty lane has room for the marks, and its head has one line.
    return R"(<div class="row track)" + std::string(isBare ? " bare" : "") + R"(" id=")" + lane.id +
           R"(">)" + head +
           (isBare ? R"(</div><div class="lane">)" + marks + "</div>"
                   : marks + "</div>" + LaneOf(lane, {0.0, duration})) +
           "</div>\n";
}

}  // namespace orlo::host
