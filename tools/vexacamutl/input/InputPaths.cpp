// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See InputPaths.h.
#include "input/InputPaths.h"

#include <algorithm>
#include <filesystem>

#include "input/FrameSource.h"

namespace VexaTool {

namespace {

namespace fs = std::filesystem;

/// Regular files, and links of which the system does not say that they lead elsewhere.
bool IsRawFile(const fs::directory_entry& entry) {
    std::string extension = entry.path().extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    std::error_code error;
    const fs::file_type type = entry.status(error).type();
    return (extension == ".raw" || extension == ".bin" || extension == ".rwh") &&
           (type == fs::file_type::regular || type == fs::file_type::none || type == fs::file_type::not_found);
}

std::vector<std::string> RawFilesIn(const std::string& folder) {
    std::vector<std::string> files;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        if (IsRawFile(*entry)) {
            files.push_back(entry->path().string());
        }
    }
    if (error) {
        throw Failure(ExitCode::kInput, "cannot read " + folder + ": " + error.message());
    }
    if (files.empty()) {
        throw Failure(ExitCode::kInput, folder + ": no raw frames (*.raw, *.bin, *.rwh) in this folder");
    }
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace

bool IsFolder(const std::string& path) {
    std::error_code error;
    return path != "-" && fs::is_directory(path, error);
}

std::vector<std::string> WithoutFolders(const std::vector<std::string>& paths, std::vector<InputFailure>& failures) {
    std::vector<std::string> files;
    for (const std::string& path : paths) {
        if (!IsFolder(path)) {
            files.push_back(path);
            continue;
        }
        try {
            const std::vector<std::string> found = RawFilesIn(path);
            files.insert(files.end(), found.begin(), found.end());
        } catch (const Failure& failure) {
            failures.push_back({path, failure});
        }
    }
    return files;
}

}  // namespace VexaTool
