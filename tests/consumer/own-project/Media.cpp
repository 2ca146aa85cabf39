// SPDX-License-Identifier: MIT
// Media files and conformed files. Both are WAV files of stereo samples of 16 bits, and nothing
// converts between rates. A file is read as a whole when it is opened.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "sonrel/base/Paths.h"
#include "sonrel/media.h"
#include "sonrel/project.h"

namespace {

constexpr long long BYTES_PER_FRAME = 4;
constexpr std::size_t HEADER_BYTES = 44;

struct WaveFile {
    std::string bytes;  ///< header and samples
    int rate = 0;

    long long FrameCount() const {
        return static_cast<long long>(bytes.size() - HEADER_BYTES) / BYTES_PER_FRAME;
    }

    /// @return the frames that were copied
    int Copy(long long start, int count, void* buffer) const {
        const long long frames = std::clamp<long long>(FrameCount() - start, 0, count);
        if (frames > 0) {
            std::memcpy(buffer, bytes.data() + HEADER_BYTES + start * BYTES_PER_FRAME,
                        static_cast<std::size_t>(frames * BYTES_PER_FRAME));
        }
        return static_cast<int>(frames);
    }
};

/// Reads a file whose header is 44 bytes long: "fmt " of stereo PCM with 16 bits, then "data".
std::optional<WaveFile> ReadWaveFile(std::wstring const& path) {
    std::ifstream file(zrtl::ToUtf8(path), std::ios::binary);
    WaveFile wave;
    wave.bytes.assign(std::istreambuf_iterator<char>(file), {});
    const std::string& bytes = wave.bytes;
    if (bytes.size() < HEADER_BYTES || bytes.compare(0, 4, "RIFF") != 0 ||
        bytes.compare(8, 8, "WAVEfmt ") != 0 || bytes.compare(36, 4, "data") != 0 ||
        bytes.compare(20, 4, std::string("\1\0\2\0", 4)) != 0 ||
        bytes.compare(34, 2, std::string("\x10\0", 2)) != 0) {
        return {};
    }
    std::uint32_t rate = 0;
    std::memcpy(&rate, bytes.data() + 24, sizeof(rate));
    wave.rate = static_cast<int>(rate);
    return wave;
}

}  // namespace

namespace zrh::media {

namespace {

class WaveStream : public ZRAbstractAudioStream {
public:
    explicit WaveStream(WaveFile wave) : wave_(std::move(wave)) {}

    int StreamType() const override { return 0; }
    int SampleRate() const override { return wave_.rate; }
    int BitsPerSample() const override { return 16; }
    ZRSampleDataType SampleDataType() const override { return ZRSampleDataType::Integer; }
    int ChannelCount() const override { return 2; }
    long long SampleCount() const override { return wave_.FrameCount(); }
    int GetSamples(long long start, int count, void* buffer, int bufferBytes,
                   int* samplesRead) override {
        *samplesRead = 0;
        if (start < 0 || count < 0 || count * BYTES_PER_FRAME > bufferBytes) return 1;
        *samplesRead = wave_.Copy(start, count, buffer);
        return 0;
    }

    const WaveFile& Wave() const { return wave_; }

private:
    WaveFile wave_;
};

class WaveMediaFile : public ZRAbstractMediaFile {
public:
    explicit WaveMediaFile(WaveFile wave) {
        streams_.push_back(std::make_shared<WaveStream>(std::move(wave)));
    }
    ~WaveMediaFile() override = default;

    const std::vector<std::shared_ptr<ZRAbstractAudioStream>>& Streams() override {
        return streams_;
    }
    void SetReadOption(int) override {}
    int Prepare() override { return 0; }

private:
    std::vector<std::shared_ptr<ZRAbstractAudioStream>> streams_;
};

}  // namespace

int ZRMediaFileCreate(const wchar_t* path, ZRAbstractMediaFile** file, ZRMediaReaderType) {
    auto wave = ReadWaveFile(path);
    if (!wave) return 1;
    *file = new WaveMediaFile(std::move(*wave));
    return 0;
}

int ZRMediaFileRelease(ZRAbstractMediaFile* file) {
    delete file;
    return 0;
}

/// Every media file of this library has the format of a conformed file already.
int ZRAudioConverter::Convert(const std::shared_ptr<ZRAbstractAudioStream>& stream,
                              const std::wstring& outputPath, unsigned int sampleRate,
                              std::uint64_t* checksum) {
    const auto& wave = static_cast<WaveStream&>(*stream).Wave();
    if (static_cast<unsigned int>(wave.rate) != sampleRate) return 1;
    std::ofstream output(zrtl::ToUtf8(outputPath), std::ios::binary);
    output.write(wave.bytes.data(), static_cast<std::streamsize>(wave.bytes.size()));
    *checksum = 0;  // this database keeps no checksums
    return output.flush() ? 0 : 2;
}

}  // namespace zrh::media

namespace orlo::project {

struct ConformedAudioFileImpl {
    std::wstring path;
    WaveFile wave;
};

ConformedAudioFile::ConformedAudioFile() = default;
ConformedAudioFile::~ConformedAudioFile() = default;
ConformedAudioFile::ConformedAudioFile(ConformedAudioFile&&) noexcept = default;
ConformedAudioFile& ConformedAudioFile::operator=(ConformedAudioFile&&) noexcept = default;

bool ConformedAudioFile::Open(std::wstring const& path) {
    auto wave = ReadWaveFile(path);
    impl_ = wave ? std::make_unique<ConformedAudioFileImpl>() : nullptr;
    if (!impl_) return false;
    impl_->path = path;
    impl_->wave = std::move(*wave);
    return true;
}
std::wstring const& ConformedAudioFile::FilePath() const {
    static const std::wstring CLOSED;
    return impl_ ? impl_->path : CLOSED;
}
long long ConformedAudioFile::SampleCount() const {
    return impl_ ? impl_->wave.FrameCount() : 0;
}
int ConformedAudioFile::GetSamples(long long start, int count, unsigned char* buffer,
                                   int bufferBytes, int* samplesRead) const {
    *samplesRead = 0;
    if (!impl_ || start < 0 || count < 0 || count * BYTES_PER_FRAME > bufferBytes) return 1;
    *samplesRead = impl_->wave.Copy(start, count, buffer);
    return 0;
}

}  // namespace orlo::project
