// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Everything that the handlers touch is lock-free, and every call in them is async-signal-safe.
#include "Cleanup.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <string_view>

#include "Failure.h"

namespace VexaTool {

namespace {

/// One slot a thread that may be writing; more than the program starts.
constinit std::array<std::atomic<const char*>, 512> s_unfinished = {};
static_assert(std::atomic<const char*>::is_always_lock_free);

void RemoveUnfinished() {
    for (auto& slot : s_unfinished) {
        const char* path = slot.load();
        if (path != nullptr) {
            unlink(path);
        }
    }
}

void EndBySignal(int number) {
    RemoveUnfinished();
    std::signal(number, SIG_DFL);
    std::raise(number);
}

void EndByShrunkInput(int /*number*/) {
    static constexpr std::string_view kLine = "vexacamutl: an input file became shorter while it was read\n";
    RemoveUnfinished();
    [[maybe_unused]] const auto written = write(STDERR_FILENO, kLine.data(), kLine.size());
    _exit(static_cast<int>(ExitCode::kInput));
}

}  // namespace

void InstallSignalHandlers() {
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
        // What the parent ignores stays ignored (nohup).
        if (std::signal(number, EndBySignal) == SIG_IGN) {
            std::signal(number, SIG_IGN);
        }
    }
    std::signal(SIGBUS, EndByShrunkInput);
    std::signal(SIGXFSZ, SIG_IGN);
}

void RememberUnfinished(const char* path) {
    for (auto& slot : s_unfinished) {
        const char* expected = nullptr;
        if (slot.compare_exchange_strong(expected, path)) {
            return;
        }
    }
}

void ForgetUnfinished(const char* path) {
    for (auto& slot : s_unfinished) {
        const char* expected = path;
        if (slot.compare_exchange_strong(expected, nullptr)) {
            return;
        }
    }
}

}  // namespace VexaTool
