// SPDX-License-Identifier: MIT
#include "tests/support/PostgresqlServer.h"

#include <fcntl.h>
#include <grp.h>
#include <libpq-fe.h>
#include <pwd.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <vector>

namespace sonrel_tests {

namespace {

namespace fs = std::filesystem;

/// The folder of the programs of the newest server; empty without a server.
std::string FindPrograms() {
    std::string newest;
    std::error_code error;
    for (const auto& version : fs::directory_iterator("/usr/lib/postgresql", error)) {
        const std::string folder = (version.path() / "bin").string();
        if (fs::exists(folder + "/postgres") && folder > newest) newest = folder;
    }
    return newest;
}

/// The user of the server. Other users than root keep their own.
passwd User() {
    const passwd* const user = getpwnam("postgres");
    if (user == nullptr) throw std::runtime_error("the user postgres does not exist");
    return *user;
}

void BecomeUser() {
    if (getuid() != 0) return;
    const passwd user = User();
    if (setgroups(0, nullptr) != 0 || setgid(user.pw_gid) != 0 || setuid(user.pw_uid) != 0) {
        _exit(98);
    }
}

int EndOf(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// Reads the messages of a server until it accepts connections. @return whether it does
bool WaitUntilReady(int messages) {
    std::string text;
    for (char byte = 0; read(messages, &byte, 1) == 1;) {
        text += byte;
        if (text.ends_with("ready to accept connections")) return true;
    }
    std::fprintf(stderr, "%s\n", text.c_str());
    return false;
}

}  // namespace

PostgresqlServer* PostgresqlServer::Shared() {
    static const std::string PROGRAMS = FindPrograms();
    if (PROGRAMS.empty()) return nullptr;
    static const std::unique_ptr<PostgresqlServer> SERVER(new PostgresqlServer(PROGRAMS));
    return SERVER.get();
}

PostgresqlServer::PostgresqlServer(std::string programs) : programs_(std::move(programs)) {
    if (getuid() == 0 && chown(folder_.Path().c_str(), User().pw_uid, User().pw_gid) != 0) {
        throw std::runtime_error("cannot give the folder of the server to its user");
    }
    const pid_t child = fork();
    if (child == 0) Exec("initdb", open("/dev/null", O_WRONLY));
    if (EndOf(child) != 0) throw std::runtime_error("initdb failed");
    Start();
}

PostgresqlServer::~PostgresqlServer() {
    Stop();
}

std::string PostgresqlServer::Address(const std::string& user) const {
    return "postgresql:///postgres?host=" + folder_.Path().string() + "&user=" + user;
}

void PostgresqlServer::Stop() {
    if (child_ <= 0) return;
    kill(child_, SIGINT);
    EndOf(child_);
    child_ = -1;
}

void PostgresqlServer::Start() {
    int messages[2];
    if (pipe2(messages, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    child_ = fork();
    if (child_ == 0) Exec("postgres", messages[1]);
    close(messages[1]);
    const bool isReady = WaitUntilReady(messages[0]);
    // Its few later messages fill no pipe; without a reader it would end.
    static_cast<void>(fcntl(messages[0], F_SETPIPE_SZ, 1 << 20));
    if (!isReady) throw std::runtime_error("the server does not start");
}

void PostgresqlServer::Clear() const {
    Ask("ALTER ROLE sonrel RESET ALL");
    Ask("DROP SCHEMA IF EXISTS sonrel CASCADE");
}

std::string PostgresqlServer::Ask(const std::string& sql) const {
    PGconn* const connection =
        PQconnectdb((Address() + "&options=-csearch_path%3Dsonrel%20-cclient_min_messages%3Derror" +
                     "%20-cdefault_transaction_read_only%3Doff")
                        .c_str());
    PGresult* const result = PQexec(connection, sql.c_str());
    const std::string failure = PQresultErrorMessage(result);
    const bool hasRow = PQntuples(result) > 0 && PQgetisnull(result, 0, 0) == 0;
    const std::string answer = hasRow ? PQgetvalue(result, 0, 0) : "";
    PQclear(result);
    PQfinish(connection);
    if (!failure.empty()) throw std::runtime_error(sql + ": " + failure);
    return answer;
}

/// The server ends with this program. The signal of the parent's end is set after the change of the
/// user, which would clear it.
void PostgresqlServer::Exec(const std::string& program, int output) const {
    const std::string data = folder_.Path().string() + "/data";
    const std::string path = programs_ + "/" + program;
    std::vector<std::string> words{program, "-D", data};
    const std::vector<std::string> rest =
        program == "initdb" ? std::vector<std::string>{"-U", "sonrel", "-A",   "trust",
                                                       "-N", "-E",     "UTF8", "--locale=C"}
                            : std::vector<std::string>{"-k", folder_.Path().string(),
                                                       "-c", "listen_addresses=",
                                                       "-c", "fsync=off",
                                                       "-c", "log_min_messages=log",
                                                       "-c", "log_checkpoints=off",
                                                       "-c", "shared_buffers=8MB"};
    words.insert(words.end(), rest.begin(), rest.end());
    std::vector<char*> pointers;
    for (std::string& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    dup2(output, STDERR_FILENO);
    dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
    BecomeUser();
    if (program == "postgres") prctl(PR_SET_PDEATHSIG, SIGQUIT);
    if (chdir("/") == 0) execv(path.c_str(), pointers.data());
    _exit(97);
}

}  // namespace sonrel_tests
