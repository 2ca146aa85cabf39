// SPDX-License-Identifier: MIT
#include "tests/support/fakes/FakeMediaLibrary.h"

#include <algorithm>
#include <fstream>
#include <memory>

#include "sonrel/base/Paths.h"

namespace sonrel_tests {

FakeMediaLibrary& FakeMediaLibrary::Instance() {
    static FakeMediaLibrary fake;
    return fake;
}

void FakeMediaLibrary::Reset() {
    const std::lock_guard<std::mutex> guard(mutex_);
    create = [](const std::wstring&) { return 0; };
    prepare = [] { return 0; };
    convert = [](const std::wstring& outputPath) {
        WriteConverted(outputPath);
        return 0;
    };
    streamTypes = {0};
    format = {};
    read = {};
    calls_.clear();
    openFiles_ = 0;
}

std::vector<std::string> FakeMediaLibrary::Calls() const {
    const std::lock_guard<std::mutex> guard(mutex_);
    return calls_;
}

int FakeMediaLibrary::CallCount(const std::string& operation) const {
    const std::lock_guard<std::mutex> guard(mutex_);
    return static_cast<int>(std::count_if(
        calls_.begin(), calls_.end(),
        [&](const std::string& call) { return call.substr(0, operation.size()) == operation; }));
}

int FakeMediaLibrary::OpenFiles() const {
    const std::lock_guard<std::mutex> guard(mutex_);
    return openFiles_;
}

void FakeMediaLibrary::Note(const std::string& call) {
    const std::lock_guard<std::mutex> guard(mutex_);
    calls_.push_back(call);
}

void FakeMediaLibrary::FileOpened(int change) {
    const std::lock_guard<std::mutex> guard(mutex_);
    openFiles_ += change;
}

void WriteConverted(const std::wstring& outputPath) {
    std::ofstream(zrtl::ToUtf8(outputPath), std::ios::binary) << "done";
}

namespace {

using zrh::media::ZRAbstractAudioStream;
using zrh::media::ZRAbstractMediaFile;
using zrh::media::ZRSampleDataType;

FakeMediaLibrary& Fake() {
    return FakeMediaLibrary::Instance();
}

class FakeStream final : public ZRAbstractAudioStream {
public:
    FakeStream(int type, int place) : number(place), type_(type) {}

    int StreamType() const override { return type_; }
    int SampleRate() const override { return Fake().format.rate; }
    int BitsPerSample() const override { return Fake().format.bits; }
    ZRSampleDataType SampleDataType() const override { return Fake().format.dataType; }
    int ChannelCount() const override { return Fake().format.channels; }
    long long SampleCount() const override { return Fake().format.frames; }
    int GetSamples(long long start, int count, void* buffer, int bufferBytes,
                   int* samplesRead) override {
        if (Fake().read) return Fake().read(start, count, buffer, bufferBytes, samplesRead);
        const long long frames =
            std::clamp(SampleCount() - start, 0LL, static_cast<long long>(count));
        const long long bytes = frames * ChannelCount() * BitsPerSample() / 8;
        if (bytes > bufferBytes) return 1;
        std::fill_n(static_cast<char*>(buffer), bytes, '\0');
        *samplesRead = static_cast<int>(frames);
        return 0;
    }

    const int number;  // its index among all streams of the file

private:
    int type_;
};

class FakeFile final : public ZRAbstractMediaFile {
public:
    FakeFile() {
        for (const int type : Fake().streamTypes) {
            streams_.push_back(
                std::make_shared<FakeStream>(type, static_cast<int>(streams_.size())));
        }
        Fake().FileOpened(1);
    }
    ~FakeFile() override { Fake().FileOpened(-1); }

    const std::vector<std::shared_ptr<ZRAbstractAudioStream>>& Streams() override {
        Fake().Note("Streams");
        return streams_;
    }
    void SetReadOption(int option) override {
        Fake().Note("SetReadOption " + std::to_string(option));
    }
    int Prepare() override {
        Fake().Note("Prepare");
        return Fake().prepare();
    }

    bool StreamsAreHeld() const {
        return std::any_of(streams_.begin(), streams_.end(),
                           [](const auto& stream) { return stream.use_count() > 1; });
    }

private:
    std::vector<std::shared_ptr<ZRAbstractAudioStream>> streams_;
};

}  // namespace

}  // namespace sonrel_tests

namespace zrh::media {

using sonrel_tests::FakeFile;
using sonrel_tests::FakeMediaLibrary;
using sonrel_tests::FakeStream;

int ZRMediaFileCreate(const wchar_t* path, ZRAbstractMediaFile** file, ZRMediaReaderType) {
    FakeMediaLibrary& fake = FakeMediaLibrary::Instance();
    fake.Note("Create " + zrtl::ToUtf8(path));
    const int code = fake.create(path);
    if (code == 0) *file = new FakeFile;
    return code;
}

int ZRMediaFileRelease(ZRAbstractMediaFile* file) {
    auto* fakeFile = static_cast<FakeFile*>(file);
    FakeMediaLibrary::Instance().Note(fakeFile->StreamsAreHeld() ? "Release, stream held"
                                                                 : "Release");
    delete fakeFile;
    return 0;
}

int ZRAudioConverter::Convert(const std::shared_ptr<ZRAbstractAudioStream>& stream,
                              const std::wstring& outputPath, unsigned int sampleRate) {
    FakeMediaLibrary& fake = FakeMediaLibrary::Instance();
    const int number = static_cast<const FakeStream&>(*stream).number;
    fake.Note("Convert stream " + std::to_string(number) + " at " + std::to_string(sampleRate));
    return fake.convert(outputPath);
}

int ZRAudioConverter::Convert(const std::shared_ptr<ZRAbstractAudioStream>& stream,
                              const std::wstring& outputPath, unsigned int sampleRate,
                              std::uint64_t* checksum) {
    *checksum = sonrel_tests::FAKE_CHECKSUM;
    return Convert(stream, outputPath, sampleRate);
}

}  // namespace zrh::media
