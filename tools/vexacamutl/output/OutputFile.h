// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// A result file that is there completely or not at all.
//
//     open      an anonymous file in the folder of the result (where that is impossible: a hidden temporary name)
//     Write     every byte is checked, so a full disk is an error and never a short file
//     Commit    the result gets its name, replacing an older one in one step
//     destroyed without Commit: nothing remains, the older file is untouched
//
// A result that replaces a file takes over its mode and, where the system permits, its owner. A link is followed: the
// file behind it is replaced. "-" is standard output; it, names of open descriptors (/dev/stdout) and things that are
// not regular files (FIFOs, devices) are written directly. A terminal is refused.
#pragma once

#include <string>

#include "formats/Bytes.h"
#include "output/Destination.h"

namespace VexaTool {

struct WriteRules {
    bool replace = true;  ///< false: a file that exists is an error
    bool sync = false;    ///< on the disk before it gets its name
};

class OutputFile {
  public:
    explicit OutputFile(std::string path, WriteRules rules = {});
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void Write(Bytes bytes);
    void Commit();

    /// True when what was written stays, even without Commit.
    bool WritesDirectly() const { return m_direct; }

  private:
    [[noreturn]] void Fail(int error) const;
    void Open();
    void Discard();
    void OpenDirectly(const Destination& destination);
    void OpenUnfinished();
    void TakeOver(const struct stat& older) const;
    void NameAnonymous();
    void NameTemporary();
    void SyncFolder() const;

    std::string m_given;  ///< the path as the user knows it
    WriteRules m_rules;
    std::string m_path;       ///< where the file really goes
    std::string m_temporary;  ///< the hidden name, while the unfinished file has one
    int m_fd = -1;
    bool m_direct = false;
};

/// Opens, writes and commits.
void WriteWholeFile(const std::string& path, Bytes bytes, WriteRules rules = {});

}  // namespace VexaTool
