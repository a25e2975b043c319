// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See OutputFile.h. Linux's O_TMPFILE makes the anonymous file, linkat through /proc gives it a name.
#include "output/OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
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

std::string FolderOf(const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

/// A hidden name beside the result that no other writer, thread or process, uses.
std::string TemporaryNameFor(const std::string& path) {
    static std::atomic<unsigned> s_serial = 0;
    return FolderOf(path) + "/.vexacamutl-" + std::to_string(getpid()) + "-" + std::to_string(s_serial++) + ".part";
}

/// A link's own target is replaced, not the link.
std::string ResolveLinks(const std::string& path) {
    std::error_code error;
    const std::filesystem::path resolved = std::filesystem::canonical(path, error);
    return error ? path : resolved.string();
}

}  // namespace

OutputFile::OutputFile(std::string path) : given_(std::move(path)), path_(given_) {
    struct stat status = {};
    if (given_ == "-") {
        fd_ = STDOUT_FILENO;
        direct_ = true;
    } else if (stat(path_.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        fd_ = open(path_.c_str(), O_WRONLY | O_CLOEXEC);
        direct_ = true;
    } else {
        path_ = ResolveLinks(path_);
        OpenUnfinished();
    }
    if (fd_ < 0) {
        Fail(errno);
    }
}

OutputFile::~OutputFile() {
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

void OutputFile::OpenUnfinished() {
    fd_ = open(FolderOf(path_).c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, kFileMode);
    if (fd_ >= 0) {
        return;
    }
    const std::string name = TemporaryNameFor(path_);
    const auto lock = LockNames();
    fd_ = open(name.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, kFileMode);
    if (fd_ >= 0) {
        temporary_ = name;
        RememberUnfinished(name);
    }
}

void OutputFile::Write(Bytes bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(fd_, bytes.data(), bytes.size());
        if (written >= 0) {
            bytes = bytes.subspan(static_cast<size_t>(written));
        } else if (errno == EPIPE) {
            EndBySignal(SIGPIPE);  // the reader has seen enough; that is no error worth a line
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
    if (errno != EEXIST) {
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

void OutputFile::Commit() {
    if (direct_) {
        return;
    }
    if (temporary_.empty()) {
        NameAnonymous();
    } else {
        const auto lock = LockNames();
        if (std::rename(temporary_.c_str(), path_.c_str()) != 0) {
            Fail(errno);
        }
        ForgetUnfinished(temporary_);
        temporary_.clear();
    }
    if (close(std::exchange(fd_, -1)) != 0) {
        Fail(errno);
    }
}

void WriteWholeFile(const std::string& path, Bytes bytes) {
    OutputFile file(path);
    file.Write(bytes);
    file.Commit();
}

}  // namespace VexaTool
