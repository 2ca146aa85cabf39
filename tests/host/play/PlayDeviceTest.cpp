// SPDX-License-Identifier: MIT

// Playback on a sound device when the sound server ends or freezes.
#include <gmock/gmock.h>
#include <signal.h>

#include <cstdlib>
#include <thread>

#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;

class PlayDevice : public testing::Test {
protected:
    void SetUp() override {
        WriteFile(shop_.Work("edit.otio"), Timeline({Track({Gap(3000)})}).dump());
        setenv("LD_LIBRARY_PATH", SONREL_FAKE_SDL_FOLDER, 1);
    }
    void TearDown() override {
        unsetenv("LD_LIBRARY_PATH");
        unsetenv("SONREL_FAKE_SDL");
    }

    RunningProgram Play(const char* server, const std::vector<std::string>& more = {}) {
        setenv("SONREL_FAKE_SDL", server, 1);
        std::vector<std::string> arguments{"play", "@edit.otio"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return shop_.Start(arguments);
    }

    Workshop shop_;
};

TEST_F(PlayDevice, ALostDeviceEndsTheProgramWithAMessageAndThePosition) {
    const ProgramResult result = Play("lost", {"--from", "50f"}).Wait();

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_THAT(result.err, ContainsRegex("edit.otio' stopped at 00:00:02:[0-9][0-9]: the sound "
                                          "device was lost"));
    EXPECT_THAT(result.err, ContainsRegex("continue with --from 00:00:02:[0-9][0-9]\n"));
}

TEST_F(PlayDevice, AFrozenServerEndsTheProgramWithAMessageAfterFiveSeconds) {
    const ProgramResult result = Play("frozen").Wait();

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_THAT(result.err, HasSubstr("has taken nothing for 5 seconds"));
}

TEST_F(PlayDevice, TheFirstInterruptEndsTheProgramAlthoughTheServerIsFrozen) {
    RunningProgram program = Play("frozen", {"--events"});
    while (program.OutputSoFar().find("\"frame\":1}") == std::string::npos) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }

    kill(program.Id(), SIGINT);
    const ProgramResult result = program.Wait();

    EXPECT_EQ(result.exitCode, 130);
    EXPECT_EQ(result.err, "sonrel: interrupted: playback stopped\n");
}

TEST_F(PlayDevice, TheFirstInterruptEndsTheProgramWhileAFrozenServerBlocksTheOpeningOfTheDevice) {
    RunningProgram program = Play("frozen-open", {"--json"});
    // The database exists before the device is opened; the signal may arrive at any later time.
    while (!std::filesystem::exists(shop_.Path("media.db"))) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }

    kill(program.Id(), SIGINT);
    const ProgramResult result = program.Wait();

    EXPECT_EQ(result.exitCode, 130);
    EXPECT_EQ(result.err, "sonrel: interrupted: nothing was played\n");
    EXPECT_EQ(result.Json().at("error"), "interrupted: nothing was played");
}

}  // namespace
}  // namespace sonrel_tests
