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

std::string FolderOf(const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

/// A reader and this program take turns less often. What is no pipe answers -1, and the system may refuse.
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

OutputFile::OutputFile(std::string path, WriteRules rules) : given_(std::move(path)), rules_(rules) {
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
    if (given_ == "-") {
        fd_ = STDOUT_FILENO;
        direct_ = true;
    } else {
        const Destination destination = FindDestination(given_);
        path_ = destination.path;
        if (destination.descriptor >= 0 || (destination.file && !destination.IsRegularFile())) {
            OpenDirectly(destination);
        } else {
            // A file that its user may not write is not to be replaced either.
            if (destination.file && faccessat(AT_FDCWD, path_.c_str(), W_OK, AT_EACCESS) != 0) {
                Fail(errno);
            }
            OpenUnfinished();
            if (destination.file) {
                TakeOver(*destination.file);
            }
        }
    }
    if (direct_ && isatty(fd_) != 0) {
        throw Failure(ExitCode::kUsage,
                      (given_ == "-" ? "standard output" : given_) + " is a terminal; redirect it, or name a file");
    }
    if (direct_) {
        WidenPipe(fd_);
    }
}

void OutputFile::Discard() {
    if (fd_ >= 0 && fd_ != STDOUT_FILENO) {
        close(fd_);
    }
    if (!temporary_.empty()) {
        const auto lock = LockNames();
        unlink(temporary_.c_str());
        ForgetUnfinished(temporary_);
    }
}

void OutputFile::Fail(int error) const {
    throw Failure(ExitCode::kOutput,
                  "cannot write " + (given_ == "-" ? "standard output" : given_) + ": " + SystemMessage(error));
}

void OutputFile::OpenDirectly(const Destination& destination) {
    direct_ = true;
    fd_ = destination.descriptor >= 0 ? fcntl(destination.descriptor, F_DUPFD_CLOEXEC, 3)
                                      : open(path_.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    if (fd_ < 0) {
        Fail(errno);
    }
}

void OutputFile::OpenUnfinished() {
    if (DescriptorsHaveNames()) {
        fd_ = open(FolderOf(path_).c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, kFileMode);
        if (fd_ >= 0) {
            return;
        }
    }
    const std::string name = TemporaryNameFor(path_);
    const auto lock = LockNames();
    fd_ = open(name.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, kFileMode);
    if (fd_ < 0) {
        Fail(errno);
    }
    temporary_ = name;
    RememberUnfinished(name);
}

/// Where the owner cannot be kept, the group is tried; set-user-id bits stay with their owner only.
void OutputFile::TakeOver(const struct stat& older) const {
    struct stat fresh = {};
    if (fstat(fd_, &fresh) != 0) {
        Fail(errno);
    }
    bool owned = fresh.st_uid == older.st_uid && fresh.st_gid == older.st_gid;
    if (!owned) {
        owned = fchown(fd_, older.st_uid, older.st_gid) == 0;
    }
    if (!owned && fchown(fd_, static_cast<uid_t>(-1), older.st_gid) != 0) {
        errno = 0;  // neither is permitted: the file is the caller's, as a new one would be
    }
    if (fchmod(fd_, older.st_mode & (owned ? mode_t{07777} : kPermissions)) != 0) {
        Fail(errno);
    }
}

void OutputFile::Write(Bytes bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(fd_, bytes.data(), bytes.size());
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
    const std::string anonymous = "/proc/self/fd/" + std::to_string(fd_);
    const auto link = [&](const std::string& name) {
        return linkat(AT_FDCWD, anonymous.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
    };
    const auto lock = LockNames();
    if (link(path_)) {
        return;
    }
    // A link cannot replace the older file, a rename can.
    if (errno != EEXIST || !rules_.replace) {
        Fail(errno);
    }
    const std::string name = TemporaryNameFor(path_);
    if (!link(name)) {
        Fail(errno);
    }
    if (std::rename(name.c_str(), path_.c_str()) != 0) {
        const int error = errno;
        unlink(name.c_str());
        Fail(error);
    }
}

void OutputFile::NameTemporary() {
    const auto lock = LockNames();
    const unsigned flags = rules_.replace ? 0 : RENAME_NOREPLACE;
    bool named = renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, path_.c_str(), flags) == 0;
    if (!named && !rules_.replace && errno == EINVAL) {
        // This file system does not know RENAME_NOREPLACE; link() refuses an existing name too.
        named = link(temporary_.c_str(), path_.c_str()) == 0 && unlink(temporary_.c_str()) == 0;
    }
    if (!named) {
        Fail(errno);
    }
    ForgetUnfinished(temporary_);
    temporary_.clear();
}

void OutputFile::SyncFolder() const {
    const int folder = open(FolderOf(path_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
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
    if (direct_) {
        return;
    }
    if (rules_.sync && fsync(fd_) != 0) {
        Fail(errno);
    }
    if (temporary_.empty()) {
        NameAnonymous();
    } else {
        NameTemporary();
    }
    if (close(std::exchange(fd_, -1)) != 0) {
        Fail(errno);
    }
    if (rules_.sync) {
        SyncFolder();
    }
}

void WriteWholeFile(const std::string& path, Bytes bytes, WriteRules rules) {
    OutputFile file(path, rules);
    file.Write(bytes);
    file.Commit();
}

}  // namespace VexaTool
