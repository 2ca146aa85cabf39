// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "host/PictureArguments.h"
#include "host/otio/Arrangement.h"
#include "host/otio/MediaResolver.h"
#include "sonrel/waveform/WaveformPreview.h"

/// The command line as the commands take it: checked and converted, but for positions, which need
/// the timeline's rates.
namespace orlo::host {

enum class ProgressMode { Auto, Json, None };

struct GlobalOptions {
    std::string cacheFolder;   ///< empty: the default place
    std::string databaseFile;  ///< empty: the default place
    bool noCacheDb = false;
    bool noLog = false;
    bool json = false;
    bool quiet = false;
    ProgressMode progress = ProgressMode::Auto;
    std::optional<int> rate;
    std::optional<double> fps;
    std::vector<otio::MediaRoot> mediaRoots;
    bool allowMissing = false;  ///< missing media of a timeline are silent
    int keepDays = 30;
};

struct InfoOptions {
    std::string input;
};

struct ConformOptions {
    std::vector<std::string> inputs;
    int jobs = 1;
    bool allCodecs = false;
    bool force = false;
};

enum class DitherChoice { None, Triangular, HighPass };

struct MixOptions {
    std::string input;
    std::string output;
    std::string from;
    std::string to;
    DitherChoice dither = DitherChoice::HighPass;
    unsigned int seed = 1;  ///< 0 asks for one from the clock
    std::string meters;
    std::optional<std::string> stems;        ///< folder
    std::optional<std::string> composition;  ///< name of the nested item to mix
    otio::Retime retime = otio::Retime::Otio;
    bool failOnClip = false;
    bool soundFromVideo = false;
    bool overwrite = false;  ///< whether write-protected files may be replaced
};

struct PlayOptions {
    std::string input;
    std::string from;
    bool reverse = false;
    int speed = 1;
    bool meters = false;
    bool events = false;
    std::string output = "sdl";  ///< sdl, null or a file
    int bufferMs = 0;            ///< of the sound device; 0 is the library's default
    DitherChoice dither = DitherChoice::HighPass;
    unsigned int seed = 1;   ///< 0 asks for one from the clock
    bool overwrite = false;  ///< whether write-protected files may be replaced
};

enum class CacheAction { List, DiskUse, Check, Clean };

struct CacheOptions {
    CacheAction action = CacheAction::List;
    std::optional<int> days;  ///< --keep-days where not given
    bool orphans = false;
    bool dryRun = false;
    bool deep = false;  ///< of a check: reads every file to its end
};

enum class PeakMode { Auto, Single, Multi };

struct PeaksOptions {
    std::vector<std::string> inputs;
    std::string output;  ///< empty: to the cache
    PeakMode mode = PeakMode::Auto;
    std::string exportFile;
    int zoom = 256;          ///< samples in a pixel of the export
    bool force = false;      ///< make files anew that are there
    bool overwrite = false;  ///< whether write-protected files may be replaced
};

struct WaveformOptions {
    std::string input;
    std::string output;
    PictureSize size;
    sonrel::WaveformPreview::Style style = sonrel::WaveformPreview::Style::RMSEnvelope;
    sonrel::WaveformPreview::Scale scale = sonrel::WaveformPreview::Scale::Linear;
    sonrel::WaveformPreview::Format format = sonrel::WaveformPreview::Format::ARGB32;
    sonrel::WaveformPreview::Color color{};
    sonrel::WaveformPreview::Color background{};
    std::string range;  ///< empty: the whole stream
    bool ruler = false;
    bool overwrite = false;  ///< whether write-protected files may be replaced
};

struct AlignOptions {
    std::vector<std::string> inputs;  ///< at least two; all are aligned with the first
    double minCorrelation = 0.3;
    std::string plot;
    std::string otio;
    bool overwrite = false;  ///< whether write-protected files may be replaced
};

using CommandOptions = std::variant<AlignOptions, InfoOptions, ConformOptions, MixOptions,
                                    PeaksOptions, PlayOptions, WaveformOptions, CacheOptions>;

struct CommandLine {
    GlobalOptions global;
    CommandOptions command;
};

}  // namespace orlo::host
