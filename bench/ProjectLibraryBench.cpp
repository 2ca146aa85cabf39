// SPDX-License-Identifier: MIT

// The operations of the project library that the mix and the caches use: property values and
// objects at least once for each block, samples once for each object and block, the database once
// for each file.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "sonrel/files/Checksum.h"
#include "sonrel/media.h"
#include "sonrel/project.h"
#include "tests/support/WaveBytes.h"

namespace {

using namespace orlo::project;

/// A folder that is removed at the end of the scope.
class Folder {
public:
    Folder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "bench-XXXXXX").string();
        path_ = mkdtemp(pattern.data());
    }
    ~Folder() { std::filesystem::remove_all(path_); }
    std::wstring Wide(const std::string& name) const { return (path_ / name).wstring(); }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

void StaticValue(benchmark::State& state) {
    const AssetAudioObject object{zrtl::ZRID()};
    PropertyManager& properties = const_cast<AssetAudioObject&>(object).Animation();
    for (auto _ : state) {
        benchmark::DoNotOptimize(boost::get<double>(properties.StaticValue("speed")));
    }
}
BENCHMARK(StaticValue);

void LevelWithoutKeyFrames(benchmark::State& state) {
    AssetAudioObject object{zrtl::ZRID()};
    int timeMs = 0;
    for (auto _ : state) {
        const PropertyValue value = object.Animation().ValueAtTime("audioLevel", false, ++timeMs);
        benchmark::DoNotOptimize(boost::get<float>(value));
    }
}
BENCHMARK(LevelWithoutKeyFrames);

void LevelBetweenKeyFrames(benchmark::State& state) {
    AssetAudioObject object{zrtl::ZRID()};
    const int count = static_cast<int>(state.range(0));
    for (int i = 0; i < count; ++i) {
        object.Animation().SetKeyframe("audioLevel", 10 * i, static_cast<float>(-(i % 20)));
    }
    int timeMs = 0;
    for (auto _ : state) {
        timeMs = (timeMs + 7919) % (10 * count);
        const PropertyValue value = object.Animation().ValueAtTime("audioLevel", false, timeMs);
        benchmark::DoNotOptimize(boost::get<float>(value));
    }
}
BENCHMARK(LevelBetweenKeyFrames)->Arg(2)->Arg(100)->Arg(5000);

void FindOnFrame(benchmark::State& state) {
    SequenceObjectList objects;
    const int count = static_cast<int>(state.range(0));
    for (int i = 0; i < count; ++i) {
        const auto object = std::make_shared<AssetAudioObject>(zrtl::ZRID::Create());
        object->SetRange(10 * i, 10 * i + 10);
        objects.Add(object);
    }
    int frame = 0;
    for (auto _ : state) {
        frame = (frame + 7919) % (10 * count);
        benchmark::DoNotOptimize(objects.FindOnFrame(frame));
    }
}
BENCHMARK(FindOnFrame)->Arg(10)->Arg(1000)->Arg(10000);

void FindAsset(benchmark::State& state) {
    AssetList assets;
    std::vector<zrtl::ZRID> ids;
    for (int i = 0; i < state.range(0); ++i) {
        const auto asset = std::make_shared<MediaAsset>(nullptr, L"/m/a.wav");
        assets.Add(asset);
        ids.push_back(asset->ID());
    }
    std::size_t at = 0;
    for (auto _ : state) {
        at = (at + 7919) % ids.size();
        benchmark::DoNotOptimize(assets.FindByID(ids[at]));
    }
}
BENCHMARK(FindAsset)->Arg(10)->Arg(10000);

void ReadConformedBlock(benchmark::State& state) {
    const Folder folder;
    constexpr int COUNT = 480000;
    constexpr int BLOCK = 1920;
    const std::string bytes = sonrel_tests::ConformedFileBytes(COUNT);
    std::ofstream(folder / "a.xwmc", std::ios::binary) << bytes;
    ConformedAudioFile file;
    file.Open(folder.Wide("a.xwmc"));
    std::vector<unsigned char> buffer(BLOCK * 4);
    long long start = 0;
    int samples = 0;
    for (auto _ : state) {
        file.GetSamples(start, BLOCK, buffer.data(), BLOCK * 4, &samples);
        start = (start + BLOCK) % (COUNT - BLOCK);
    }
    state.SetBytesProcessed(state.iterations() * BLOCK * 4);
}
BENCHMARK(ReadConformedBlock);

void OpenConformedFile(benchmark::State& state) {
    const Folder folder;
    std::ofstream(folder / "a.xwmc", std::ios::binary) << sonrel_tests::ConformedFileBytes(1000);
    for (auto _ : state) {
        ConformedAudioFile file;
        benchmark::DoNotOptimize(file.Open(folder.Wide("a.xwmc")));
    }
}
BENCHMARK(OpenConformedFile);

/// The checksum of the data that a conversion writes.
void AddToChecksum(benchmark::State& state) {
    const std::vector<char> piece(256 * 1024, '\1');
    orlo::files::Checksum checksum;
    for (auto _ : state) checksum.Add(piece.data(), piece.size());
    benchmark::DoNotOptimize(checksum.Value());
    state.SetBytesProcessed(state.iterations() * static_cast<long long>(piece.size()));
}
BENCHMARK(AddToChecksum);

/// A minute of sound that is copied unchanged (48000) or resampled (44100), with its checksum.
void ConformAMinute(benchmark::State& state) {
    const Folder folder;
    const int rate = static_cast<int>(state.range(0));
    std::ofstream(folder / "a.wav", std::ios::binary)
        << sonrel_tests::ConformedFileBytes(60LL * rate, rate);
    for (auto _ : state) {
        zrh::media::ZRAbstractMediaFile* file = nullptr;
        zrh::media::ZRMediaFileCreate(folder.Wide("a.wav").c_str(), &file,
                                      zrh::media::ZRMediaReaderType::Default);
        file->Prepare();
        const auto stream = file->Streams().at(0);
        if (zrh::media::ZRAudioConverter::Convert(stream, folder.Wide("a.xwmc"), 48000) != 0) {
            state.SkipWithError("the conversion failed");
        }
        zrh::media::ZRMediaFileRelease(file);
        std::filesystem::remove(folder / "a.xwmc");
    }
    state.SetBytesProcessed(state.iterations() * 60 * 48000 * 4);
}
BENCHMARK(ConformAMinute)->ArgName("rate")->Arg(48000)->Arg(44100)->Unit(benchmark::kMillisecond);

/// A database with @p records conformed files.
std::unique_ptr<MediaDB> Filled(const Folder& folder, int records) {
    auto database = std::make_unique<MediaDB>(folder.Wide("media.db"), L"", true);
    for (int i = 0; i < records; ++i) {
        database->AddConformedFile(L"/media/project/clip" + std::to_wstring(i) + L".wav",
                                   L"de0ce302a4b4d2f2b1d3c4a5e6f70819", 0, 48000,
                                   zrtl::ZRID::Create().ToString() + L".xwmc");
    }
    return database;
}

void OpenDatabase(benchmark::State& state) {
    const Folder folder;
    const bool first = state.range(0) != 0;
    Filled(folder, 100);
    for (auto _ : state) MediaDB(folder.Wide("media.db"), L"", first);
}
BENCHMARK(OpenDatabase)->ArgName("first")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void LookUpRecord(benchmark::State& state) {
    const Folder folder;
    const auto database = Filled(folder, 1000);
    std::wstring name;
    int i = 0;
    for (auto _ : state) {
        i = (i + 79) % 1000;
        benchmark::DoNotOptimize(
            database->GetConformedFilename(L"/media/project/clip" + std::to_wstring(i) + L".wav",
                                           L"de0ce302a4b4d2f2b1d3c4a5e6f70819", 0, 48000, &name));
    }
}
BENCHMARK(LookUpRecord)->Unit(benchmark::kMicrosecond);

void AddRecord(benchmark::State& state) {
    const Folder folder;
    const auto database = Filled(folder, 0);
    int i = 0;
    for (auto _ : state) {
        database->AddConformedFile(L"/media/a.wav", L"ff", ++i, 48000, L"n.xwmc");
    }
}
BENCHMARK(AddRecord)->Unit(benchmark::kMicrosecond);

void TouchRecord(benchmark::State& state) {
    const Folder folder;
    const auto database = Filled(folder, 100);
    database->AddConformedFile(L"/media/a.wav", L"ff", 0, 48000, L"n.xwmc");
    for (auto _ : state) database->TouchConformedFile(L"/media/a.wav", L"ff", 0, 48000);
}
BENCHMARK(TouchRecord)->Unit(benchmark::kMicrosecond);

void FindAndRemoveAThousandDueRecords(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        {
            const Folder folder;
            const auto database = Filled(folder, 1000);
            state.ResumeTiming();
            for (const auto& record : database->FindUnusedConformedFiles(0)) {
                database->RemoveConformedFile(record.mediaPath, record.mediaFingerprint,
                                              record.streamIndex, record.sampleRate);
            }
            state.PauseTiming();
        }
        state.ResumeTiming();
    }
}
BENCHMARK(FindAndRemoveAThousandDueRecords)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
