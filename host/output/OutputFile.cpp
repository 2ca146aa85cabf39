// SPDX-License-Identifier: MIT
#include "host/output/OutputFile.h"

#include <filesystem>
#include <vector>

namespace orlo::host {

namespace {

constexpr std::size_t COPIED_AT_ONCE = 1 << 16;

}  // namespace

OutputFile::OutputFile(const std::string& path, OutputGuard& guard)
    : path_(path), guard_(guard), target_(guard.Open(path)) {
    if (target_.kind == OutputTarget::Kind::File) {
        file_.emplace(target_.path, path_, target_.permissions);
    } else {
        stream_.emplace(target_, path_);
    }
}

void OutputFile::Write(std::string_view bytes) {
    if (stream_) {
        stream_->Write(bytes);
    } else {
        file_->Write(bytes);
    }
}

void OutputFile::WriteAt(std::string_view bytes, long long offset) {
    file_->WriteAt(bytes, offset);
}

PartialFile& OutputFile::Seekable() {
    if (!file_) {
        file_.emplace((std::filesystem::temp_directory_path() / "sonrel-output").string(), path_);
    }
    return *file_;
}

void OutputFile::RequireSpace(long long bytes) const {
    if (file_) file_->RequireSpace(bytes);
}

void OutputFile::Seal() {
    if (!stream_ && !sealed_) file_->Sync();
    sealed_ = true;
}

void OutputFile::Commit() {
    Seal();
    if (stream_) {
        if (file_) CopyToStream(*file_);
        stream_->Close();
        return;
    }
    target_ = guard_.Confirm(path_, target_);
    if (file_->MoveTo(target_.path, !target_.identity)) return;
    // A file has appeared under the free name since it was confirmed.
    target_ = guard_.Confirm(path_, target_);
    file_->MoveTo(target_.path, false);
}

void OutputFile::CopyToStream(const PartialFile& source) {
    std::vector<char> bytes(COPIED_AT_ONCE);
    long long offset = 0;
    while (const std::size_t got = source.ReadAt(bytes.data(), bytes.size(), offset)) {
        stream_->Write({bytes.data(), got});
        offset += static_cast<long long>(got);
    }
}

void WriteWholeFile(const std::string& path, OutputGuard& guard, std::string_view bytes) {
    OutputFile file(path, guard);
    file.Write(bytes);
    file.Commit();
}

}  // namespace orlo::host
