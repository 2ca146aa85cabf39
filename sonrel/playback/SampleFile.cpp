// SPDX-License-Identifier: MIT
#include <sndfile.h>

#include <utility>

#include "sonrel/base/Paths.h"
#include "sonrel/playback/detail/SampleFile.h"

namespace orlo::sonrel {

namespace {

constexpr int CHANNELS = 2;

bool IsWavName(const std::wstring& path) {
    if (path.size() < 4) return false;
    const std::wstring end = path.substr(path.size() - 4);
    return end[0] == L'.' && (end[1] == L'w' || end[1] == L'W') &&
           (end[2] == L'a' || end[2] == L'A') && (end[3] == L'v' || end[3] == L'V');
}

SNDFILE* Handle(void* file) {
    return static_cast<SNDFILE*>(file);
}

}  // namespace

void SampleFile::Closer::operator()(void* file) const {
    sf_close(Handle(file));
}

SampleFile::SampleFile(std::wstring path) : path_(std::move(path)) {}

SampleFile::~SampleFile() = default;

bool SampleFile::Open(int sampleRate) {
    if (finished_ || file_ != nullptr) return !finished_ && sampleRate == sampleRate_;
    SF_INFO info = {};
    info.samplerate = sampleRate;
    info.channels = CHANNELS;
    info.format = IsWavName(path_) ? SF_FORMAT_RF64 | SF_FORMAT_PCM_16
                                   : SF_FORMAT_RAW | SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE;
    file_.reset(sf_open(zrtl::ToUtf8(path_).c_str(), SFM_WRITE, &info));
    if (file_ == nullptr) return false;
    // Becomes plain WAV at the end if its sizes fit.
    sf_command(Handle(file_.get()), SFC_RF64_AUTO_DOWNGRADE, nullptr, SF_TRUE);
    sampleRate_ = sampleRate;
    return true;
}

bool SampleFile::Write(const short* frames, int frameCount) {
    whole_ = whole_ && file_ != nullptr &&
             sf_writef_short(Handle(file_.get()), frames, frameCount) == frameCount;
    return whole_;
}

bool SampleFile::Finish() {
    finished_ = true;
    if (file_ != nullptr) {
        sf_write_sync(Handle(file_.get()));
        whole_ = whole_ && sf_error(Handle(file_.get())) == SF_ERR_NO_ERROR;
        whole_ = sf_close(Handle(file_.release())) == 0 && whole_;
    }
    return whole_;
}

}  // namespace orlo::sonrel
