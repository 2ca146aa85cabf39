// SPDX-License-Identifier: MIT
#include "host/source/TimelineArchive.h"

#include <sys/statvfs.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <unordered_set>
#include <utility>
#include <vector>

#include "host/shell/Errors.h"
#include "host/shell/Interrupt.h"
#include "host/shell/Text.h"
#include "host/source/ZipArchive.h"
#include "sonrel/files/RegularFile.h"

namespace orlo::host {

namespace {

namespace fs = std::filesystem;

constexpr const char* DOCUMENT = "content.otio";

/// A file that is unpacked.
struct PackedFile {
    std::uint64_t index = 0;
    std::uint64_t size = 0;
    std::string path;  ///< relative, without "." and ".."
};

/// Normalizes a name in an archive.
/// @throws ZipError for a name that leads out of the archive or is too deep
std::string SafePath(const std::string& name) {
    if (name.starts_with('/')) throw ZipError("the name " + Quoted(name) + " is an absolute path");
    std::string path;
    std::size_t depth = 0;
    for (std::size_t at = 0; at < name.size();) {
        const std::size_t slash = std::min(name.find('/', at), name.size());
        const std::string part = name.substr(at, slash - at);
        at = slash + 1;
        if (part.empty() || part == ".") continue;
        if (part == "..") {
            throw ZipError("the name " + Quoted(name) + " leads out of the archive");
        }
        if (++depth > MAX_ARCHIVE_DEPTH) {
            throw ZipError("the name " + Quoted(name) + " has more than " +
                           std::to_string(MAX_ARCHIVE_DEPTH) + " folders");
        }
        path += (path.empty() ? "" : "/") + part;
    }
    return path;
}

/// The files of an archive. The names and declared sizes of all are checked.
class ArchiveContent {
public:
    ArchiveContent(const ZipArchive& archive, long long limit)
        : limit_(static_cast<std::uint64_t>(limit)) {
        if (archive.Count() > MAX_ARCHIVE_FILES) {
            throw ZipError("it has more than " + std::to_string(MAX_ARCHIVE_FILES) + " files");
        }
        for (std::uint64_t index = 0; index < archive.Count(); ++index) {
            Add(archive.Entry(index), index);
        }
        if (!names_.contains(DOCUMENT)) throw ZipError(std::string("it has no ") + DOCUMENT);
        for (const PackedFile& file : files_) RequireFolders(file.path);
        RequireRatio(archive.Size());
    }

    const std::vector<PackedFile>& Files() const { return files_; }
    std::uint64_t Size() const { return size_; }

private:
    void Add(const ZipEntry& entry, std::uint64_t index) {
        const std::string path = SafePath(entry.name);
        if (entry.isSpecial) {
            throw ZipError(Quoted(entry.name) + " is a link or a device, and only files are read");
        }
        if (path.empty() || entry.name.ends_with('/')) return;
        if (entry.isEncrypted) {
            throw ZipError(Quoted(path) + " is encrypted; pack the timeline without a password");
        }
        if (!names_.insert(path).second) throw ZipError("it has two files " + Quoted(path));
        if (entry.size > limit_ - size_) {
            throw ZipError("its files have more than " + std::to_string(limit_) +
                           " bytes; allow more with --spool-limit");
        }
        size_ += entry.size;
        files_.push_back({index, entry.size, path});
    }

    /// Refuses a file whose folder is a file too.
    void RequireFolders(const std::string& path) const {
        for (std::size_t at = path.find('/'); at != std::string::npos;
             at = path.find('/', at + 1)) {
            const std::string folder = path.substr(0, at);
            if (names_.contains(folder)) {
                throw ZipError("it has a file " + Quoted(folder) + " and a folder of this name");
            }
        }
    }

    /// Refuses a small archive that fills the disk. Files whose bytes overlap in the archive count
    /// each.
    void RequireRatio(std::uint64_t archiveBytes) const {
        if (size_ <= FREE_ARCHIVE_BYTES || size_ / MAX_ARCHIVE_RATIO <= archiveBytes) return;
        throw ZipError(
            "its files have " + std::to_string(size_ / std::max<std::uint64_t>(archiveBytes, 1)) +
            " times the bytes of the archive, more than " + std::to_string(MAX_ARCHIVE_RATIO) +
            " times; if you trust it, unpack it to an .otiod folder");
    }

    const std::uint64_t limit_;
    std::uint64_t size_ = 0;
    std::unordered_set<std::string> names_;
    std::vector<PackedFile> files_;
};

[[noreturn]] void RefuseUnpacking(const std::string& input, const std::string& reason) {
    throw JobError("cannot unpack the timeline " + Quoted(input) + ": " + reason +
                   "; make room, or set TMPDIR to another folder");
}

void RequireRoom(const std::string& input, const std::string& folder, std::uint64_t bytes) {
    struct statvfs disk = {};
    if (statvfs(folder.c_str(), &disk) != 0) return;
    const double available =
        static_cast<double>(disk.f_bavail) * static_cast<double>(disk.f_frsize);
    if (static_cast<double>(bytes) <= available) return;
    RefuseUnpacking(input, FormatNumber(static_cast<double>(bytes) / 1e6, 1) +
                               " MB are needed and " + FormatNumber(available / 1e6, 1) +
                               " MB are free in " + Quoted(folder));
}

/// A new file in the folder of an unpacked timeline.
class UnpackedFile {
public:
    UnpackedFile(const std::string& input, const std::string& path)
        : input_(input), descriptor_(files::OpenNew(path)) {
        if (descriptor_ < 0) Refuse();
    }
    ~UnpackedFile() {
        if (descriptor_ >= 0) files::Close(descriptor_);
    }
    UnpackedFile(const UnpackedFile&) = delete;
    UnpackedFile& operator=(const UnpackedFile&) = delete;

    void Write(std::string_view bytes) {
        if (files::WriteFully(descriptor_, bytes.data(), bytes.size()) < bytes.size()) Refuse();
    }

    /// A file system may report only here that it could not store the bytes.
    void Close() {
        if (!files::Close(std::exchange(descriptor_, -1))) Refuse();
    }

private:
    [[noreturn]] void Refuse() const { RefuseUnpacking(input_, std::strerror(errno)); }

    const std::string& input_;
    int descriptor_;
};

/// Unpacks the files of an archive and counts their bytes.
class Unpacking {
public:
    Unpacking(const std::string& input, const std::string& folder, Progress& progress)
        : input_(input), folder_(folder), progress_(progress) {}

    void Unpack(const ZipArchive& archive, const PackedFile& packed) {
        const std::string path = folder_ + "/" + packed.path;
        progress_.SetFile(path);
        MakeFolder(fs::path(path).parent_path());
        UnpackedFile file(input_, path);
        try {
            archive.Read(packed.index, [&](std::string_view bytes) { Take(bytes, file); });
        } catch (const ZipError& error) {
            throw ZipError("cannot unpack " + Quoted(packed.path) + ": " + error.what());
        }
        file.Close();
    }

private:
    void MakeFolder(const fs::path& folder) const {
        std::error_code error;
        fs::create_directories(folder, error);
        if (error) RefuseUnpacking(input_, error.message());
    }

    void Take(std::string_view bytes, UnpackedFile& file) {
        if (Interrupted()) ThrowInterrupted("the timeline " + Quoted(input_) + " was not unpacked");
        file.Write(bytes);
        done_ += static_cast<long long>(bytes.size());
        progress_.Update(done_);
    }

    const std::string& input_;
    const std::string& folder_;
    Progress& progress_;
    long long done_ = 0;
};

}  // namespace

void UnpackTimeline(const std::string& input, const std::string& folder, long long limit,
                    Progress& progress) {
    try {
        const ZipArchive archive(input);
        const ArchiveContent content(archive, limit);
        RequireRoom(input, fs::path(folder).parent_path().string(), content.Size());
        progress.Begin("unpack", "bytes", static_cast<long long>(content.Size()));
        Unpacking unpacking(input, folder, progress);
        for (const PackedFile& file : content.Files()) unpacking.Unpack(archive, file);
        progress.End();
    } catch (const ZipError& error) {
        throw JobError("cannot read the timeline " + Quoted(input) + ": " + error.what());
    }
}

}  // namespace orlo::host
