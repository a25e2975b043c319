// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See OutputFile.h. Linux's O_TMPFILE makes the anonymous file, linkat through /proc gives it a name.
#include "output/OutputFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <utility>

#include "Failure.h"
#include "output/Cleanup.h"

namespace VexaTool {

namespace {

constexpr mode_t kFileMode = 0666;  // the process's mask takes its part
constexpr mode_t kPermissions = 0777;

/// Of a path that FindDestination made, which has one.
std::string FolderOf(const std::string& path) {
    return std::filesystem::path(path).parent_path().string();
}

/// With a wider pipe, reader and writer wait for each other less often. A file that is not a pipe answers -1, and the
/// system may refuse.
void WidenPipe(int fd) {
    static constexpr int kBytes = 1 << 20;  // the most that Linux grants everybody
    const int bytes = fcntl(fd, F_GETPIPE_SZ);
    if (bytes > 0 && bytes < kBytes) {
        static_cast<void>(fcntl(fd, F_SETPIPE_SZ, kBytes));
    }
}

/// A hidden name beside the result that no other writer, thread or process, uses.
std::string TemporaryNameFor(const std::string& path) {
    static std::atomic<unsigned> s_serial = 0;
    return FolderOf(path) + "/.vexacamutl-" + std::to_string(getpid()) + "-" + std::to_string(s_serial++) + ".part";
}

}  // namespace

OutputFile::OutputFile(std::string path, WriteRules rules) : m_given(std::move(path)), m_rules(rules) {
    try {
        Open();
    } catch (...) {
        Discard();
        throw;
    }
}

OutputFile::~OutputFile() {
    Discard();
}

void OutputFile::Open() {
    if (m_given == "-") {
        m_fd = STDOUT_FILENO;
        m_direct = true;
    } else {
        const Destination destination = FindDestination(m_given);
        m_path = destination.path;
        if (destination.descriptor >= 0 || (destination.file && !destination.IsRegularFile())) {
            OpenDirectly(destination);
        } else {
            // A file that its user may not write is not to be replaced either.
            if (destination.file && faccessat(AT_FDCWD, m_path.c_str(), W_OK, AT_EACCESS) != 0) {
                Fail(errno);
            }
            OpenUnfinished();
            if (destination.file) {
                TakeOver(*destination.file);
            }
        }
    }
    if (m_direct && isatty(m_fd) != 0) {
        throw Failure(ExitCode::kUsage,
                      (m_given == "-" ? "standard output" : m_given) + " is a terminal; redirect it, or name a file");
    }
    if (m_direct) {
        WidenPipe(m_fd);
    }
}

void OutputFile::Discard() {
    if (m_fd >= 0 && m_fd != STDOUT_FILENO) {
        close(m_fd);
    }
    if (!m_temporary.empty()) {
        const auto lock = LockNames();
        unlink(m_temporary.c_str());
        ForgetUnfinished(m_temporary, lock);
    }
}

void OutputFile::Fail(int error) const {
    throw Failure(ExitCode::kOutput,
                  "cannot write " + (m_given == "-" ? "standard output" : m_given) + ": " + SystemMessage(error));
}

void OutputFile::OpenDirectly(const Destination& destination) {
    m_direct = true;
    m_fd = destination.descriptor >= 0 ? fcntl(destination.descriptor, F_DUPFD_CLOEXEC, 3)
                                       : open(m_path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    if (m_fd < 0) {
        Fail(errno);
    }
}

void OutputFile::OpenUnfinished() {
    if (DescriptorsHaveNames()) {
        m_fd = open(FolderOf(m_path).c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, kFileMode);
        if (m_fd >= 0) {
            return;
        }
    }
    const std::string name = TemporaryNameFor(m_path);
    const auto lock = LockNames();
    m_fd = open(name.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, kFileMode);
    if (m_fd < 0) {
        Fail(errno);
    }
    m_temporary = name;
    RememberUnfinished(name, lock);
}

/// Where the owner cannot be kept, the group is tried; set-user-id bits stay with their owner only.
void OutputFile::TakeOver(const struct stat& older) const {
    struct stat fresh = {};
    if (fstat(m_fd, &fresh) != 0) {
        Fail(errno);
    }
    bool owned = fresh.st_uid == older.st_uid && fresh.st_gid == older.st_gid;
    if (!owned) {
        owned = fchown(m_fd, older.st_uid, older.st_gid) == 0;
    }
    if (!owned && fchown(m_fd, static_cast<uid_t>(-1), older.st_gid) != 0) {
        errno = 0;  // neither is permitted: the file is the caller's, as a new one would be
    }
    if (fchmod(m_fd, older.st_mode & (owned ? mode_t{07777} : kPermissions)) != 0) {
        Fail(errno);
    }
}

void OutputFile::Write(Bytes bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(m_fd, bytes.data(), bytes.size());
        if (written >= 0) {
            bytes = bytes.subspan(static_cast<size_t>(written));
        } else if (errno == EPIPE) {
            EndByClosedPipe();
            Fail(EPIPE);
        } else if (errno != EINTR) {
            Fail(errno);
        }
    }
}

void OutputFile::NameAnonymous() {
    const std::string anonymous = "/proc/self/fd/" + std::to_string(m_fd);
    const auto link = [&](const std::string& name) {
        return linkat(AT_FDCWD, anonymous.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
    };
    const auto lock = LockNames();
    if (link(m_path)) {
        return;
    }
    // A link cannot replace the older file, a rename can.
    if (errno != EEXIST || !m_rules.replace) {
        Fail(errno);
    }
    const std::string name = TemporaryNameFor(m_path);
    if (!link(name)) {
        Fail(errno);
    }
    if (std::rename(name.c_str(), m_path.c_str()) != 0) {
        const int error = errno;
        unlink(name.c_str());
        Fail(error);
    }
}

void OutputFile::NameTemporary() {
    const auto lock = LockNames();
    const unsigned flags = m_rules.replace ? 0 : RENAME_NOREPLACE;
    bool named = renameat2(AT_FDCWD, m_temporary.c_str(), AT_FDCWD, m_path.c_str(), flags) == 0;
    if (!named && !m_rules.replace && errno == EINVAL) {
        // This file system does not know RENAME_NOREPLACE; link() refuses an existing name too.
        named = link(m_temporary.c_str(), m_path.c_str()) == 0 && unlink(m_temporary.c_str()) == 0;
    }
    if (!named) {
        Fail(errno);
    }
    ForgetUnfinished(m_temporary, lock);
    m_temporary.clear();
}

void OutputFile::SyncFolder() const {
    const int folder = open(FolderOf(m_path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const bool good = folder >= 0 && fsync(folder) == 0;
    const int error = errno;
    if (folder >= 0) {
        close(folder);
    }
    if (!good) {
        Fail(error);
    }
}

void OutputFile::Commit() {
    if (m_direct) {
        return;
    }
    if (m_rules.sync && fsync(m_fd) != 0) {
        Fail(errno);
    }
    if (m_temporary.empty()) {
        NameAnonymous();
    } else {
        NameTemporary();
    }
    if (close(std::exchange(m_fd, -1)) != 0) {
        Fail(errno);
    }
    if (m_rules.sync) {
        SyncFolder();
    }
}

void WriteWholeFile(const std::string& path, Bytes bytes, WriteRules rules) {
    OutputFile file(path, rules);
    file.Write(bytes);
    file.Commit();
}

}  // namespace VexaTool
