// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// A result file that is there completely or not at all.
//
//     open      an anonymous file in the folder of the result (where the file system cannot: a hidden temporary name)
//     Write     every byte is checked, so a full disk is an error and never a short file
//     Commit    the result gets its name, replacing an older one in one step
//     destroyed without Commit: nothing remains, the older file is untouched
//
// "-" is standard output; it and other things that are no regular files (FIFOs, devices) are written directly.
#pragma once

#include <string>

#include "formats/Bytes.h"

namespace VexaTool {

class OutputFile {
  public:
    explicit OutputFile(std::string path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void Write(Bytes bytes);
    void Commit();

  private:
    [[noreturn]] void Fail(int error) const;
    void OpenUnfinished();
    void NameAnonymous();

    std::string given_;      ///< the path as the user knows it
    std::string path_;       ///< where the file really goes
    std::string temporary_;  ///< the hidden name, while the unfinished file has one
    int fd_ = -1;
    bool direct_ = false;
};

/// Opens, writes and commits.
void WriteWholeFile(const std::string& path, Bytes bytes);

}  // namespace VexaTool
