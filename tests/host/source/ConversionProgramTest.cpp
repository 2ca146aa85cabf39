// SPDX-License-Identifier: MIT
// Timelines of other formats as INPUT, which otioconvert converts.
#include <gtest/gtest.h>

#include "tests/host/ShellRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

namespace fs = std::filesystem;

/// A stand-in for otioconvert, first on PATH. It records its arguments and writes a known timeline.
/// Expects that no temporary file is left.
class ConversionProgram : public testing::Test {
protected:
    void SetUp() override {
        for (const char* name : {"tmp", "bin", "work/folder"})
            fs::create_directory(shop_.Path(name));
        WriteFile(shop_.Work("folder/a.wav"), ConformedFileBytes(96000));
        WriteFile(shop_.Path("known.otio"), Timeline({Track({Clip("a.wav", 0, 50)})}).dump());
        WriteConverter("cp " + shop_.Path("known.otio").string() + " \"$4\"");
        path_ = std::getenv("PATH");
        setenv("PATH", (shop_.Path("bin").string() + ":" + path_).c_str(), 1);
        setenv("TMPDIR", shop_.Path("tmp").c_str(), 1);
    }

    void TearDown() override {
        setenv("PATH", path_.c_str(), 1);
        unsetenv("TMPDIR");
        EXPECT_TRUE(fs::is_empty(shop_.Path("tmp")));
    }

    /// Writes the program with these lines of sh.
    void WriteConverter(const std::string& script) const {
        const fs::path path = shop_.Path("bin/otioconvert");
        WriteFile(path, "#!/bin/sh\nprintf '%s\\n' \"$@\" >" + shop_.Path("arguments").string() +
                            "\n" + script + "\n");
        fs::permissions(path, fs::perms::owner_exec, fs::perm_options::add);
    }

    int Bash(const std::string& line) const { return RunBash(shop_, line); }

    std::string Report() const { return ReadFile(shop_.Work("report")); }
    std::vector<std::string> Converted() const { return ReadLines(shop_.Path("arguments")); }

    Workshop shop_;
    std::string path_;
};

TEST_F(ConversionProgram, ATimelineOfAnotherFormatSoundsLikeItsConversion) {
    fs::copy(shop_.Path("known.otio"), shop_.Work("folder/known.otio"));
    ASSERT_EQ(Bash("\\$sonrel mix folder/known.otio -o known.wav >report"), 0);
    const std::string sound = SampleBytes(shop_.Work("known.wav"));
    ASSERT_EQ(sound.size(), 4u * 96000u);
    ASSERT_NE(sound, std::string(sound.size(), '\0'));
    for (const char* name : {"edit.edl", "edit.xml", "edit.fcpxml", "EDIT.EDL"}) {
        WriteFile(shop_.Work(std::string("folder/") + name), "any");

        EXPECT_EQ(
            Bash(std::string("\\$sonrel mix folder/") + name + " -o out.wav --overwrite >report"),
            0);

        EXPECT_TRUE(SampleBytes(shop_.Work("out.wav")) == sound) << name;
        const std::vector<std::string> arguments = Converted();
        ASSERT_EQ(arguments.size(), 4u);
        EXPECT_EQ(arguments[0], "-i");
        EXPECT_EQ(arguments[1], shop_.Work(std::string("folder/") + name));
        EXPECT_EQ(arguments[2], "-o");
        EXPECT_TRUE(arguments[3].ends_with(".otio")) << arguments[3];
    }
}

TEST_F(ConversionProgram, OfAnFcpxmldFolderTheInfoFileIsConverted) {
    const fs::path folder = shop_.Work("edit.fcpxmld");
    fs::create_directory(folder);
    WriteFile(folder / "Info.fcpxml", "any");
    WriteFile(folder / "a.wav", ConformedFileBytes(96000));

    for (const char* name : {"edit.fcpxmld", "edit.fcpxmld/"}) {
        EXPECT_EQ(Bash(std::string("\\$sonrel info ") + name + " --strict >report 2>error"), 0);

        EXPECT_EQ(Converted().at(1), folder / "Info.fcpxml");
        EXPECT_NE(Report().find((folder / "a.wav").string()), std::string::npos) << Report();
    }
    fs::remove(folder / "Info.fcpxml");
    EXPECT_EQ(Bash("\\$sonrel info edit.fcpxmld 2>report"), 1);
    EXPECT_EQ(Report(),
              "sonrel: cannot read the timeline 'edit.fcpxmld': its Info.fcpxml: No such "
              "file or directory\n");
}

TEST_F(ConversionProgram, AnyFileNameIsOneArgument) {
    for (const char* name : {"a b.xml", "-i.xml", "it's.xml", "x;touch y.xml", "$HOME.xml",
                             "q\"q.xml", "\xC3\xBC.xml"}) {
        WriteFile(shop_.Work("folder/") / name, "any");

        const std::string file = fs::path(shop_.Work("folder/") / name).string();
        const ProgramResult result = shop_.Run({"info", file, "--json"});

        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(Converted().at(1), shop_.Work("folder/") / name);
    }
}

TEST_F(ConversionProgram, AnEdlHasTheRateOfFpsElseAnEntryNamesTheOption) {
    WriteFile(shop_.Work("folder/edit.edl"), "any");

    EXPECT_EQ(Bash("\\$sonrel --fps 29.97 info folder/edit.edl >report"), 0);
    EXPECT_EQ(Report().find("frame rate"), std::string::npos) << Report();
    EXPECT_EQ(Converted().at(4), "-a");
    EXPECT_EQ(Converted().at(5), "rate=29.97002997002997");
    EXPECT_EQ(Bash("\\$sonrel info folder/edit.edl --strict >report 2>error"), 3);
    EXPECT_NE(Report().find("an EDL has no frame rate"), std::string::npos) << Report();
    EXPECT_NE(Report().find("--fps"), std::string::npos) << Report();
}

TEST_F(ConversionProgram, AFailedConversionIsOneLineWithItsReason) {
    const auto failure = [&](const std::string& script) {
        WriteConverter(script);
        EXPECT_EQ(Bash("\\$sonrel info edit.fcpxml 2>report"), 1) << script;
        const std::string start = "sonrel: cannot read the timeline 'edit.fcpxml': ";
        EXPECT_TRUE(Report().starts_with(start)) << Report();
        return Report().substr(std::min(start.size(), Report().size()));
    };
    WriteFile(shop_.Work("edit.fcpxml"), "any");

    EXPECT_EQ(failure("echo Traceback >&2; echo 'ParseError: line 3' >&2; exit 1"),
              "otioconvert failed: ParseError: line 3\n");
    EXPECT_EQ(failure("exit 7"), "otioconvert failed: its exit code is 7\n");
    EXPECT_EQ(failure("kill -KILL $$"), "otioconvert was ended by signal 9\n");
    EXPECT_EQ(failure("exit 0"), "otioconvert wrote no timeline\n");
    EXPECT_EQ(failure("echo 'x.NoKnownAdapterForExtensionError: fcpxml' >&2; exit 1"),
              "otioconvert lacks the adapter for this format; install it with 'pip install "
              "opentimelineio otio-fcpx-xml-adapter'\n");
    EXPECT_TRUE(failure("echo '{' >\"$4\"").starts_with("invalid JSON at line 2"));
}

TEST_F(ConversionProgram, WithoutTheConverterTheMessageNamesItAndItsInstallation) {
    WriteFile(shop_.Work("edit.edl"), "any");
    WriteFile(shop_.Work("edit.xml"), "any");

    EXPECT_EQ(Bash("PATH=/nonexistent \\$sonrel info edit.edl 2>report"), 1);
    EXPECT_EQ(Report(),
              "sonrel: cannot read the timeline 'edit.edl': it needs the program otioconvert, "
              "which is not on PATH; install it with 'pip install opentimelineio "
              "otio-cmx3600-adapter'\n");
    EXPECT_EQ(Bash("PATH=/nonexistent \\$sonrel info edit.xml 2>report"), 1);
    EXPECT_NE(Report().find("otio-fcp-adapter'"), std::string::npos) << Report();
    EXPECT_EQ(Bash("\\$sonrel info nowhere.edl 2>report"), 1);
    EXPECT_EQ(Report(),
              "sonrel: cannot read the timeline 'nowhere.edl': No such file or "
              "directory\n");
}

TEST_F(ConversionProgram, AnInterruptEndsTheConverter) {
    WriteFile(shop_.Work("edit.xml"), "any");
    WriteConverter("echo $$ >../id.new; mv ../id.new ../id; exec sleep 600");

    EXPECT_EQ(Bash("\\$sonrel info edit.xml >report 2>error & "
                   "until [ -e ../id ]; do :; done; "
                   "kill -TERM \\$!; wait \\$!"),
              130);

    EXPECT_EQ(ReadFile(shop_.Work("error")),
              "sonrel: interrupted: the timeline 'edit.xml' was not read\n");
    EXPECT_EQ(Bash("kill -0 \\$(cat ../id) 2>report"), 1);
}

TEST_F(ConversionProgram, NoOutputReplacesTheTimelineOrItsMedia) {
    WriteFile(shop_.Work("folder/edit.edl"), "any");
    fs::create_hard_link(shop_.Work("folder/edit.edl"), shop_.Work("out.wav"));

    EXPECT_EQ(Bash("\\$sonrel mix folder/edit.edl -o out.wav --overwrite 2>report"), 2);
    EXPECT_EQ(Bash("\\$sonrel mix folder/edit.edl -o folder/a.wav --overwrite 2>report"), 2);

    EXPECT_EQ(ReadFile(shop_.Work("folder/edit.edl")), "any");
    EXPECT_TRUE(ReadFile(shop_.Work("folder/a.wav")) == ConformedFileBytes(96000));
}

/// The program of the system, with the adapters that it has. No adapter is a package of Debian 12.
class ConversionByTheRealProgram : public testing::Test {
protected:
    void SetUp() override {
        if (std::system("otioconvert --help >/dev/null 2>&1") != 0) {
            GTEST_SKIP() << "otioconvert is not installed";
        }
    }

    /// Runs info on the timeline, whose only clip plays two seconds of a.wav.
    ProgramResult Info(const std::string& name, const std::string& document) const {
        WriteFile(shop_.Work("a.wav"), ConformedFileBytes(96000));
        WriteFile(shop_.Work(name), document);
        return shop_.Run({"info", "@" + name, "--audio-from", "audio", "--json"});
    }

    static bool LacksAdapter(const ProgramResult& result) {
        return result.err.find("lacks the adapter") != std::string::npos;
    }

    void ExpectClip(const ProgramResult& result) const {
        ASSERT_EQ(result.exitCode, 0) << result.err;
        const nlohmann::json clip = result.Json().at("tracks").at(0).at("objects").at(0);
        EXPECT_EQ(clip.at("media"), shop_.Work("a.wav").string());
        EXPECT_NEAR(clip.at("endSeconds").get<double>(), 2.0, 0.0005);
    }

    Workshop shop_;
};

TEST_F(ConversionByTheRealProgram, FinalCutPro7XmlIsRead) {
    const std::string rate = "<rate><timebase>25</timebase><ntsc>FALSE</ntsc></rate>";
    const std::string file = "<file id='f1'><name>a.wav</name><pathurl>file://localhost" +
                             shop_.Work("a.wav").string() + "</pathurl>" + rate +
                             "<duration>50</duration><media><audio/></media></file>";

    const ProgramResult result =
        Info("edit.xml",
             "<?xml version='1.0'?><!DOCTYPE xmeml><xmeml version='5'><sequence id='s1'>"
             "<name>edit</name><duration>50</duration>" +
                 rate +
                 "<media><audio><track><clipitem id='c1'><name>a</name>"
                 "<duration>50</duration>" +
                 rate + "<start>0</start><end>50</end><in>0</in><out>50</out>" + file +
                 "</clipitem></track></audio></media></sequence></xmeml>");

    if (LacksAdapter(result)) GTEST_SKIP() << "otioconvert has no adapter for this format";
    ExpectClip(result);
}

TEST_F(ConversionByTheRealProgram, AnEdlIsRead) {
    WriteFile(shop_.Work("edit.edl"),
              "TITLE: edit\n\n001  TAKE1    A     C        01:00:00:00 01:00:02:00 "
              "00:00:00:00 00:00:02:00\n* FROM CLIP NAME: take\n");

    const ProgramResult result =
        shop_.Run({"--fps", "25", "--allow-missing", "info", "@edit.edl", "--json"});

    if (LacksAdapter(result)) GTEST_SKIP() << "otioconvert has no adapter for this format";
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.Json().at("fps"), 25.0);
    EXPECT_EQ(result.Json().at("frames"), 50.0);
}

}  // namespace
}  // namespace sonrel_tests
