// SPDX-License-Identifier: MIT
#include "host/report/PageWriter.h"

#include <cmath>

#include "host/report/CurveWriter.h"
#include "host/report/LaneWriter.h"
#include "host/report/PageStyle.h"
#include "host/shell/Markup.h"
#include "host/shell/Text.h"
#include "host/shell/Version.h"

namespace orlo::host {

namespace {

/// The policy forbids the page every request, whatever a name in a timeline contains.
constexpr const char* HEAD =
    R"(<!doctype html>
<html lang="en"><head><meta charset="utf-8">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; )"
    R"(style-src 'unsafe-inline'; script-src 'unsafe-inline'">
<meta name="viewport" content="width=device-width">
<meta name="color-scheme" content="light dark">
)";

std::string HeadOf(const ReportPage& page) {
    return HEAD + std::string("<meta name=\"generator\" content=\"Sonrel ") + VERSION +
           "\">\n<title>" + XmlText(page.title) + " - Sonrel report</title>\n<style>" + PAGE_STYLE +
           "</style></head>\n";
}

std::string InfoList(const ReportPage& page) {
    std::string html = "<dl class=\"facts\">\n";
    for (const auto& [name, value] : page.info) {
        html += "<div><dt>" + XmlText(name) + "</dt><dd>" + XmlText(value) + "</dd></div>\n";
    }
    return html + "</dl>\n";
}

/// "to do" has a class without a blank.
std::string ClassOf(const std::string& label) {
    return label == "to do" ? "todo" : label;
}

std::string SummaryOf(const ReportPage& page) {
    std::string html = "<ul class=\"summary\">\n";
    for (const SummaryRow& row : page.summary) {
        html += "<li class=\"" + ClassOf(row.label) + "\">" + row.label + ": " + XmlText(row.text) +
                "</li>\n";
    }
    return html + "</ul>\n";
}

std::string LoudnessOf(const ReportPage& page) {
    if (page.loudness.empty()) return {};
    std::string html = "<section id=\"loudness\"><h2>Loudness</h2>\n<table>\n";
    for (const auto& [name, value] : page.loudness) {
        html += "<tr><th scope=\"row\">" + XmlText(name) + "</th><td>" + XmlText(value) +
                "</td></tr>\n";
    }
    return html + "</table></section>\n";
}

constexpr const char* TOOLS =
    R"html(<p id="tools" hidden><button id="out" title="Show more (-)">-</button>
<button id="in" title="Enlarge (+)">+</button>
<button id="all" title="Show all (0)">All</button><span id="readout"></span></p>
)html";

/// The numbers that the script needs to convert positions to timecode.
std::string ViewOf(const ReportPage& page) {
    const FrameGrid& grid = page.grid;
    const long long dropped = grid.dropFrame ? std::lround(grid.fps) / 15 : 0;
    return "<div id=\"view\" data-fps=\"" + FormatShort(grid.fps) + "\" data-drop=\"" +
           std::to_string(dropped) + "\" data-first=\"" + std::to_string(grid.startFrame) +
           "\" data-from=\"" + FormatNumber(page.from, 9) + "\" data-duration=\"" +
           FormatNumber(page.duration, 9) + "\"><div id=\"rows\">\n";
}

std::string LanesOf(const ReportPage& page) {
    std::string html = "<section id=\"lanes\"><h2>Timeline</h2>\n";
    if (page.duration <= 0.0) {
        html +=
            "<p class=\"empty\">The timeline has no length: there is nothing to measure and to "
            "draw.</p>\n<div id=\"rows\">\n";
    } else {
        html += TOOLS + ViewOf(page) +
                "<div class=\"row ruler\"><div class=\"head\"></div><div class=\"lane\" "
                "id=\"axis\"></div></div>\n" +
                CurveRows(page);
    }
    for (const PageLane& lane : page.lanes) html += LaneRow(lane, page.duration);
    return html + (page.duration > 0.0 ? "<div id=\"cursor\" hidden></div></div></div></section>\n"
                                       : "</div></section>\n");
}

std::string PlacesOf(const PageEntry& entry) {
    std::string html;
    for (const PagePlace& place : entry.places) {
        if (!html.empty()) html += "; ";
        if (!place.id.empty()) html.append("<a href=\"#").append(place.id).append("\">");
        html += XmlText(place.text);
        if (!place.id.empty()) html += "</a>";
    }
    return html + (entry.hasMore ? " and more" : "");
}

std::string EntriesOf(const ReportPage& page) {
    std::string html = "<section id=\"entries\"><h2>Not imported, changed or guessed</h2>\n";
    if (page.entries.empty()) return html + "<p>Nothing.</p></section>\n";
    html += "<ol class=\"entries\">\n";
    for (const PageEntry& entry : page.entries) {
        const std::string severity = otio::SeverityName(entry.severity);
        html.append("<li class=\"").append(severity).append("\"><em>").append(severity);
        html.append("</em><b>").append(XmlText(entry.what)).append("</b>");
        if (entry.count > 1)
            html.append(" (").append(std::to_string(entry.count)).append(" times)");
        html.append(": ").append(XmlText(entry.reason)).append(" <span class=\"places\">");
        html.append(PlacesOf(entry)).append("</span></li>\n");
    }
    return html + "</ol></section>\n";
}

}  // namespace

std::string PageDocument(const ReportPage& page) {
    return HeadOf(page) + "<body><header><h1>" + XmlText(page.title) + "</h1>\n" + InfoList(page) +
           "</header>\n<div class=\"top\">" + SummaryOf(page) + LoudnessOf(page) + "</div>\n" +
           LanesOf(page) + EntriesOf(page) + "<footer>Made by Sonrel " + VERSION +
           ".</footer>\n<script type=\"application/json\" " + "id=\"curves\">" +
           CurveData(page.curves) + "</script>\n<script>" + PAGE_SCRIPT +
           "</script>\n</body></html>\n";
}

}  // namespace orlo::host
