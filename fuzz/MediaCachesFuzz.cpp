// SPDX-License-Identifier: MIT
// A media file through the caches: its conformed file and its peak file are whole or do not exist,
// have the length of the stream, and a peak file has the same bytes however it is read.
extern "C" {
#include <libavutil/log.h>
}

#include <cmath>
#include <filesystem>
#include <memory>
#include <string>

#include "fuzz/Support.h"
#include "sonrel/cache/CacheFileCheck.h"
#include "sonrel/cache/ConformedAudioFileHelper.h"
#include "sonrel/cache/PeakFile.h"
#include "sonrel/database/CacheLedger.h"
#include "sonrel/media.h"
#include "sonrel/media/ImportMediaAsset.h"
#include "sonrel/media/input/MediaErrors.h"
#include "sonrel/project.h"

namespace {

namespace project = orlo::project;
using orlo::sonrel::PeakFile;
using sonrel_fuzz::Require;
using sonrel_tests::TemporaryFolder;

using Asset = std::shared_ptr<project::MediaAsset>;

/// A small valid file can decode to hours; more frames would only take longer.
constexpr long long MAX_FRAMES = 2000000;
constexpr int RATES[] = {48000, 44100, 96000, 8000};
/// The conversion rounds the first and the last frames of a conformed file.
constexpr double MAX_DIFFERENCE_SECONDS = 0.01;

/// Null for a file that is refused or has no sound.
Asset Import(const std::shared_ptr<project::MediaManager>& manager, const std::wstring& path) {
    try {
        Asset asset = project::ImportMediaAsset(manager, path, 0);
        return asset->HasAudio() ? asset : nullptr;
    } catch (const zrh::media::ZRMediaException& error) {
        constexpr auto LAST_CODE = static_cast<int>(zrh::media::MediaError::StreamsDiffer);
        Require(error.Code() > 0 && error.Code() <= LAST_CODE, "a known reason of a refusal");
        return nullptr;
    }
}

void CheckConformed(const Asset& asset, int rate, const std::wstring& path) {
    Require(project::IsWholeConformedFile(path, rate), "a conformed file is whole");
    project::ConformedAudioFile file;
    Require(file.Open(path), "a conformed file opens");
    const double seconds = static_cast<double>(file.SampleCount()) / rate;
    const project::MediaAudioStream& stream = *asset->AudioStream();
    const double expected =
        static_cast<double>(stream.NativeSampleCount()) / stream.NativeSampleRate();
    Require(std::abs(seconds - expected) <=
                MAX_DIFFERENCE_SECONDS + 2.0 / rate + 2.0 / stream.NativeSampleRate(),
            "a conformed file is as long as its stream");
}

/// One cache folder for all inputs: without an engine, a process keeps a descriptor for each.
void Conform(const Asset& asset, int rate) {
    static const TemporaryFolder folder;
    const std::wstring path = orlo::sonrel::ConformedAudioFileHelper::CreateConformedAudioFile(
        asset, rate, folder.Wide("."), nullptr, nullptr, true);
    if (path.empty()) {
        Require(sonrel_tests::NamesIn(folder.Path()).empty(), "nothing of a failed file stays");
    } else {
        CheckConformed(asset, rate, path);
        for (const std::string& name : sonrel_tests::NamesIn(folder.Path())) {
            std::filesystem::remove(folder / name);
        }
    }
}

/// @return whether the peak file was made
bool MakePeaks(const Asset& asset, const std::wstring& path, PeakFile::CreateMode mode) {
    try {
        if (PeakFile::Create(asset, path, mode) != 0) return false;
    } catch (const zrh::media::ZRMediaException&) {
        return false;
    }
    Require(orlo::sonrel::CacheFileCheck::IsWholePeakFile(path), "a peak file is whole");
    return true;
}

void MakePeaksTwice(const Asset& asset) {
    const TemporaryFolder folder;
    const bool single =
        MakePeaks(asset, folder.Wide("1.xwpk"), PeakFile::CreateMode::SingleThreaded);
    const bool multi = MakePeaks(asset, folder.Wide("4.xwpk"), PeakFile::CreateMode::MultiThreaded);
    Require(single == multi, "the same outcome however the media file is read");
    if (!single) return;
    Require(sonrel_tests::ReadFile(folder / "1.xwpk") == sonrel_tests::ReadFile(folder / "4.xwpk"),
            "the same peaks however the media file is read");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    av_log_set_level(AV_LOG_QUIET);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const sonrel_fuzz::InputFile input(sonrel_fuzz::AllBytes(data, size), ".media");
    const project::Project project;
    const Asset asset = Import(project.Manager(), input.Wide());
    if (asset == nullptr || asset->AudioStream()->NativeSampleCount() > MAX_FRAMES) return 0;
    Conform(asset, RATES[size % std::size(RATES)]);
    MakePeaksTwice(asset);
    return 0;
}
