// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What the header promises beside the bytes: converters allocate nothing, calls share nothing, small stacks suffice,
// and rows of frames beyond 4 GiB are found. The library's objects are linked here with --wrap for the functions that
// allocate; kernels that only note their rows make large frames cheap.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "Patterns.h"
#include "Reference.h"
#include "catalogue/VexaCamUtl.h"
#include "kernels/KernelTable.h"

namespace {

std::atomic<uint64_t> s_allocations = 0;
std::atomic<size_t> s_largestArray = 0;

}  // namespace

// The names are the linker's: __wrap_f takes the library's calls of f, __real_f is f. NOLINTBEGIN
#define VEXA_COUNTED(result, function, parameters, arguments) \
    extern "C" result __real_##function parameters;           \
    extern "C" result __wrap_##function parameters;           \
    extern "C" result __wrap_##function parameters {          \
        ++s_allocations;                                      \
        return __real_##function arguments;                   \
    }
VEXA_COUNTED(void*, malloc, (size_t size), (size))
VEXA_COUNTED(void*, calloc, (size_t count, size_t size), (count, size))
VEXA_COUNTED(void*, realloc, (void* block, size_t size), (block, size))
VEXA_COUNTED(void*, aligned_alloc, (size_t alignment, size_t size), (alignment, size))
VEXA_COUNTED(int, posix_memalign, (void** block, size_t alignment, size_t size), (block, alignment, size))
VEXA_COUNTED(void*, _Znwm, (size_t size), (size))
extern "C" void* __real__Znam(size_t size);
extern "C" void* __wrap__Znam(size_t size);
extern "C" void* __wrap__Znam(size_t size) {
    ++s_allocations;
    s_largestArray = std::max<size_t>(s_largestArray, size);
    return __real__Znam(size);
}
// NOLINTEND

namespace {

using Vexa::Kernels::KernelTable;

TEST(Promises, ConvertersQueriesAndReversalAllocateNothing) {
    constexpr uint32_t kWidth = 5000;  // more than a strip of ACPI
    constexpr uint32_t kHeight = 8;
    std::vector<uint8_t> source(size_t{kWidth} * kHeight * 6, 0x5A);
    std::vector<uint8_t> destination(size_t{kWidth} * kHeight * 6);
    const uint64_t before = s_allocations;
    PrepareLUT();
    for (const Reference::Converter& converter : Reference::Converters()) {
        converter.Call(destination.data(), source.data(), kWidth, kHeight);
    }
    for (const PixelFormat format : Reference::ReversibleFormats()) {
        for (uint8_t mode = 0; mode < 4; ++mode) {
            ReverseImg(destination.data(), source.data(), format, kWidth, kHeight, mode & 1, mode >> 1);
        }
        DataDepth(format);
        GetBGRConverter(format, 1);
    }
    EXPECT_EQ(s_allocations, before);
    // The count works: this one allocates, a block of 64 KiB.
    s_largestArray = 0;
    SaveBmpMono(source.data(), 4, 4, "/dev/null");
    EXPECT_GT(s_allocations, before);
    EXPECT_EQ(s_largestArray, size_t{64} << 10);
}

// ---- rows beyond 4 GiB ----

struct NotedRow {
    const uint8_t* dst;
    const uint8_t* above;
    const uint8_t* row;
    const uint8_t* below;
};
std::vector<NotedRow> s_rows;

void NoteRow8(uint8_t* dst, const uint8_t* above, const uint8_t* row, const uint8_t* below, size_t /*width*/) {
    s_rows.push_back({dst, above, row, below});
}

void NoteRowN(uint8_t* dst, const uint8_t* above, const uint8_t* row, const uint8_t* below, size_t /*width*/,
              uint32_t /*shift*/) {
    s_rows.push_back({dst, above, row, below});
}

void NoteGreen(Vexa::Kernels::AcpiLine* /*line*/, const uint8_t* const rows[5], size_t /*from*/, size_t /*to*/) {
    s_rows.push_back({nullptr, rows[1], rows[2], rows[3]});
}

void NoteColour(uint8_t* dst, const Vexa::Kernels::AcpiLine* /*above*/, const Vexa::Kernels::AcpiLine* /*here*/,
                const Vexa::Kernels::AcpiLine* /*below*/, size_t /*count*/) {
    s_rows.push_back({dst, nullptr, nullptr, nullptr});
}

KernelTable NotingTable() {
    KernelTable table = Vexa::Kernels::kScalarTable;
    for (auto& rule : table.bayer8) {
        for (auto& kind : rule) {
            std::fill(std::begin(kind), std::end(kind), NoteRow8);
        }
    }
    for (auto& rule : table.bayerN) {
        for (auto& kind : rule) {
            std::fill(std::begin(kind), std::end(kind), NoteRowN);
        }
    }
    std::fill(std::begin(table.acpiGreen), std::end(table.acpiGreen), NoteGreen);
    for (auto& kind : table.acpiColour) {
        std::fill(std::begin(kind), std::end(kind), NoteColour);
    }
    std::fill(std::begin(table.acpiColourWrappingTie), std::end(table.acpiColourWrappingTie), NoteColour);
    return table;
}

/// Addresses without memory until they are touched.
class SparseBytes {
  public:
    explicit SparseBytes(size_t bytes)
        : m_bytes(bytes),
          m_mapped(mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0)) {}
    SparseBytes(const SparseBytes&) = delete;
    SparseBytes& operator=(const SparseBytes&) = delete;
    ~SparseBytes() {
        if (IsMapped()) {
            munmap(m_mapped, m_bytes);
        }
    }

    bool IsMapped() const { return m_mapped != MAP_FAILED; }
    uint8_t* Data() const { return static_cast<uint8_t*>(m_mapped); }

  private:
    size_t m_bytes;
    void* m_mapped;
};

/// Of 4,100 rows of 2^20 columns the source passes 4 GiB and the destination 16 GiB; only the ends of rows are touched.
TEST(Promises, RowsOfMosaicsAreFoundBeyond4GiB) {
    constexpr uint32_t kWidth = 1u << 20;
    constexpr uint32_t kHeight = 4100;
    const SparseBytes source(size_t{kWidth} * kHeight * 2);
    const SparseBytes destination(size_t{kWidth} * kHeight * 4);
    if (!source.IsMapped() || !destination.IsMapped()) {
        GTEST_SKIP() << "25 GiB of addresses are not to be had";
    }
    const KernelTable table = NotingTable();
    const KernelTable* const before = Vexa::s_psKernels;
    Vexa::s_psKernels = &table;
    for (const Reference::Converter& converter : Reference::Converters()) {
        if (!converter.IsBayer() || converter.phase != Reference::Phase::kRG || converter.depth == 10) {
            continue;
        }
        SCOPED_TRACE(converter.name);
        const size_t srcRow = size_t{kWidth} * converter.SampleBytes();
        const size_t dstRow = size_t{kWidth} * converter.pixelBytes;
        const uint8_t* const src = source.Data();
        uint8_t* const dst = destination.Data();
        const auto srcOffset = [&](size_t row) { return src + row * srcRow; };
        // Red sites at the left border, in a row of the ring and in one between the rings.
        constexpr size_t kRedRows[] = {kHeight - 2, kHeight - 4};
        for (const size_t row : kRedRows) {
            source.Data()[row * srcRow + (converter.SampleBytes() - 1)] = 0x77;
        }
        s_rows.clear();
        converter.Call(dst, src, kWidth, kHeight);
        size_t wrong = 0;
        if (converter.family == Reference::Family::kBayer) {
            ASSERT_EQ(s_rows.size(), kHeight);
            for (size_t r = 0; r < kHeight; ++r) {
                const NotedRow& noted = s_rows[r];
                const size_t above = r == 0 ? 1 : r - 1;
                const size_t below = r + 1 == kHeight ? r - 1 : r + 1;
                wrong += noted.dst != dst + r * dstRow || noted.row != srcOffset(r) ||
                                 noted.above != srcOffset(above) || noted.below != srcOffset(below)
                             ? 1
                             : 0;
            }
        } else {
            // Two rows of the ring at each end; strip by strip a line of each interior row, then its pixels.
            constexpr size_t kStrip = Vexa::Kernels::kAcpiStripColumns;
            size_t at = 2;
            for (size_t first = 2; first + 2 < kWidth; first += kStrip) {
                const auto expectLine = [&](size_t row) {
                    wrong += s_rows.at(at++).row != srcOffset(row) + first - 2 ? 1 : 0;
                };
                expectLine(2);
                for (size_t r = 2; r + 2 < kHeight; ++r) {
                    if (r + 3 < kHeight) {
                        expectLine(r + 1);
                    }
                    wrong += s_rows.at(at++).dst != dst + r * dstRow + first * converter.pixelBytes ? 1 : 0;
                }
            }
            EXPECT_EQ(s_rows.at(at).dst, dst + (kHeight - 2) * dstRow);
            EXPECT_EQ(s_rows.back().dst, dst + (kHeight - 1) * dstRow);
        }
        EXPECT_EQ(wrong, 0u);
        // The border pixels beyond 4 GiB, from the samples set above.
        const uint32_t red = converter.SampleBytes() == 1 ? 0x77u : 0x7700u >> converter.DefaultShift() & 0xFF;
        for (const size_t row : kRedRows) {
            EXPECT_EQ(dst[row * dstRow + 2], red);
            dst[row * dstRow + 2] = 0;
            source.Data()[row * srcRow + (converter.SampleBytes() - 1)] = 0;
        }
    }
    Vexa::s_psKernels = before;
}

// ---- calls at the same time ----

/// A writer that waits for the reader of its FIFO, in the middle of its picture, has nothing in common with another.
TEST(Promises, AWaitingBitmapWriterKeepsItsPicture) {
    std::string folder = (std::filesystem::temp_directory_path() / "vexapromisesXXXXXX").string();
    ASSERT_NE(::mkdtemp(folder.data()), nullptr);
    const std::string fifo = folder + "/fifo";
    const std::string file = folder + "/file";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    constexpr uint32_t kWidth = 1024;
    constexpr uint32_t kHeight = 512;  // several times what a pipe and a block hold
    const std::vector<uint8_t> waiting(size_t{kWidth} * kHeight, 0x11);
    const std::vector<uint8_t> other(size_t{kWidth} * kHeight, 0x22);
    std::thread writer([&] { SaveBmpMono(waiting.data(), kWidth, kHeight, fifo.c_str()); });
    const int reader = ::open(fifo.c_str(), O_RDONLY | O_CLOEXEC);
    // The pipe fills up, but for a page or two, and the writer waits in the middle of a block.
    const int capacity = ::fcntl(reader, F_GETPIPE_SZ);
    for (int filled = 0; filled < capacity - 8192;) {
        EXPECT_EQ(::ioctl(reader, FIONREAD, &filled), 0);
        std::this_thread::yield();
    }
    EXPECT_EQ(SaveBmpMono(other.data(), kWidth, kHeight, file.c_str()), UTL_STS_SUCCESS);
    std::vector<uint8_t> received;
    std::vector<uint8_t> chunk(4096);
    for (ssize_t got = 1; got > 0;) {
        got = ::read(reader, chunk.data(), chunk.size());
        received.insert(received.end(), chunk.begin(), chunk.begin() + std::max<ssize_t>(got, 0));
    }
    writer.join();
    ::close(reader);
    EXPECT_TRUE(received == Reference::BitmapFile(8, waiting.data(), kWidth, kHeight, kWidth));
    std::filesystem::remove_all(folder);
}

// ---- small stacks ----

void* WorkOnASmallStack(void* source) {
    const auto* bytes = static_cast<const uint8_t*>(source);
    SaveBmpARGB(bytes, 8, 8, "/dev/null");
    SaveBmpMono_S(bytes, 8, 8, 16, "/dev/null");
    SaveRWH(bytes, PIXEL_FORMAT_MONO8, 8, 8, "/dev/null");
    LoadRWH("/dev/null", nullptr, nullptr, nullptr, nullptr, nullptr);
    static uint8_t s_destination[64 * 8 * 6];
    for (const Reference::Converter& converter : Reference::Converters()) {
        if (converter.family != Reference::Family::kAcpi) {
            converter.Call(s_destination, bytes, 64, 8);
        }
    }
    return nullptr;
}

/// Below the stack lies a megabyte that may not be touched, more than any one function could jump over.
TEST(Promises, AThreadOf32KiBOfStackSuffices) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "sanitizers need more stack";
#endif
    constexpr size_t kStack = size_t{32} << 10;
    constexpr size_t kForbidden = size_t{1} << 20;
    void* const mapped =
        mmap(nullptr, kForbidden + kStack, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(mapped, MAP_FAILED);
    uint8_t* const stack = static_cast<uint8_t*>(mapped) + kForbidden;
    ASSERT_EQ(mprotect(stack, kStack, PROT_READ | PROT_WRITE), 0);
    PrepareLUT();
    std::vector<uint8_t> source(64 * 8 * 6, 0x31);
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstack(&attributes, stack, kStack), 0);
    pthread_t thread = {};
    ASSERT_EQ(pthread_create(&thread, &attributes, WorkOnASmallStack, source.data()), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
    munmap(mapped, kForbidden + kStack);
}

}  // namespace
