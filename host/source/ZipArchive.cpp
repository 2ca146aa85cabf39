// SPDX-License-Identifier: MIT
#include "host/source/ZipArchive.h"

#include <sys/stat.h>
#include <zip.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <vector>

#include "host/shell/Errors.h"
#include "host/source/ZipTable.h"

namespace orlo::host {

namespace {

constexpr std::size_t UNPACK_AT_ONCE = 1 << 16;

const std::string& RequireRegularFile(const std::string& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) throw ZipError(std::strerror(errno));
    if (!S_ISREG(status.st_mode)) throw ZipError("it is not a regular file");
    return path;
}

zip* OpenArchive(const std::string& path, ZipSource& source) {
    // The library takes an empty file for an archive without files.
    if (source.Size() == 0) throw ZipError("it is not a ZIP archive");
    if (ZipTableBytes(path) > MAX_ZIP_TABLE_BYTES) {
        throw ZipError("its table of files has more than " + std::to_string(MAX_ZIP_TABLE_BYTES) +
                       " bytes");
    }
    zip_error_t error;
    zip_error_init(&error);
    zip* const archive = source.Open(error);
    const bool isArchive = zip_error_code_zip(&error) != ZIP_ER_NOZIP;
    const std::string reason = zip_error_strerror(&error);
    zip_error_fini(&error);
    if (archive != nullptr) return archive;
    if (!source.Failure().empty()) throw JobError(source.Failure());
    throw ZipError(isArchive ? "its ZIP archive is damaged: " + reason : "it is not a ZIP archive");
}

struct CloseZipFile {
    void operator()(zip_file_t* file) const { zip_fclose(file); }
};

/// The type of a file in the attributes that Unix programs store; 0 when there is none.
unsigned int UnixType(zip* archive, std::uint64_t index) {
    zip_uint8_t system = 0;
    zip_uint32_t attributes = 0;
    if (zip_file_get_external_attributes(archive, index, 0, &system, &attributes) != 0) return 0;
    return system == ZIP_OPSYS_UNIX ? (attributes >> 16U) & S_IFMT : 0;
}

}  // namespace

ZipArchive::ZipArchive(const std::string& path)
    : source_(RequireRegularFile(path)), archive_(OpenArchive(path, source_)) {}

ZipArchive::~ZipArchive() {
    zip_discard(archive_);
}

void ZipArchive::Fail(const std::string& reason) const {
    if (!source_.Failure().empty()) throw JobError(source_.Failure());
    throw ZipError(reason);
}

std::uint64_t ZipArchive::Count() const {
    return static_cast<std::uint64_t>(zip_get_num_entries(archive_, 0));
}

ZipEntry ZipArchive::Entry(std::uint64_t index) const {
    zip_stat_t status;
    if (zip_stat_index(archive_, index, 0, &status) != 0) {
        Fail("its ZIP archive is damaged: " + std::string(zip_strerror(archive_)));
    }
    const unsigned int type = UnixType(archive_, index);
    ZipEntry entry;
    entry.name = (status.valid & ZIP_STAT_NAME) != 0 ? status.name : "";
    entry.size = (status.valid & ZIP_STAT_SIZE) != 0 ? status.size : 0;
    entry.isEncrypted =
        (status.valid & ZIP_STAT_ENCRYPTION_METHOD) != 0 && status.encryption_method != ZIP_EM_NONE;
    entry.isSpecial = type != 0 && type != S_IFREG && type != S_IFDIR;
    return entry;
}

void ZipArchive::Read(std::uint64_t index,
                      const std::function<void(std::string_view)>& take) const {
    const std::unique_ptr<zip_file_t, CloseZipFile> file(zip_fopen_index(archive_, index, 0));
    if (file == nullptr) Fail(zip_strerror(archive_));
    std::uint64_t left = Entry(index).size;
    std::vector<char> bytes(UNPACK_AT_ONCE);
    for (;;) {
        const zip_int64_t got = zip_fread(file.get(), bytes.data(), bytes.size());
        if (got < 0) Fail(zip_file_strerror(file.get()));
        if (got == 0) break;
        if (static_cast<std::uint64_t>(got) > left) {
            throw ZipError("it has more bytes than the archive declares");
        }
        left -= static_cast<std::uint64_t>(got);
        take({bytes.data(), static_cast<std::size_t>(got)});
    }
    if (left != 0) throw ZipError("it has fewer bytes than the archive declares");
}

}  // namespace orlo::host
