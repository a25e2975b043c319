// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Destination.h.
#include "output/Destination.h"

#include <unistd.h>

#include <charconv>
#include <filesystem>

#include "Failure.h"

namespace VexaTool {

namespace {

namespace fs = std::filesystem;

constexpr int kMostLinks = 40;  // as the kernel counts

fs::path FolderOf(const fs::path& path) {
    std::error_code error;
    const fs::path folder = path.parent_path().empty() ? fs::path(".") : path.parent_path();
    const fs::path resolved = fs::weakly_canonical(fs::absolute(folder, error), error);
    return error ? folder : resolved;
}

/// N for .../self/fd/N of this process, -1 otherwise.
int DescriptorNamedBy(const fs::path& folder, const std::string& name) {
    std::error_code error;
    const fs::path descriptors = fs::canonical("/proc/self/fd", error);
    int number = -1;
    const auto [end, wrong] = std::from_chars(name.data(), name.data() + name.size(), number);
    const bool whole = wrong == std::errc{} && end == name.data() + name.size();
    return !error && whole && folder == descriptors ? number : -1;
}

Destination Found(const fs::path& folder, const fs::path& name) {
    Destination destination;
    destination.path = (folder / name).string();
    destination.descriptor = DescriptorNamedBy(folder, name.string());
    struct stat status = {};
    const bool exists = destination.descriptor >= 0 ? fstat(destination.descriptor, &status) == 0
                                                    : lstat(destination.path.c_str(), &status) == 0;
    if (exists) {
        destination.file = status;
    }
    return destination;
}

}  // namespace

Destination FindDestination(const std::string& name) {
    if (name.empty()) {
        throw Failure(ExitCode::kUsage, "the name of the output is empty");
    }
    fs::path path = name;
    for (int links = 0; links < kMostLinks; ++links) {
        const fs::path folder = FolderOf(path);
        Destination destination = Found(folder, path.filename());
        if (destination.descriptor >= 0 || !destination.file || !S_ISLNK(destination.file->st_mode)) {
            return destination;
        }
        std::error_code error;
        path = folder / fs::read_symlink(destination.path, error);
        if (error) {
            break;
        }
    }
    throw Failure(ExitCode::kOutput, "cannot write " + name + ": " + SystemMessage(ELOOP));
}

bool DescriptorsHaveNames() {
    static const bool s_named = access("/proc/self/fd", X_OK) == 0;
    return s_named;
}

}  // namespace VexaTool
