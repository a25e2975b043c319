// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The file functions beside plain system calls that write or read the same bytes to the same place, as CSV on standard
// output. The folder should be on a memory-backed file system, or the disk is what is measured.
//
//     bench-files /dev/shm
//
// Plain means: the whole file by one write(2) from one buffer, or one read(2) into one buffer. On virtual machines the
// system's price for fresh file pages jumps by a factor of three from one moment to the next; the quickest slices of
// both sides are the better comparison there.
#include <fcntl.h>
#include <malloc.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <system_error>

#include <CLI/CLI.hpp>

#include <VexaCamUtl.h>

#include "Filter.h"
#include "Measure.h"

namespace {

using namespace Bench;

constexpr SlicePlan kPlan = {41, 0.001, 0, 1};

class Descriptor {
  public:
    Descriptor(const std::string& path, int flags) : m_descriptor(open(path.c_str(), flags, 0666)) {
        if (m_descriptor < 0) {
            throw std::system_error(errno, std::generic_category(), path);
        }
    }
    ~Descriptor() { close(m_descriptor); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int Number() const { return m_descriptor; }

  private:
    int m_descriptor;
};

void ExpectAll(ssize_t done, size_t wanted) {
    if (done < 0 || static_cast<size_t>(done) != wanted) {
        throw std::system_error(errno, std::generic_category(), "not all bytes were moved");
    }
}

void WritePlainly(const std::string& path, const uint8_t* bytes, size_t count) {
    const Descriptor file(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC);
    ExpectAll(write(file.Number(), bytes, count), count);
}

void ReadPlainly(const std::string& path, uint8_t* bytes, size_t count) {
    const Descriptor file(path, O_RDONLY | O_CLOEXEC);
    ExpectAll(read(file.Number(), bytes, count), count);
}

size_t FileBytes(const std::string& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        throw std::system_error(errno, std::generic_category(), path);
    }
    return static_cast<size_t>(status.st_size);
}

void Print(const char* function, const Size& size, const std::vector<Timing>& timings) {
    static_cast<void>(std::printf("%s,%s,%.1f,%.1f,%.3f,%.3f\n", function, size.Text().c_str(), timings[0].median * 1e6,
                                  timings[1].median * 1e6, timings[0].median / timings[1].median,
                                  timings[0].best / timings[1].best));
    static_cast<void>(std::fflush(stdout));
}

/// A file of its own for each side, replaced by every call.
void MeasureSave(const char* function, const Size& size, const std::string& folder,
                 const std::function<UtlStatus(const char* path)>& save) {
    const std::string ourPath = folder + "/bench-files-ours-" + std::to_string(getpid());
    const std::string plainPath = folder + "/bench-files-plain-" + std::to_string(getpid());
    save(ourPath.c_str());
    const size_t bytes = FileBytes(ourPath);
    const Buffer same(bytes);
    Print(
        function, size,
        MeasureByTurns({[&] { save(ourPath.c_str()); }, [&] { WritePlainly(plainPath, same.Data(), bytes); }}, kPlan));
    unlink(ourPath.c_str());
    unlink(plainPath.c_str());
}

void MeasureLoad(const Size& size, const std::string& folder, const uint8_t* frame) {
    const std::string path = folder + "/bench-files-frame-" + std::to_string(getpid());
    SaveRWH(frame, PIXEL_FORMAT_BAYER_RG8, size.width, size.height, path.c_str());
    const size_t bytes = FileBytes(path);
    const Buffer own(bytes);
    const Work loadInto = [&] {
        uint8_t* into = own.Data();
        LoadRWH(path.c_str(), &into, nullptr, nullptr, nullptr, nullptr);
    };
    const Work loadAllocated = [&] {
        uint8_t* allocated = nullptr;
        LoadRWH(path.c_str(), &allocated, nullptr, nullptr, nullptr, nullptr);
        std::free(allocated);
    };
    const Work readAllocated = [&] {
        auto* const allocated = static_cast<uint8_t*>(std::malloc(bytes));
        ReadPlainly(path, allocated, bytes);
        std::free(allocated);
    };
    Print("LoadRWH", size, MeasureByTurns({loadInto, [&] { ReadPlainly(path, own.Data(), bytes); }}, kPlan));
    Print("LoadRWH with malloc", size, MeasureByTurns({loadAllocated, readAllocated}, kPlan));
    unlink(path.c_str());
}

void MeasureSize(const Size& size, const std::string& folder) {
    const uint32_t w = size.width;
    const uint32_t h = size.height;
    const uint32_t stride = w * 4 + 64;
    const Buffer picture(size_t{stride} * h);
    FillWithSamples(picture.Data(), size_t{stride} * h, false);
    const uint8_t* p = picture.Data();
    const auto save = [&](const char* function, const std::function<UtlStatus(const char* path)>& call) {
        MeasureSave(function, size, folder, call);
    };
    save("SaveBmpARGB", [=](const char* path) { return SaveBmpARGB(p, w, h, path); });
    save("SaveBmpRGB", [=](const char* path) { return SaveBmpRGB(p, w, h, path); });
    save("SaveBmpMono", [=](const char* path) { return SaveBmpMono(p, w, h, path); });
    save("SaveBmpARGB_S", [=](const char* path) { return SaveBmpARGB_S(p, w, h, stride, path); });
    save("SaveBmpRGB_S", [=](const char* path) { return SaveBmpRGB_S(p, w, h, stride, path); });
    save("SaveBmpMono_S", [=](const char* path) { return SaveBmpMono_S(p, w, h, stride, path); });
    save("SaveRWH", [=](const char* path) { return SaveRWH(p, PIXEL_FORMAT_BAYER_RG8, w, h, path); });
    MeasureLoad(size, folder, p);
}

void Run(int argc, char** argv) {
    std::string folder = "/dev/shm";
    std::vector<std::string> sizes = {"640x480", "642x480", "1920x1080", "4096x3000"};
    CLI::App app("The file functions beside plain write and read of the same bytes, as CSV");
    app.add_option("folder", folder, "where the files go for a moment")->capture_default_str();
    app.add_option("--size", sizes, "frame sizes, WIDTHxHEIGHT")->capture_default_str();
    app.parse(argc, argv);
    // A freed block stays with the allocator, or the pages that it fetches anew would drown what is compared.
    mallopt(M_MMAP_THRESHOLD, 1 << 25);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    std::puts("function,size,us,plain_us,time_over_plain,best_over_best");
    for (const Size& size : ParseSizes(sizes)) {
        MeasureSize(size, folder);
    }
}

}  // namespace

int main(int argc, char** argv) {
    return Bench::RunReportingErrors("bench-files", Run, argc, argv);
}
