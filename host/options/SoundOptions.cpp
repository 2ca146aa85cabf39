// SPDX-License-Identifier: MIT
#include "host/options/SoundOptions.h"

#include "host/options/OptionTypes.h"
#include "host/otio/TimelinePath.h"
#include "host/shell/Errors.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

constexpr int MAX_STREAM = 4096;

ChannelList Channels(const std::string& text) {
    if (const std::optional<ChannelList> list = ParseChannels(text)) return *list;
    throw CLI::ValidationError("--channels", Quoted(text) + " is not " + CHANNEL_FORMS);
}

}  // namespace

zrh::media::SoundChoice SoundOptions::Choice() const {
    const int index = stream.value_or(1) - 1;
    return channels ? channels->In(index) : zrh::media::SoundChoice::OfStream(index);
}

void DeclareSound(CLI::App& command, SoundOptions& options) {
    command.add_option("--stream", options.stream, "Audio stream of a media file (default: 1)")
        ->type_name("N")
        ->transform(WholeNumber(1, MAX_STREAM));
    command
        .add_option_function<std::string>(
            "--channels",
            [&options](const std::string& text) { options.channels = Channels(text); },
            "Channels of a media file: 3 (both sides), 1,2 (left, right) or downmix")
        ->type_name("LIST");
}

void CheckSound(const SoundOptions& options, const std::vector<std::string>& inputs) {
    if (!options.stream && !options.channels) return;
    const std::string option = options.stream ? "--stream" : "--channels";
    for (const std::string& input : inputs) {
        if (!otio::IsTimelinePath(input)) continue;
        throw UsageError(option + " is for media files, and " + Quoted(input) +
                         " is a timeline; a timeline names the streams and channels of its clips "
                         "itself (metadata.sonrel.stream and .channels)");
    }
    if (options.stream && options.channels && options.channels->namesStreams) {
        throw UsageError("--channels names its audio streams; leave out --stream");
    }
}

}  // namespace orlo::host
