// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <map>

#include "tests/host/FaultRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {

namespace fs = std::filesystem;

using Arguments = std::vector<std::string>;

/// More media files than the mixer keeps open, so that it opens files throughout the mix.
constexpr int TRACKS = 12;

inline std::string MediaName(int track) {
    return "m" + std::to_string(track) + ".wav";
}

class UnreadableMedia : public testing::Test {
protected:
    void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        GTEST_SKIP() << "a sanitizer must be the first library";
#endif
        // 30 frames of 1920 samples each; all media files differ.
        std::vector<Json> tracks;
        for (int track = 0; track < TRACKS; ++track) {
            WriteFile(shop_.Work(MediaName(track)), ConformedFileBytes(57600 + track));
            tracks.push_back(Track({Clip(MediaName(track), 0, 30)}));
        }
        WriteFile(shop_.Work("edit.otio"), Timeline(tracks).dump());
        fs::create_directory(shop_.Work("out"));
    }

    Fault OfConformedFiles(const std::string& operations, const std::string& error,
                           const std::string& times) const {
        return {shop_.Path("cache"), operations, "*.xwmc", error, times};
    }

    /// The cache files with an extension.
    std::vector<fs::path> CacheFiles(const std::string& extension) const {
        std::vector<fs::path> files;
        for (const auto& entry : fs::directory_iterator(shop_.Path("cache"))) {
            if (entry.path().extension() == extension) files.push_back(entry.path());
        }
        return files;
    }

    /// Returns the outputs by name and removes them.
    std::map<std::string, std::string> TakeOutputs() const {
        std::map<std::string, std::string> contents;
        for (const auto& entry : fs::recursive_directory_iterator(shop_.Work("out"))) {
            if (entry.is_regular_file()) contents[entry.path()] = ReadFile(entry.path());
        }
        fs::remove_all(shop_.Work("out"));
        fs::create_directory(shop_.Work("out"));
        return contents;
    }

    /// Sets the times of the conformed files an hour ahead. A file that was changed less than three
    /// seconds ago is not cached when it is closed: each block of the mix opens it and reads its
    /// header and samples. An older file is read ahead and often not opened again, which needs a
    /// tenth of the reads. On a busy machine the files of this test would reach that age.
    void KeepYoung() const {
        const auto later = fs::file_time_type::clock::now() + std::chrono::hours(1);
        for (const fs::path& file : CacheFiles(".xwmc")) fs::last_write_time(file, later);
    }

    static bool NamesAMediaFile(const std::string& text) {
        return text.find("/m") != std::string::npos && text.find(".wav'") != std::string::npos;
    }

    /// Runs a command with a fault in each of these operations:
    /// 1, 2, 3, 4, 6, 8, 11, 14, 18, 23, 29, 37, 47, 59, 74, 93, 117, 147, 184, 231, 289, 362, 453,
    /// 567, 709, 887, 1109, 1387, 1734. Each run has the same result as a run without a
    /// fault, or exits with 1 and a single line and leaves no output.
    /// @return number of failed runs
    int Sweep(const Fault& fault, const Arguments& command) {
        const ProgramResult whole = shop_.Run(command);
        const auto outputs = TakeOutputs();
        EXPECT_FALSE(outputs.empty()) << whole.err;
        int failures = 0;
        for (int number = 1;; number += 1 + number / 4) {
            KeepYoung();
            const DisturbedRun run = RunWithFault(shop_, fault, number, command);
            if (!run.wasHit) return failures;
            const auto left = TakeOutputs();
            if (run.result.exitCode == whole.exitCode) {
                EXPECT_EQ(left, outputs) << number;
                continue;
            }
            ++failures;
            EXPECT_EQ(run.result.exitCode, 1) << number;
            EXPECT_TRUE(run.result.HasOneErrorLine()) << run.result.err;
            EXPECT_TRUE(NamesAMediaFile(run.result.err)) << run.result.err;
            EXPECT_TRUE(left.empty()) << number;
        }
    }

    const Workshop shop_;
    // One worker, so that each file call has the same number in every run.
    const Arguments mix_{"mix",          "@edit.otio", "--jobs",      "1",       "-o",
                         "@out/mix.wav", "--meters",   "@out/m.json", "--stems", "@out/stems"};
};

}  // namespace sonrel_tests
