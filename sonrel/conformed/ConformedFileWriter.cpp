// SPDX-License-Identifier: MIT
#include "sonrel/conformed/ConformedFileWriter.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include <sndfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include "sonrel/conformed/detail/ConformedFileLayout.h"
#include "sonrel/files/RegularFile.h"

namespace orlo::project {
namespace {

constexpr std::int64_t BYTES_PER_FRAME = 4;
constexpr std::int64_t RIFF_HEADER_BYTES = 44;
/// The sizes in a RIFF header have 32 bits; the difference is for the header.
constexpr std::int64_t MAX_RIFF_DATA = 0xFFFFFFFFLL - 4096;

std::uint32_t LittleEndian32(const unsigned char* bytes) {
    return static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8 |
           static_cast<std::uint32_t>(bytes[2]) << 16 | static_cast<std::uint32_t>(bytes[3]) << 24;
}

}  // namespace

ConformedFileWriter::~ConformedFileWriter() {
    if (sound_ != nullptr) sf_close(sound_);
    if (descriptor_ < 0) return;
    // Closing wrote a header for the samples so far, as if the file were complete.
    files::Uninterrupted([this] { return ::ftruncate(descriptor_, 0); });
    files::Close(descriptor_);
}

ConformedFileWriter::Result ConformedFileWriter::Open(const std::string& path, int rate,
                                                      std::int64_t maxFrames) {
    descriptor_ = files::OpenNew(path);
    if (descriptor_ < 0) return errno == EEXIST ? Result::Exists : Result::Failed;
    path_ = path;
    isLarge_ = maxFrames > MAX_RIFF_DATA / BYTES_PER_FRAME;

    SF_INFO info = {};
    info.samplerate = rate;
    info.channels = 2;
    info.format = (isLarge_ ? SF_FORMAT_RF64 : SF_FORMAT_WAV) | SF_FORMAT_PCM_16;
    sound_ = sf_open_fd(descriptor_, SFM_WRITE, &info, SF_FALSE);
    return sound_ != nullptr ? Result::Done : Result::Failed;
}

bool ConformedFileWriter::Write(const std::int16_t* samples, std::int64_t frames) {
    if (sound_ == nullptr) return false;
    if (!isLarge_ && frames_ + frames > MAX_RIFF_DATA / BYTES_PER_FRAME) return false;
    if (sf_writef_short(sound_, samples, frames) != frames) return false;
    checksum_.Add(samples, static_cast<std::size_t>(frames * BYTES_PER_FRAME));
    frames_ += frames;
    return true;
}

bool ConformedFileWriter::Finish() {
    if (sound_ == nullptr) return false;
    const int closed = sf_close(sound_);
    sound_ = nullptr;
    const bool whole =
        closed == 0 && HeaderIsWhole() && AddHeader() && files::SyncWithFolder(path_, descriptor_);
    return files::Close(std::exchange(descriptor_, -1)) && whole;
}

/// Reads the header back: libsndfile wrote it.
bool ConformedFileWriter::AddHeader() {
    struct stat status = {};
    if (::fstat(descriptor_, &status) != 0) return false;
    return files::AddBytesOf(descriptor_, 0, status.st_size - frames_ * BYTES_PER_FRAME, {},
                             &checksum_);
}

/// The header is written last, and libsndfile does not report a failure.
bool ConformedFileWriter::HeaderIsWhole() const {
    struct stat status = {};
    std::array<unsigned char, RIFF_HEADER_BYTES> header = {};
    if (::fstat(descriptor_, &status) != 0) return false;
    if (!ReadFullyAt(descriptor_, header.data(), RIFF_HEADER_BYTES, 0)) return false;
    const std::int64_t dataBytes = frames_ * BYTES_PER_FRAME;
    if (isLarge_) {
        // The 64-bit length of the data follows the RIFF length in the "ds64" chunk.
        const std::uint64_t stored = LittleEndian32(header.data() + 28) |
                                     static_cast<std::uint64_t>(LittleEndian32(header.data() + 32))
                                         << 32;
        return std::memcmp(header.data(), "RF64", 4) == 0 &&
               std::memcmp(header.data() + 12, "ds64", 4) == 0 &&
               stored == static_cast<std::uint64_t>(dataBytes) && status.st_size > dataBytes;
    }
    return std::memcmp(header.data(), "RIFF", 4) == 0 &&
           std::memcmp(header.data() + 36, "data", 4) == 0 &&
           LittleEndian32(header.data() + 40) == dataBytes &&
           status.st_size == RIFF_HEADER_BYTES + dataBytes;
}

}  // namespace orlo::project
