// SPDX-License-Identifier: MIT
#include "host/source/ZipSource.h"

#include <zip.h>

#include "host/shell/Errors.h"
#include "host/shell/FileReader.h"

namespace orlo::host {

struct ZipSource::State {
    explicit State(const std::string& path) : file(path) { zip_error_init(&error); }
    ~State() { zip_error_fini(&error); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    zip_uint64_t Size() const { return static_cast<zip_uint64_t>(file.Size()); }
    zip_int64_t Read(void* bytes, zip_uint64_t count);
    zip_int64_t Seek(void* request, zip_uint64_t size);
    zip_int64_t Describe(void* data);

    FileReader file;
    zip_uint64_t at = 0;
    zip_error_t error{};
    std::string failure;
};

zip_int64_t ZipSource::State::Read(void* bytes, zip_uint64_t count) {
    try {
        const std::size_t got = file.ReadAt(static_cast<long long>(at), bytes, count);
        at += got;
        return static_cast<zip_int64_t>(got);
    } catch (const JobError& reason) {
        failure = reason.what();
        zip_error_set(&error, ZIP_ER_READ, 0);
        return -1;
    }
}

zip_int64_t ZipSource::State::Seek(void* request, zip_uint64_t size) {
    const zip_int64_t offset = zip_source_seek_compute_offset(at, Size(), request, size, &error);
    if (offset < 0) return -1;
    at = static_cast<zip_uint64_t>(offset);
    return 0;
}

zip_int64_t ZipSource::State::Describe(void* data) {
    auto* status = static_cast<zip_stat_t*>(data);
    zip_stat_init(status);
    status->size = Size();
    status->valid = ZIP_STAT_SIZE;
    return sizeof(zip_stat_t);
}

namespace {

template <class State>
zip_int64_t RunCommand(void* source, void* data, zip_uint64_t size, zip_source_cmd_t command) {
    auto& state = *static_cast<State*>(source);
    switch (command) {
        case ZIP_SOURCE_OPEN:
            state.at = 0;
            return 0;
        case ZIP_SOURCE_READ:
            return state.Read(data, size);
        case ZIP_SOURCE_SEEK:
            return state.Seek(data, size);
        case ZIP_SOURCE_TELL:
            return static_cast<zip_int64_t>(state.at);
        case ZIP_SOURCE_STAT:
            return state.Describe(data);
        case ZIP_SOURCE_ERROR:
            return zip_error_to_data(&state.error, data, size);
        case ZIP_SOURCE_SUPPORTS:
            return ZIP_SOURCE_SUPPORTS_SEEKABLE;
        case ZIP_SOURCE_CLOSE:
        case ZIP_SOURCE_FREE:
            return 0;
        default:
            zip_error_set(&state.error, ZIP_ER_OPNOTSUPP, 0);
            return -1;
    }
}

}  // namespace

ZipSource::ZipSource(const std::string& path) : state_(std::make_unique<State>(path)) {}

ZipSource::~ZipSource() = default;

zip* ZipSource::Open(zip_error& error) {
    zip_source_t* source = zip_source_function_create(RunCommand<State>, state_.get(), &error);
    if (source == nullptr) return nullptr;
    zip* archive = zip_open_from_source(source, ZIP_RDONLY, &error);
    if (archive == nullptr) zip_source_free(source);
    return archive;
}

std::uint64_t ZipSource::Size() const {
    return state_->Size();
}

const std::string& ZipSource::Failure() const {
    return state_->failure;
}

}  // namespace orlo::host
