// SPDX-License-Identifier: MIT
// Every output option with every kind of file that its command reads or owns.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <functional>
#include <map>
#include <thread>

#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

namespace fs = std::filesystem;

using Arguments = std::vector<std::string>;

/// Half a second of sound; the first sample differs between the files.
std::string Sound(int first) {
    const std::string samples = Little(static_cast<std::uint16_t>(first), 2) + Little(0, 2);
    return Riff(Chunk("fmt ", PcmFormat(1, 2, 48000, 16)) +
                Chunk("data", samples + CountingSamples(24000)));
}

/// The files that a command reads in addition to the media cache.
enum class Reads { Timeline, TimelineFolder, MediaFile, Recordings };

/// An option that names an output.
struct Output {
    std::string name;
    Reads reads;
    /// Returns the command with @p name as its output.
    std::function<Arguments(const std::string& name)> command;
    /// A name for the output and the file that the command writes for it, both in the work folder.
    std::string given;
    std::string written;
    /// Whether the output may have any name.
    bool takesAnyName = true;
};

Arguments MixTimeline(Arguments more) {
    Arguments all{"mix", "@edit.otio", "--media-root", "/old=@roots"};
    all.insert(all.end(), more.begin(), more.end());
    return all;
}

const std::vector<Output>& Outputs() {
    using Name = const std::string&;
    static const std::vector<Output> outputs{
        {"MixOfATimeline", Reads::Timeline,
         [](Name name) {
             return MixTimeline({"-o", name});
         },
         "out.wav", "out.wav"},
        {"MixOfAComposition", Reads::Timeline,
         [](Name name) {
             return MixTimeline({"--composition", "inner", "-o", name});
         },
         "out.wav", "out.wav"},
        {"Meters", Reads::Timeline,
         [](Name name) {
             return MixTimeline({"-o", "@mix.wav", "--meters", name});
         },
         "out.json", "out.json"},
        {"Stems", Reads::Timeline,
         [](Name name) {
             return MixTimeline({"-o", "@mix.wav", "--stems", name});
         },
         "stems", "stems/01-A1.wav", false},
        {"MixOfATimelineFolder", Reads::TimelineFolder,
         [](Name name) {
             return Arguments{"mix", "@edit.otiod", "-o", name};
         },
         "out.wav", "out.wav"},
        {"MixOfAMediaFile", Reads::MediaFile,
         [](Name name) {
             return Arguments{"mix", "@a.wav", "-o", name};
         },
         "out.wav", "out.wav"},
        {"MixFlac", Reads::MediaFile,
         [](Name name) {
             return Arguments{"mix", "@a.wav", "-o", name};
         },
         "out.flac", "out.flac"},
        {"PlayWav", Reads::Timeline,
         [](Name name) {
             return Arguments{"play",        "@edit.otio", "--media-root",
                              "/old=@roots", "--output",   name};
         },
         "out.wav", "out.wav"},
        {"PlayRaw", Reads::MediaFile,
         [](Name name) {
             return Arguments{"play", "@a.wav", "--output", name};
         },
         "out.raw", "out.raw"},
        {"WaveformPng", Reads::MediaFile,
         [](Name name) {
             return Arguments{"waveform", "@a.wav", "-o", name};
         },
         "out.png", "out.png"},
        {"WaveformSvg", Reads::MediaFile,
         [](Name name) {
             return Arguments{"waveform", "@a.wav", "-o", name};
         },
         "out.svg", "out.svg", false},
        {"Peaks", Reads::MediaFile,
         [](Name name) {
             return Arguments{"peaks", "@a.wav", "-o", name};
         },
         "out.xwpk", "out.xwpk"},
        {"PeaksExportText", Reads::MediaFile,
         [](Name name) {
             return Arguments{"peaks", "@a.wav", "--export", name};
         },
         "out.json", "out.json", false},
        {"PeaksExportBinary", Reads::MediaFile,
         [](Name name) { return Arguments{"peaks", "@a.wav", "-o", "@p.xwpk", "--export", name}; },
         "out.dat", "out.dat", false},
        {"AlignPlot", Reads::Recordings,
         [](Name name) {
             return Arguments{"align", "@a.wav", "@b.wav", "--plot", name};
         },
         "out.svg", "out.svg"},
        {"AlignNumberedPlot", Reads::Recordings,
         [](Name name) {
             return Arguments{"align", "@a.wav", "@b.wav", "@other.wav", "--plot", name};
         },
         "out.svg", "out-2.svg", false},
        {"AlignTimeline", Reads::Recordings,
         [](Name name) {
             return Arguments{"align", "@a.wav", "@b.wav", "--otio", name};
         },
         "out.otio", "out.otio"},
    };
    return outputs;
}

class OutputProgram : public testing::TestWithParam<Output> {
protected:
    void SetUp() override {
        fs::create_directories(shop_.Work("roots"));
        fs::create_directories(shop_.Work("stems"));
        fs::create_directories(shop_.Work("edit.otiod"));
        int first = 0;
        for (const char* name :
             {"a.wav", "b.wav", "v.wav", "spare.wav", "off.wav", "other.wav", "roots/r.wav"}) {
            WriteFile(shop_.Work(name), Sound(++first));
        }
        WriteTimelines();
    }

    /// Adds cache files of another media file, a cache file without a record, and the additional
    /// files of an open database.
    void FillCache() const {
        ASSERT_EQ(shop_.Run({"conform", "@other.wav"}).exitCode, 0);
        ASSERT_EQ(shop_.Run({"peaks", "@other.wav"}).exitCode, 0);
        WriteFile(shop_.Path("cache/orphan.xwmc"), "without a record");
        for (const char* name : {"media.db-wal", "media.db-shm", "CacheErrorLog.txt"}) {
            WriteFile(shop_.Path(name), std::string("bytes of ") + name);
        }
    }

    void WriteTimelines() const {
        Json changed = Clip("a.wav", 0, 10);
        changed.erase("media_reference");
        changed["media_references"] = {{"DEFAULT_MEDIA", File("a.wav")},
                                       {"spare", File("spare.wav")}};
        Json off = Clip("off.wav", 0, 10);
        off["enabled"] = false;
        const Json inner = Named(Stack({Track({Clip("b.wav", 0, 10)})}), "inner");
        WriteFile(shop_.Work("edit.otio"),
                  Timeline({Track({changed, inner, off, Clip("/old/r.wav", 0, 10)}),
                            Track({Clip("v.wav", 0, 10)}, "V1", "Video")})
                      .dump());
        WriteFile(shop_.Work("edit.otiod/content.otio"),
                  Timeline({Track({Clip("../a.wav", 0, 10)})}).dump());
    }

    std::vector<fs::path> ProtectedFiles(Reads reads) const {
        std::vector<fs::path> files;
        for (const char* name : {"media.db", "media.db-wal", "media.db-shm", "CacheErrorLog.txt"}) {
            files.push_back(shop_.Path(name));
        }
        for (const std::string& name : NamesIn(shop_.Path("cache"))) {
            if (name.ends_with(".xwmc") || name.ends_with(".xwpk")) {
                files.push_back(shop_.Path("cache/" + name));
            }
        }
        for (const char* name : InputsOf(reads)) files.push_back(shop_.Work(name));
        return files;
    }

    static std::vector<const char*> InputsOf(Reads reads) {
        switch (reads) {
            case Reads::Timeline:
                return {"edit.otio", "a.wav",   "b.wav",      "v.wav",
                        "spare.wav", "off.wav", "roots/r.wav"};
            case Reads::TimelineFolder:
                return {"edit.otiod/content.otio", "a.wav"};
            case Reads::MediaFile:
                return {"a.wav"};
            case Reads::Recordings:
                break;
        }
        return {"a.wav", "b.wav"};
    }

    /// The bytes of all protected files.
    std::map<fs::path, std::string> Contents() const {
        std::map<fs::path, std::string> contents;
        for (const fs::path& file : ProtectedFiles(GetParam().reads)) {
            contents[file] = ReadFile(file);
        }
        return contents;
    }

    ProgramResult RunWith(const std::string& name, bool overwrite = false) const {
        Arguments arguments = GetParam().command(name);
        for (std::string& argument : arguments) {
            if (argument == "/old=@roots") argument = "/old=" + shop_.Work("roots").string();
        }
        if (overwrite) arguments.push_back("--overwrite");
        return shop_.Run(arguments);
    }

    fs::path Written() const { return shop_.Work(GetParam().written); }

    /// Expects that the command refuses the output and does not change any protected file.
    void ExpectRefused(const std::string& name, const fs::path& file, const char* spelling) {
        const auto before = Contents();

        const ProgramResult result = RunWith(name, true);

        EXPECT_EQ(result.exitCode, 2) << file << ", " << spelling;
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        EXPECT_NE(result.err.find("; choose another name"), std::string::npos) << result.err;
        ASSERT_EQ(Contents(), before) << file << ", " << spelling;
    }

    Workshop shop_;
};

/// Outputs that may have any name.
class NamedOutputProgram : public OutputProgram {};

TEST_P(NamedOutputProgram, NoFileThatTheCommandReadsOrOwnsIsReplacedUnderItsName) {
    FillCache();
    for (const fs::path& file : ProtectedFiles(GetParam().reads)) {
        ExpectRefused(file, file, "its name");
        const std::string detour = fs::relative(file, shop_.Path(""));
        ExpectRefused("./cache/../" + detour, file, "a relative name");
    }
}

TEST_P(OutputProgram, NoFileThatTheCommandReadsOrOwnsIsReplacedThroughALink) {
    FillCache();
    for (const fs::path& file : ProtectedFiles(GetParam().reads)) {
        fs::create_symlink(file, Written());
        ExpectRefused("@" + GetParam().given, file, "a symbolic link");
        fs::remove(Written());
        fs::create_hard_link(file, Written());
        ExpectRefused("@" + GetParam().given, file, "a hard link");
        fs::remove(Written());
    }
}

TEST_P(OutputProgram, AWriteProtectedFileIsReplacedOnlyWithOverwrite) {
    WriteFile(Written(), "old");
    chmod(Written().c_str(), 0444);

    const ProgramResult refused = RunWith("@" + GetParam().given);

    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_TRUE(refused.HasOneErrorLine()) << refused.err;
    EXPECT_NE(refused.err.find("--overwrite"), std::string::npos) << refused.err;
    EXPECT_EQ(ReadFile(Written()), "old");
    EXPECT_NE(RunWith("@" + GetParam().given, true).exitCode, 1);
    EXPECT_NE(ReadFile(Written()), "old");
}

TEST_P(OutputProgram, AFolderAndADanglingLinkAreRefused) {
    fs::create_directory(Written());
    const ProgramResult folder = RunWith("@" + GetParam().given, true);
    fs::remove(Written());
    fs::create_symlink("nowhere", Written());
    const ProgramResult link = RunWith("@" + GetParam().given, true);

    EXPECT_EQ(folder.exitCode, 1);
    EXPECT_NE(folder.err.find("it is a folder"), std::string::npos) << folder.err;
    EXPECT_EQ(link.exitCode, 1);
    EXPECT_NE(link.err.find("does not exist"), std::string::npos) << link.err;
    EXPECT_TRUE(fs::is_symlink(Written()));
    EXPECT_FALSE(fs::exists(shop_.Work("nowhere")));
}

TEST_P(OutputProgram, TheFileOfALinkIsReplaced) {
    WriteFile(shop_.Work("kept-link"), "old");
    fs::create_symlink(shop_.Work("kept-link"), Written());

    const ProgramResult result = RunWith("@" + GetParam().given);

    EXPECT_NE(result.exitCode, 1) << result.err;
    EXPECT_TRUE(fs::is_symlink(Written()));
    EXPECT_NE(ReadFile(shop_.Work("kept-link")), "old");
}

TEST_P(OutputProgram, AFullDeviceIsAnError) {
    fs::create_symlink("/dev/full", Written());

    const ProgramResult result = RunWith("@" + GetParam().given);

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_NE(result.err.find("No space left on device"), std::string::npos) << result.err;
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

TEST_P(OutputProgram, APipeReceivesTheSameBytesAsAFile) {
    const ProgramResult plain = RunWith("@" + GetParam().given);
    const std::string whole = ReadFile(Written());
    fs::remove(Written());
    ASSERT_EQ(mkfifo(Written().c_str(), 0600), 0);
    std::string received;
    std::jthread reader([&] { received = ReadFile(Written()); });

    const ProgramResult piped = RunWith("@" + GetParam().given);
    reader.join();

    EXPECT_EQ(piped.exitCode, plain.exitCode) << piped.err;
    EXPECT_TRUE(fs::is_fifo(Written()));
    const bool isSoundOfPlay = GetParam().name == "PlayWav";
    // The 44 bytes of header of a stream of unknown length contain no sizes.
    EXPECT_EQ(received.substr(isSoundOfPlay ? 44 : 0), whole.substr(isSoundOfPlay ? 44 : 0));
}

std::string NameOf(const testing::TestParamInfo<Output>& test) {
    return test.param.name;
}

std::vector<Output> FreelyNamed() {
    std::vector<Output> outputs = Outputs();
    std::erase_if(outputs, [](const Output& output) { return !output.takesAnyName; });
    return outputs;
}

INSTANTIATE_TEST_SUITE_P(Every, OutputProgram, testing::ValuesIn(Outputs()), NameOf);
INSTANTIATE_TEST_SUITE_P(Every, NamedOutputProgram, testing::ValuesIn(FreelyNamed()), NameOf);

/// Cache files are created again without a change to the target of a link in the cache folder.
TEST(CacheProgram, ALinkInTheCacheFolderDoesNotEndangerAUsersFile) {
    const Workshop shop;
    WriteFile(shop.Work("a.wav"), Sound(1));
    WriteFile(shop.Work("mine.wav"), Sound(2));
    const std::string mine = ReadFile(shop.Work("mine.wav"));
    for (const char* command : {"conform", "peaks"}) {
        const ProgramResult made = shop.Run({command, "@a.wav", "--json"});
        const fs::path file = made.Json().at("files").at(0).at("path").get<std::string>();
        fs::remove(file);
        fs::create_symlink(shop.Work("mine.wav"), file);

        EXPECT_NE(shop.Run({command, "@a.wav"}).exitCode, -1);
    }
    shop.Run({"conform", "@a.wav", "--force"});
    shop.Run({"cache", "clean", "--days", "0", "--orphans"});

    EXPECT_EQ(ReadFile(shop.Work("mine.wav")), mine);
}

}  // namespace
}  // namespace sonrel_tests
