// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Signals and cancellation while a call of the library blocks in the kernel. A FIFO makes it block for as long as the
// test likes.
#include <pthread.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstring>
#include <fstream>

#include "FaultSupport.h"

using namespace Faults;

namespace {

constexpr uint32_t kWidth = 512;
constexpr uint32_t kHeight = 1024;

std::atomic<int> signalsHandled{0};

void CountSignal(int) {
    ++signalsHandled;
}

void Pause() {
    ::usleep(2000);
}

class Signals : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(::mkfifo(m_fifo.c_str(), 0600), 0);
        m_descriptors = OpenDescriptors();
        struct sigaction action = {};
        action.sa_handler = CountSignal;  // without SA_RESTART: calls are interrupted
        ASSERT_EQ(::sigaction(SIGUSR1, &action, nullptr), 0);
    }

    void TearDown() override { EXPECT_EQ(OpenDescriptors(), m_descriptors); }

    Folder m_folder;
    const std::string m_fifo = m_folder.File("fifo");
    const ByteVector m_picture = Noise(size_t{kWidth} * kHeight * 4);
    long m_descriptors = 0;
};

/// Arguments of the threads that get cancelled, and what they did before.
struct Job {
    const Writer* writer;
    const ByteVector* picture;
    const char* path;
    uint8_t* frame;
    UtlStatus status;
    uint32_t height = kHeight;
    std::atomic<pid_t> thread = 0;
};

/// The letter of a thread's state, S while it sleeps in the kernel; 0 if it has not begun yet or has ended.
char StateOf(const Job& job) {
    std::ifstream file("/proc/self/task/" + std::to_string(job.thread) + "/stat");
    std::string line;
    std::getline(file, line);
    const size_t afterName = line.rfind(')');  // "123 (name) S ..."
    return afterName == std::string::npos || afterName + 2 >= line.size() ? '\0' : line[afterName + 2];
}

/// Returns when the thread waits for the other side of the FIFO: it took what that held and sleeps at every look. On a
/// busy machine a thread may need any time to get there.
void LetItBlock(const Job& job, int fifo) {
    constexpr int kLooks = 5;
    int asleep = 0;
    for (int i = 0; i < 20000 && asleep < kLooks; ++i) {
        Pause();
        int held = 0;
        const bool taken = job.writer != nullptr || (::ioctl(fifo, FIONREAD, &held) == 0 && held == 0);
        asleep = taken && StateOf(job) == 'S' ? asleep + 1 : 0;
    }
    EXPECT_EQ(asleep, kLooks) << "the call does not block";
}

void* RunWriter(void* argument) {
    auto* job = static_cast<Job*>(argument);
    job->thread = ::gettid();
    job->status = job->writer->save(job->picture->data(), kWidth, job->height, job->path);
    return nullptr;
}

void* RunLoad(void* argument) {
    auto* job = static_cast<Job*>(argument);
    job->thread = ::gettid();
    job->status = LoadRWH(job->path, &job->frame, nullptr, nullptr, nullptr, nullptr);
    return nullptr;
}

TEST_F(Signals, InterruptedWritesLoseNothing) {
    for (const Writer& writer : kWriters) {
        const std::string plain = m_folder.File("plain");
        ASSERT_EQ(writer.save(m_picture.data(), kWidth, kHeight, plain.c_str()), UTL_STS_SUCCESS);
        signalsHandled = 0;
        const int in = ::open(m_fifo.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        Job job = {&writer, &m_picture, m_fifo.c_str(), nullptr, UTL_STS_INVALID_PARAMETER};
        pthread_t thread = {};
        ASSERT_EQ(::pthread_create(&thread, nullptr, RunWriter, &job), 0);
        ByteVector received;
        ByteVector piece(30000);
        const size_t complete = ReadWhole(plain).size();
        while (received.size() < complete) {
            Pause();
            ASSERT_EQ(::pthread_kill(thread, SIGUSR1), 0);
            const ssize_t got = ::read(in, piece.data(), piece.size());
            received.insert(received.end(), piece.begin(), piece.begin() + std::max<ssize_t>(got, 0));
        }
        ASSERT_EQ(::pthread_join(thread, nullptr), 0);
        ::close(in);
        EXPECT_EQ(job.status, UTL_STS_SUCCESS);
        EXPECT_GT(signalsHandled, 0);
        EXPECT_EQ(received, ReadWhole(plain)) << writer.name;
    }
}

TEST_F(Signals, InterruptedReadsLoseNothing) {
    const std::string plain = m_folder.File("plain");
    ASSERT_EQ(SaveRWH(m_picture.data(), PIXEL_FORMAT_MONO8, kWidth, kHeight, plain.c_str()), UTL_STS_SUCCESS);
    const ByteVector file = ReadWhole(plain);
    Job job = {nullptr, nullptr, m_fifo.c_str(), nullptr, UTL_STS_INVALID_PARAMETER};
    pthread_t thread = {};
    ASSERT_EQ(::pthread_create(&thread, nullptr, RunLoad, &job), 0);
    const int out = ::open(m_fifo.c_str(), O_WRONLY | O_CLOEXEC);
    for (size_t at = 0; at < file.size();) {
        const ssize_t sent = ::write(out, file.data() + at, std::min<size_t>(30000, file.size() - at));
        ASSERT_GT(sent, 0);
        at += static_cast<size_t>(sent);
        if (at < file.size()) {
            Pause();
            ASSERT_EQ(::pthread_kill(thread, SIGUSR1), 0);
        }
    }
    ::close(out);
    ASSERT_EQ(::pthread_join(thread, nullptr), 0);
    EXPECT_EQ(job.status, UTL_STS_SUCCESS);
    ASSERT_NE(job.frame, nullptr);
    EXPECT_EQ(std::memcmp(job.frame, m_picture.data(), size_t{kWidth} * kHeight), 0);
    std::free(job.frame);
}

/// Cancels a thread that waits for the reader of the FIFO.
void CancelWriter(pthread_t thread, const Job& job, int reader) {
    ASSERT_EQ(::pthread_cancel(thread), 0);
    // The stream still wants to flush what it holds; with the reader gone it cannot wait for that.
    ASSERT_NE(std::signal(SIGPIPE, SIG_IGN), SIG_ERR);
    Pause();
    ::close(reader);
    void* result = nullptr;
    ASSERT_EQ(::pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED) << job.writer->name;
    EXPECT_EQ(job.status, UTL_STS_INVALID_PARAMETER) << "the call must not have returned";
}

TEST_F(Signals, ThreadCancelledInAWriteUnwindsAndClosesTheFile) {
#ifdef __SANITIZE_ADDRESS__  // only g++ defines it
    GTEST_SKIP() << "the runtime of g++ takes frames that a cancellation has unwound for live ones";
#endif
    for (const Writer& writer : kWriters) {
        const int in = ::open(m_fifo.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        Job job = {&writer, &m_picture, m_fifo.c_str(), nullptr, UTL_STS_INVALID_PARAMETER};
        pthread_t thread = {};
        ASSERT_EQ(::pthread_create(&thread, nullptr, RunWriter, &job), 0);
        LetItBlock(job, in);
        CancelWriter(thread, job, in);
    }
}

/// Fills the FIFO, so that the next write waits.
void Fill(int fifo) {
    const ByteVector bytes(4096);
    for (size_t size = bytes.size(); size > 0; size /= 2) {
        while (::write(fifo, bytes.data(), size) > 0) {
        }
    }
}

TEST_F(Signals, ThreadCancelledWhileItClosesTheFileUnwinds) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the runtime of g++ takes frames that a cancellation has unwound for live ones";
#endif
    for (const Writer& writer : kWriters) {
        // A file of one row is held back until it is closed.
        const int both = ::open(m_fifo.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
        Fill(both);
        Job job = {&writer, &m_picture, m_fifo.c_str(), nullptr, UTL_STS_INVALID_PARAMETER, 1};
        pthread_t thread = {};
        ASSERT_EQ(::pthread_create(&thread, nullptr, RunWriter, &job), 0);
        LetItBlock(job, both);
        CancelWriter(thread, job, both);
    }
}

TEST_F(Signals, ThreadCancelledInAReadUnwindsAndClosesTheFile) {
    for (const size_t sent : {size_t{0}, size_t{16}, size_t{5000}}) {
        const std::string plain = m_folder.File("plain");
        ASSERT_EQ(SaveRWH(m_picture.data(), PIXEL_FORMAT_MONO8, kWidth, kHeight, plain.c_str()), UTL_STS_SUCCESS);
        const ByteVector file = ReadWhole(plain);
        Job job = {nullptr, nullptr, m_fifo.c_str(), nullptr, UTL_STS_INVALID_PARAMETER};
        pthread_t thread = {};
        ASSERT_EQ(::pthread_create(&thread, nullptr, RunLoad, &job), 0);
        const int out = ::open(m_fifo.c_str(), O_WRONLY | O_CLOEXEC);
        ASSERT_EQ(::write(out, file.data(), sent), static_cast<ssize_t>(sent));
        LetItBlock(job, out);
        ASSERT_EQ(::pthread_cancel(thread), 0);
        void* result = nullptr;
        ASSERT_EQ(::pthread_join(thread, &result), 0);
        ::close(out);
        EXPECT_EQ(result, PTHREAD_CANCELED);
        EXPECT_EQ(job.status, UTL_STS_INVALID_PARAMETER) << "the call must not have returned";
        EXPECT_EQ(job.frame != nullptr, sent >= 16) << "a block that was handed out stays the caller's";
        std::free(job.frame);
    }
}

}  // namespace
