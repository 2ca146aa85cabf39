// SPDX-License-Identifier: MIT
#include "tests/faults/FaultFs.h"

#include <fcntl.h>
#include <fnmatch.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <sstream>
#include <unordered_map>
#include <utility>

namespace faultfs {

namespace {

enum class Mode { Fail, Short, Torn, Kill, KillAfter, Storm, None, Stop };

// Plain tables: the first call may come before any constructor of this library has run.
constexpr std::pair<const char*, Operation> OPERATIONS[] = {
    {"open", Operation::Open},     {"create", Operation::Create}, {"write", Operation::Write},
    {"read", Operation::Read},     {"fsync", Operation::Fsync},   {"truncate", Operation::Truncate},
    {"rename", Operation::Rename}, {"unlink", Operation::Unlink}, {"mkdir", Operation::Mkdir},
    {"close", Operation::Close},   {"stat", Operation::Stat},     {"lock", Operation::Lock},
};
constexpr std::pair<const char*, Mode> MODES[] = {
    {"fail", Mode::Fail}, {"short", Mode::Short},         {"torn", Mode::Torn},
    {"kill", Mode::Kill}, {"killafter", Mode::KillAfter}, {"storm", Mode::Storm},
    {"none", Mode::None}, {"stop", Mode::Stop},
};
constexpr std::pair<const char*, int> ERRORS[] = {
    {"EIO", EIO},         {"ENOSPC", ENOSPC}, {"EDQUOT", EDQUOT}, {"EACCES", EACCES},
    {"EROFS", EROFS},     {"EMFILE", EMFILE}, {"EINTR", EINTR},   {"ENOENT", ENOENT},
    {"ENOMEM", ENOMEM},   {"EBUSY", EBUSY},   {"EPERM", EPERM},   {"EINVAL", EINVAL},
    {"ENOTSUP", ENOTSUP}, {"ENOLCK", ENOLCK},
};

template <class Table, class Value>
Value Look(const Table& table, const char* name, Value otherwise) {
    for (const auto& [known, value] : table) {
        if (std::strcmp(known, name) == 0) return value;
    }
    return otherwise;
}

const char* Variable(const char* name, const char* otherwise) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : otherwise;
}

int OpenForAppending(const char* variable) {
    const char* path = std::getenv(variable);
    if (path == nullptr) return -1;
    return static_cast<int>(
        ::syscall(SYS_openat, AT_FDCWD, path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644));
}

/// Failures of one operation in a storm.
constexpr long long STORM_FAILURES = 3;

unsigned Bit(Operation operation) {
    return 1u << static_cast<unsigned>(operation);
}

/// The settings of the environment, and the counts so far.
struct State {
    State();

    std::string root;
    unsigned operations = 0;
    std::string match;
    long long at = 0;
    long long times = 1;
    int error = EIO;
    Mode mode = Mode::Fail;
    long long quota = -1;  // bytes left; below 0: no limit
    bool hasQuota = false;
    int log = -1;
    int journal = -1;

    std::mutex mutex;  // guards the fields below, and the order in log and journal
    long long counted = 0;
    std::uint32_t records = 0;
    std::unordered_map<int, std::string> paths;  // of open descriptors
};

State::State() {
    const int saved = errno;
    root = Variable("FAULTFS_ROOT", "");
    if (char* resolved = ::realpath(root.c_str(), nullptr)) {
        root = resolved;
        std::free(resolved);
    }
    while (root.size() > 1 && root.back() == '/') root.pop_back();
    std::istringstream names(
        Variable("FAULTFS_OPS", "create,write,fsync,truncate,rename,unlink,mkdir"));
    for (std::string name; std::getline(names, name, ',');) {
        for (const auto& [known, operation] : OPERATIONS) {
            if (name == known) operations |= Bit(operation);
        }
    }
    match = Variable("FAULTFS_MATCH", "*");
    at = std::atoll(Variable("FAULTFS_AT", "0"));
    const char* count = Variable("FAULTFS_TIMES", "1");
    times = std::strcmp(count, "all") == 0 ? LLONG_MAX / 2 : std::atoll(count);
    const char* name = Variable("FAULTFS_ERR", "EIO");
    error = Look(ERRORS, name, std::atoi(name) != 0 ? std::atoi(name) : EIO);
    mode = Look(MODES, Variable("FAULTFS_MODE", "fail"), Mode::Fail);
    if (const char* bytes = std::getenv("FAULTFS_QUOTA")) {
        quota = std::atoll(bytes);
        hasQuota = true;
    }
    log = OpenForAppending("FAULTFS_LOG");
    journal = OpenForAppending("FAULTFS_JOURNAL");
    errno = saved;
}

/// Never destroyed: files are closed until the very end of the process.
State& The() {
    static State& state = *new State;
    return state;
}

/// Calls the system directly, without the calls that this library replaces.
void WriteRaw(int descriptor, const std::string& bytes) {
    for (std::size_t done = 0; done < bytes.size();) {
        const long moved =
            ::syscall(SYS_write, descriptor, bytes.data() + done, bytes.size() - done);
        if (moved < 0 && errno == EINTR) continue;
        if (moved <= 0) return;
        done += static_cast<std::size_t>(moved);
    }
}

std::string BaseName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

const char* NameOf(Operation operation) {
    for (const auto& [name, known] : OPERATIONS) {
        if (known == operation) return name;
    }
    return "?";
}

/// Whether the operation of that number is to be disturbed.
bool IsHit(const State& state, long long number) {
    if (state.mode == Mode::None || state.at <= 0 || number < state.at) return false;
    if (state.mode == Mode::Storm)
        return (number - state.at) % (STORM_FAILURES + 1) < STORM_FAILURES;
    return number - state.at < state.times;
}

/// @return whether this is an operation to disturb
bool Count(State& state, Operation operation, const std::string& path, long long bytes) {
    const std::lock_guard<std::mutex> guard(state.mutex);
    const long long number = ++state.counted;
    const bool hit = IsHit(state, number);
    if (state.log >= 0) {
        std::ostringstream line;
        line << number << ' ' << NameOf(operation) << (hit ? " HIT " : " - ") << bytes << ' '
             << path << '\n';
        WriteRaw(state.log, line.str());
    }
    return hit;
}

/// The folder that a relative path starts from.
std::optional<std::string> FolderOf(int folder) {
    char text[PATH_MAX];
    if (folder == AT_FDCWD) {
        if (::syscall(SYS_getcwd, text, sizeof(text)) < 0) return std::nullopt;
        return text;
    }
    const std::string link = "/proc/self/fd/" + std::to_string(folder);
    const long size = ::syscall(SYS_readlinkat, AT_FDCWD, link.c_str(), text, sizeof(text));
    if (size < 0) return std::nullopt;
    return std::string(text, static_cast<std::size_t>(size));
}

/// Removes ".", ".." and double slashes.
std::string Cleaned(const std::string& path) {
    std::string clean;
    std::istringstream parts(path);
    for (std::string part; std::getline(parts, part, '/');) {
        if (part.empty() || part == ".") continue;
        if (part == "..") {
            clean.resize(clean.empty() ? 0 : clean.rfind('/'));
        } else {
            clean += '/' + part;
        }
    }
    return clean.empty() ? "/" : clean;
}

template <class Number>
void Append(std::string& bytes, Number number) {
    bytes.append(reinterpret_cast<const char*>(&number), sizeof(number));
}

}  // namespace

Verdict Judge(Operation operation, const std::string& path, long long bytes) {
    State& state = The();
    if ((state.operations & Bit(operation)) == 0) return Verdict::Go;
    if (::fnmatch(state.match.c_str(), BaseName(path).c_str(), 0) != 0) return Verdict::Go;
    if (!Count(state, operation, path, bytes)) return Verdict::Go;
    const bool moves = operation == Operation::Read || operation == Operation::Write;
    switch (state.mode) {
        case Mode::Kill:
            Die();
        case Mode::KillAfter:
            return Verdict::ThenDie;
        case Mode::Stop:
            ::kill(::getpid(), SIGSTOP);
            return Verdict::Go;
        case Mode::Short:
            return moves ? Verdict::Half : Verdict::Refuse;
        case Mode::Torn:
            return operation == Operation::Write ? Verdict::HalfThenDie : Verdict::Refuse;
        default:
            return Verdict::Refuse;
    }
}

int Error() {
    return The().error;
}

void Die() {
    ::kill(::getpid(), SIGKILL);
    for (;;) ::pause();
}

std::optional<std::size_t> TakeFromQuota(std::size_t wanted) {
    State& state = The();
    if (!state.hasQuota) return wanted;
    const std::lock_guard<std::mutex> guard(state.mutex);
    if (state.quota <= 0) return std::nullopt;
    const std::size_t taken = std::min(wanted, static_cast<std::size_t>(state.quota));
    state.quota -= static_cast<long long>(taken);
    return taken;
}

std::optional<std::string> Watched(int folder, const char* path) {
    State& state = The();
    if (state.root.empty() || path == nullptr) return std::nullopt;
    std::string whole = path;
    if (whole.empty() || whole[0] != '/') {
        const auto start = FolderOf(folder);
        if (!start) return std::nullopt;
        whole = *start + '/' + whole;
    }
    whole = Cleaned(whole);
    const std::size_t size = state.root.size();
    if (whole.compare(0, size, state.root) != 0) return std::nullopt;
    if (whole.size() > size && whole[size] != '/') return std::nullopt;
    return whole;
}

std::optional<std::string> PathOf(int descriptor) {
    State& state = The();
    if (state.root.empty()) return std::nullopt;
    const std::lock_guard<std::mutex> guard(state.mutex);
    const auto found = state.paths.find(descriptor);
    if (found == state.paths.end()) return std::nullopt;
    return found->second;
}

void Remember(int descriptor, const std::string& path) {
    const std::lock_guard<std::mutex> guard(The().mutex);
    The().paths[descriptor] = path;
}

void Forget(int descriptor) {
    const std::lock_guard<std::mutex> guard(The().mutex);
    The().paths.erase(descriptor);
}

bool HasJournal() {
    return The().journal >= 0;
}

void WriteRecord(Record kind, const std::string& path, const std::string& secondPath,
                 std::uint64_t inode, std::uint64_t offset, std::uint64_t length,
                 const void* data) {
    State& state = The();
    if (state.journal < 0) return;
    const int saved = errno;
    const std::lock_guard<std::mutex> guard(state.mutex);
    const std::uint64_t dataLength = data != nullptr ? length : 0;
    std::string bytes = "FFJ1";
    Append(bytes, static_cast<std::uint32_t>(kind));
    Append(bytes, state.records++);
    Append(bytes, static_cast<std::uint32_t>(::getpid()));
    for (const std::uint64_t number : {inode, offset, length, dataLength}) Append(bytes, number);
    Append(bytes, static_cast<std::uint32_t>(path.size()));
    Append(bytes, static_cast<std::uint32_t>(secondPath.size()));
    bytes += path + secondPath;
    bytes.append(static_cast<const char*>(data), dataLength);
    WriteRaw(state.journal, bytes);  // one append, so that processes may share the file
    errno = saved;
}

std::uint64_t InodeOf(int descriptor) {
    struct stat status {};
    const int saved = errno;
    const long result = ::syscall(SYS_newfstatat, descriptor, "", &status, AT_EMPTY_PATH);
    errno = saved;
    return result == 0 ? static_cast<std::uint64_t>(status.st_ino) : 0;
}

}  // namespace faultfs
