// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Cleanup.h.
#include "output/Cleanup.h"

#include <pthread.h>
#include <unistd.h>

#include <csignal>
#include <set>
#include <string_view>
#include <thread>

#include "Failure.h"

namespace VexaTool {

namespace {

std::mutex s_names;
std::set<std::string> s_unfinished;

/// The lock is never given back: no other thread names a file from here on.
void RemoveUnfinishedForGood() {
    s_names.lock();
    for (const std::string& path : s_unfinished) {
        unlink(path.c_str());
    }
}

/// The thread that faults was reading pixels, so it holds no lock itself.
void EndByShrunkInput(int /*number*/) {
    static constexpr std::string_view kLine = "vexacamutl: an input file became shorter while it was read\n";
    RemoveUnfinishedForGood();
    [[maybe_unused]] const auto written = write(STDERR_FILENO, kLine.data(), kLine.size());
    _exit(static_cast<int>(ExitCode::kInput));
}

bool s_endsByClosedPipe = true;

bool IsIgnored(int number) {
    struct sigaction action = {};
    static_cast<void>(sigaction(number, nullptr, &action));
    return action.sa_handler == SIG_IGN;
}

/// Those that end a process from outside; what the parent ignores stays ignored (nohup).
sigset_t EndingSignals() {
    sigset_t ending;
    sigemptyset(&ending);
    const auto add = [&ending](int number) {
        if (!IsIgnored(number)) {
            sigaddset(&ending, number);
        }
    };
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGALRM, SIGVTALRM, SIGPROF, SIGUSR1, SIGUSR2, SIGXCPU,
                             SIGIO, SIGPWR, SIGSTKFLT}) {
        add(number);
    }
    for (int number = SIGRTMIN; number <= SIGRTMAX; ++number) {
        add(number);
    }
    return ending;
}

/// Ends the tool as this signal does.
[[noreturn]] void EndBySignal(int number) {
    RemoveUnfinishedForGood();
    static_cast<void>(std::signal(number, SIG_DFL));
    sigset_t only;
    sigemptyset(&only);
    sigaddset(&only, number);
    pthread_sigmask(SIG_UNBLOCK, &only, nullptr);
    static_cast<void>(std::raise(number));
    _exit(static_cast<int>(ExitCode::kOutput));  // not reached: the signal has ended the tool
}

}  // namespace

void InstallSignalHandling() {
    const sigset_t ending = EndingSignals();
    pthread_sigmask(SIG_BLOCK, &ending, nullptr);
    std::thread([ending] {
        int number = 0;
        if (sigwait(&ending, &number) == 0) {
            EndBySignal(number);
        }
    }).detach();
    s_endsByClosedPipe = !IsIgnored(SIGPIPE);
    static_cast<void>(std::signal(SIGBUS, EndByShrunkInput));
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
}

void EndByClosedPipe() {
    if (s_endsByClosedPipe) {
        EndBySignal(SIGPIPE);
    }
}

NamesLock LockNames() {
    return std::unique_lock(s_names);
}

void RememberUnfinished(const std::string& path, const NamesLock& /*held*/) {
    s_unfinished.insert(path);
}

void ForgetUnfinished(const std::string& path, const NamesLock& /*held*/) {
    s_unfinished.erase(path);
}

}  // namespace VexaTool
