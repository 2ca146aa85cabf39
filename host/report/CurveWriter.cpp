// SPDX-License-Identifier: MIT
#include "host/report/CurveWriter.h"

#include <algorithm>
#include <cmath>

#include "host/report/LaneWriter.h"
#include "host/shell/Markup.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

using Levels = std::vector<std::optional<double>>;

/// The range of a curve, in dB or LUFS.
struct Scale {
    double top = 0.0;
    double bottom = 0.0;
    std::vector<int> lines;

    double Height() const { return top - bottom; }
    double Of(const std::optional<double>& level) const {
        return top - std::clamp(level.value_or(bottom), bottom, top);
    }
};

const Scale PEAK_SCALE{6.0, -60.0, {0, -12, -24, -36, -48}};
const Scale LOUDNESS_SCALE{0.0, -60.0, {-10, -20, -30, -40, -50}};

std::string Number(double value) {
    return FormatNumber(value, 1);
}

/// Opens a row: its name, the numbers of its lines, and a picture of @p width units.
std::string BeginRow(const char* name, const char* unit, const Scale& scale, double width) {
    std::string html = R"(<div class="row curve"><div class="head"><b>)" + std::string(name) +
                       "</b><span>" + unit + "</span>";
    std::string grid;
    for (const int line : scale.lines) {
        const double y = scale.Of(line);
        html += R"(<i style="top:)" + Percent(y, scale.Height()) + R"(">)" + std::to_string(line) +
                "</i>";
        grid += "M0 " + Number(y) + "H" + Number(width);
    }
    return html + R"(</div><div class="lane"><svg viewBox="0 0 )" + Number(width) + ' ' +
           Number(scale.Height()) + R"(" preserveAspectRatio="none"><path class="grid" d=")" +
           grid + R"("/>)";
}

/// The area below the levels: a step for each.
std::string PeakPath(const Levels& levels) {
    std::string path = "M0 " + Number(PEAK_SCALE.Height());
    for (std::size_t i = 0; i < levels.size(); ++i) {
        path += "V" + Number(PEAK_SCALE.Of(levels[i])) + "H" + std::to_string(i + 1);
    }
    return path + "V" + Number(PEAK_SCALE.Height()) + "z";
}

/// A line through the levels, each at the end of its step. A step without a level is a gap.
std::string LoudnessPath(const Levels& levels) {
    std::string path;
    bool isGap = true;
    for (std::size_t i = 0; i < levels.size(); ++i) {
        if (levels[i]) {
            path += (isGap ? 'M' : 'L') + std::to_string(i + 1) + ' ' +
                    Number(LOUDNESS_SCALE.Of(levels[i]));
        }
        isGap = !levels[i];
    }
    return path;
}

std::string MarksOf(const ReportPage& page) {
    std::string html;
    for (const PageClipMark& mark : page.clipMarks) {
        html += R"(<i class="over" style="left:)" + Percent(mark.start, page.duration) +
                ";width:" + Percent(mark.end - mark.start, page.duration) + R"(" title=")" +
                XmlText(mark.text) + R"("></i>)";
    }
    return html;
}

std::string PathOf(const char* kind, const std::string& data) {
    return R"(<path class=")" + std::string(kind) + R"(" d=")" + data + R"("/>)";
}

std::string TenthsOf(const Levels& levels) {
    std::string list;
    for (const std::optional<double>& level : levels) {
        if (!list.empty()) list += ',';
        list += level ? std::to_string(std::lround(10.0 * *level)) : "null";
    }
    return '[' + list + ']';
}

}  // namespace

std::string CurveRows(const ReportPage& page) {
    const PageCurves& curves = page.curves;
    const double width = page.duration / curves.step;
    std::string mean;
    if (curves.integrated) {
        mean = PathOf("mean",
                      "M0 " + Number(LOUDNESS_SCALE.Of(curves.integrated)) + "H" + Number(width));
    }
    return BeginRow("Master peak", "dB", PEAK_SCALE, width) +
           PathOf("peak", PeakPath(curves.peaks)) + "</svg>" + MarksOf(page) + "</div></div>\n" +
           BeginRow("Loudness", "short-term, LUFS", LOUDNESS_SCALE, width) +
           PathOf("loud", LoudnessPath(curves.shortTerm)) + mean + "</svg></div></div>\n";
}

std::string CurveData(const PageCurves& curves) {
    return R"({"step":)" + FormatNumber(curves.step, 6) + R"(,"peak":)" + TenthsOf(curves.peaks) +
           R"(,"loudness":)" + TenthsOf(curves.shortTerm) + "}";
}

}  // namespace orlo::host
