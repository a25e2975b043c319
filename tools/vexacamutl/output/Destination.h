// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Which file a name stands for, once every link in it is followed.
//
//     out.png -> results/a.png     results/a.png, whether it exists or not: a result replaces it, the link stays
//     /dev/stdout, /dev/fd/3       a descriptor that is open already
#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>

namespace VexaTool {

struct Destination {
    std::string path;                 ///< absolute, no part of it is a link
    std::optional<struct stat> file;  ///< of the file that exists there
    int descriptor = -1;              ///< at least 0: the name stands for this descriptor

    bool IsRegularFile() const { return file && S_ISREG(file->st_mode); }
};

/// A Failure for a loop of links and for an empty name.
Destination FindDestination(const std::string& name);

/// Two names or descriptors of one file have the same identity.
struct FileIdentity {
    dev_t device;
    ino_t inode;
    friend bool operator<(const FileIdentity& a, const FileIdentity& b) {
        return a.device != b.device ? a.device < b.device : a.inode < b.inode;
    }
    friend bool operator==(const FileIdentity& a, const FileIdentity& b) {
        return a.device == b.device && a.inode == b.inode;
    }
};

inline FileIdentity IdentityOf(const struct stat& file) {
    return {file.st_dev, file.st_ino};
}

/// True when files without a name can get one, and descriptors have names: /proc is mounted.
bool DescriptorsHaveNames();

}  // namespace VexaTool
