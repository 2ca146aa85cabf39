// SPDX-License-Identifier: MIT
#include "host/output/EncodedWriter.h"

#include <sndfile.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "host/output/OggPages.h"
#include "host/shell/Errors.h"
#include "host/shell/Text.h"
#include "sonrel/base/StereoFrame.h"

namespace orlo::host {

namespace {

constexpr int STEREO = 2;
/// More than the header of any format.
constexpr long long ENCODED_HEADER_BYTES = 4096;
/// The sizes in an AIFF file are signed.
constexpr long long MAX_AIFF_BYTES = std::numeric_limits<int>::max();
/// From 0 to 1. The library's default, 0.4, is audible in music.
constexpr double VORBIS_QUALITY = 0.6;

int LibraryFormat(SoundFormat format) {
    switch (format) {
        case SoundFormat::Flac:
            return SF_FORMAT_FLAC | SF_FORMAT_PCM_16;
        case SoundFormat::Vorbis:
            return SF_FORMAT_OGG | SF_FORMAT_VORBIS;
        case SoundFormat::Opus:
            return SF_FORMAT_OGG | SF_FORMAT_OPUS;
        case SoundFormat::W64:
            return SF_FORMAT_W64 | SF_FORMAT_PCM_16;
        case SoundFormat::Aiff:
            return SF_FORMAT_AIFF | SF_FORMAT_PCM_16;
        case SoundFormat::Wav:
        case SoundFormat::Caf:
            break;
    }
    return SF_FORMAT_CAF | SF_FORMAT_PCM_16;
}

/// The size of the file; 0 for a format whose size depends on the sound.
long long FileBytes(SoundFormat format, long long frames) {
    const bool isPlain =
        format == SoundFormat::W64 || format == SoundFormat::Aiff || format == SoundFormat::Caf;
    return isPlain ? frames * zrtl::FRAME_BYTES + ENCODED_HEADER_BYTES : 0;
}

void RequireOpusRate(const std::string& path, int rate) {
    for (const int possible : {8000, 12000, 16000, 24000, 48000}) {
        if (rate == possible) return;
    }
    throw UsageError("the output " + Quoted(path) + " cannot have " + std::to_string(rate) +
                     " Hz: Opus has 8000, 12000, 16000, 24000 and 48000 Hz; use --rate 48000 or "
                     "another format");
}

void RequireAiffSize(const std::string& path, long long bytes) {
    if (bytes <= MAX_AIFF_BYTES) return;
    throw JobError("cannot write " + Quoted(path) +
                   ": an AIFF file has at most 2 GiB; use .wav, .w64 or .caf");
}

}  // namespace

/// The file operations of the library. An exception must not pass through the library: it is kept,
/// and the operation fails.
struct EncodedWriter::Calls {
    static EncodedWriter& Of(void* writer) { return *static_cast<EncodedWriter*>(writer); }

    static sf_count_t Size(void* writer) { return Of(writer).size_; }
    static sf_count_t Position(void* writer) { return Of(writer).position_; }

    static sf_count_t Seek(sf_count_t offset, int origin, void* writer) {
        EncodedWriter& self = Of(writer);
        const long long base = origin == SEEK_CUR   ? self.position_
                               : origin == SEEK_END ? self.size_
                                                    : 0;
        if (base + offset < 0) return -1;
        return self.position_ = base + offset;
    }

    static sf_count_t Read(void* bytes, sf_count_t count, void* writer) {
        EncodedWriter& self = Of(writer);
        try {
            const auto got = static_cast<long long>(self.file_.ReadAt(
                static_cast<char*>(bytes), static_cast<std::size_t>(count), self.position_));
            self.position_ += got;
            return got;
        } catch (...) {
            self.failure_ = std::current_exception();
            return 0;
        }
    }

    static sf_count_t Write(const void* bytes, sf_count_t count, void* writer) {
        EncodedWriter& self = Of(writer);
        if (self.failure_) return 0;
        try {
            self.file_.WriteAt({static_cast<const char*>(bytes), static_cast<std::size_t>(count)},
                               self.position_);
        } catch (...) {
            self.failure_ = std::current_exception();
            return 0;
        }
        self.position_ += count;
        self.size_ = std::max(self.size_, self.position_);
        return count;
    }
};

EncodedWriter::EncodedWriter(const std::string& path, OutputGuard& guard, SoundFormat format,
                             int rate, long long frames)
    : output_(path, guard), file_(output_.Seekable()), format_(format) {
    const long long bytes = FileBytes(format, frames);
    if (format == SoundFormat::Opus) RequireOpusRate(path, rate);
    if (format == SoundFormat::Aiff) RequireAiffSize(path, bytes);
    file_.RequireSpace(bytes);
    Open(rate);
}

EncodedWriter::~EncodedWriter() {
    if (encoder_ != nullptr) sf_close(encoder_);
}

void EncodedWriter::Open(int rate) {
    static SF_VIRTUAL_IO calls{Calls::Size, Calls::Seek, Calls::Read, Calls::Write,
                               Calls::Position};
    SF_INFO info = {};
    info.samplerate = rate;
    info.channels = STEREO;
    info.format = LibraryFormat(format_);
    encoder_ = sf_open_virtual(&calls, SFM_WRITE, &info, this);
    RequireSuccess(encoder_ != nullptr, sf_strerror(nullptr));
    if (format_ != SoundFormat::Vorbis) return;
    double quality = VORBIS_QUALITY;
    sf_command(encoder_, SFC_SET_VBR_ENCODING_QUALITY, &quality, sizeof(quality));
}

void EncodedWriter::RequireSuccess(bool succeeded, const char* reason) {
    if (failure_) std::rethrow_exception(failure_);
    if (succeeded) return;
    std::string clause = reason;
    if (clause.ends_with('.')) clause.pop_back();
    throw JobError("cannot write " + Quoted(output_.Path()) + " as " + NameOf(format_) + ": " +
                   OneLine(clause) + "; choose another format or --rate");
}

void EncodedWriter::Write(const short* frames, long long count) {
    const bool isWhole = sf_writef_short(encoder_, frames, count) == count;
    RequireSuccess(isWhole, sf_strerror(encoder_));
}

void EncodedWriter::Seal() {
    if (encoder_ != nullptr) {
        const int error = sf_close(std::exchange(encoder_, nullptr));
        RequireSuccess(error == 0, sf_error_number(error));
        if (format_ == SoundFormat::Vorbis || format_ == SoundFormat::Opus) FixOggSerial(file_);
    }
    output_.Seal();
}

void EncodedWriter::Finish() {
    Seal();
    output_.Commit();
}

}  // namespace orlo::host
