// SPDX-License-Identifier: MIT
#include "host/waveform/WaveformOptions.h"

#include "host/options/OptionTypes.h"

namespace orlo::host {

namespace {

using sonrel::WaveformPreview;

void DeclareColor(CLI::App& command, const std::string& name, WaveformPreview::Color& color,
                  const std::string& description) {
    command
        .add_option_function<std::string>(
            name, [&color, name](const std::string& text) { color = ParseColor(name, text); },
            description)
        ->type_name("RRGGBB[AA]");
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
    DeclareColor(command, "--color", options.color, "Colour of the waveform (default: 000000FF)");
    DeclareColor(command, "--background", options.background,
                 "Colour of the background (default: 00000000)");
    command
        .add_option_function<std::string>(
            "--range",
            [&options](const std::string& text) {
                CheckStreamRange(text);
                options.range = text;
            },
            "Part of the stream (default: all)")
        ->type_name("A:B");
    command.add_flag("--ruler", options.ruler, "Draw a time ruler below");
    DeclareOverwrite(command, options.overwrite);
}

}  // namespace orlo::host
