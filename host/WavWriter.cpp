// SPDX-License-Identifier: MIT
#include "host/WavWriter.h"

#include <sndfile.h>

#include <cerrno>

namespace orlo::host {

namespace {

constexpr int CHANNELS = 2;
constexpr long long BYTES_PER_FRAME = 4;
/// Room for everything in front of the samples, with the larger of the two headers.
constexpr long long HEADER_BYTES = 4096;
constexpr long long MAX_WAV_BYTES = 0xFFFFFFFFLL;

template <class Handle>
SNDFILE* Sound(const Handle& file) {
    return static_cast<SNDFILE*>(file.get());
}

}  // namespace

WavFormat WavFormatFor(long long frames) {
    return frames > (MAX_WAV_BYTES - HEADER_BYTES) / BYTES_PER_FRAME ? WavFormat::Rf64
                                                                     : WavFormat::Wav;
}

void WavWriter::Closer::operator()(void* file) const {
    sf_close(static_cast<SNDFILE*>(file));
}

WavWriter::WavWriter(const std::string& path, int rate, long long frames) : output_(path) {
    output_.RequireSpace(frames * BYTES_PER_FRAME + HEADER_BYTES);
    SF_INFO info = {};
    info.samplerate = rate;
    info.channels = CHANNELS;
    info.format = SF_FORMAT_PCM_16 |
                  (WavFormatFor(frames) == WavFormat::Rf64 ? SF_FORMAT_RF64 : SF_FORMAT_WAV);
    errno = 0;
    file_.reset(sf_open_fd(output_.Descriptor(), SFM_WRITE, &info, SF_FALSE));
    if (!file_) output_.Fail(errno);
}

WavWriter::~WavWriter() = default;

void WavWriter::Write(const short* frames, long long count) {
    errno = 0;
    if (sf_writef_short(Sound(file_), frames, count) != count) output_.Fail(errno);
}

void WavWriter::Finish() {
    errno = 0;
    sf_write_sync(Sound(file_));
    if (sf_error(Sound(file_)) != SF_ERR_NO_ERROR) output_.Fail(errno);
    if (sf_close(static_cast<SNDFILE*>(file_.release())) != 0) output_.Fail(errno);
    output_.Commit();
}

}  // namespace orlo::host
