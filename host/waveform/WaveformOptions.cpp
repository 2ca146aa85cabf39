// SPDX-License-Identifier: MIT
#include "host/waveform/WaveformOptions.h"

#include "host/options/CommandNotes.h"
#include "host/options/OptionTypes.h"

namespace orlo::host {

namespace {

using sonrel::WaveformPreview;

void DeclareColors(CLI::App& command, WaveformOptions& options) {
    command
        .add_option_function<std::string>(
            "--color",
            [&options](const std::string& text) { options.colors = ParseColors("--color", text); },
            "Colour of the waveform, or a colour a channel (default: a colour a channel)")
        ->type_name("RRGGBB[AA][,...]");
    command
        .add_option_function<std::string>(
            "--background",
            [&options](const std::string& text) {
                options.background = ParseColor("--background", text);
            },
            "Colour of the background (default: white, or black where colours are light)")
        ->type_name("RRGGBB[AA]");
}

void DeclareFrame(CLI::App& command, WaveformOptions& options) {
    command.add_flag("--ruler", options.ruler, "Draw a time ruler below");
    command.add_flag_callback(
        "--timecode", [&options] { options.ruler = options.timecode = true; },
        "Draw a ruler with timecode below");
    command.add_option("--axis", options.axis, "Draw a scale of amplitudes: linear or db")
        ->type_name("UNIT")
        ->transform(OneOf<AmplitudeUnit>(
            {{"linear", AmplitudeUnit::Linear}, {"db", AmplitudeUnit::Decibels}}));
    command.add_flag("--names", options.names, "Draw the names of the channels");
    command.add_flag("--clips", options.clips, "Mark the stretches that reach full scale");
    command.add_flag("--samples", options.samples,
                     "Draw single samples where a pixel is shorter than 32 samples");
    command.add_option("--font", options.font, "Font of the labels (default: DejaVu Sans)")
        ->type_name("FILE.ttf")
        ->check(Name());
}

void DeclareStyle(CLI::App& command, WaveformOptions& options) {
    command.add_option("--style", options.style, "lanes, overlaid or rms (default: rms)")
        ->type_name("STYLE")
        ->transform(
            OneOf<WaveformPreview::Style>({{"lanes", WaveformPreview::Style::ChannelLanes},
                                           {"overlaid", WaveformPreview::Style::ChannelsOverlaid},
                                           {"rms", WaveformPreview::Style::RMSEnvelope}}));
    command.add_option("--scale", options.scale, "linear or log (default: linear)")
        ->type_name("SCALE")
        ->transform(OneOf<WaveformPreview::Scale>({{"linear", WaveformPreview::Scale::Linear},
                                                   {"log", WaveformPreview::Scale::Logarithmic}}));
    command.add_option("--format", options.format, "rgb888 or argb32 (default: argb32)")
        ->type_name("FORMAT")
        ->transform(OneOf<WaveformPreview::Format>({{"rgb888", WaveformPreview::Format::RGB888},
                                                    {"argb32", WaveformPreview::Format::ARGB32}}));
}

}  // namespace

void DeclareWaveformOptions(CLI::App& command, WaveformOptions& options) {
    DeclareInput(command, options.input, "Media file");
    command.add_option("-o", options.output, "Picture to write, PNG or SVG")
        ->required()
        ->type_name("OUT.png")
        ->check(Name());
    command
        .add_option_function<std::string>(
            "--size",
            [&options](const std::string& text) { options.size = ParsePictureSize(text); },
            "Pixels (default: 1800x280)")
        ->type_name("WxH");
    DeclareSound(command, options.sound);
    DeclareStyle(command, options);
    DeclareColors(command, options);
    command
        .add_option_function<std::string>(
            "--range",
            [&options](const std::string& text) {
                CheckStreamRange(text);
                options.range = text;
            },
            "Part of the stream (default: all)")
        ->type_name("A:B");
    DeclareFrame(command, options);
    DeclareOverwrite(command, options.overwrite);
    AddNotes(
        command, EXAMPLES,
        {{"sonrel waveform take.wav -o take.png --ruler", "Draw a picture with a time ruler"},
         {"sonrel waveform take.wav -o take.svg --range 10:20", "Draw ten seconds for a report"}});
}

}  // namespace orlo::host
