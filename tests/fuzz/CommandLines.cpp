// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// The tool, run in this process with command lines that are put together from its own words, over a folder with a few
// small files. Any line ends with one of the documented exit codes, leaves its first input as it is and nothing
// unfinished; with --no-overwrite it changes no file at all.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <VexaCamUtl.h>

#include "CommandLine.h"
#include "FuzzInput.h"

namespace {

// Of bench only what does not measure; counts and sizes stay small.
constexpr std::string_view kVerbs[] = {"convert", "convert", "info",  "formats", "reverse",
                                       "pack",    "unpack",  "synth", "guess",   "help"};
constexpr std::string_view kOptions[] = {"-f",
                                         "-s",
                                         "--stride",
                                         "--offset",
                                         "--shift",
                                         "--frame",
                                         "--frames",
                                         "--to",
                                         "-o",
                                         "-b",
                                         "--range",
                                         "--alpha",
                                         "--quality",
                                         "--png-level",
                                         "--sidecar",
                                         "--report",
                                         "--no-overwrite",
                                         "--skip-existing",
                                         "-j",
                                         "-n",
                                         "--json",
                                         "--most",
                                         "--tone",
                                         "--black-level",
                                         "--white-balance",
                                         "--exposure",
                                         "-g",
                                         "-m",
                                         "-u",
                                         "--help",
                                         "--tile-width",
                                         "--bits",
                                         "--sync",
                                         "-q",
                                         "--check-range",
                                         "--csv",
                                         "--names",
                                         "--aliases"};
constexpr std::string_view kValues[] = {"BayerRG8",    "Mono12",     "BayerGB12p",
                                        "rggb",        "0x01080009", "YUV422_8_UYVY",
                                        "RGB8",        "4x2",        "8x6",
                                        "7x3",         "1x1",        "0x0",
                                        "0",           "1",          "2",
                                        "16",          "0:1",        "1:",
                                        ":9",          "png",        "ppm",
                                        "tif",         "jpg",        "bmp",
                                        "vbmp",        "bgra",       "bgr",
                                        "raw",         "rwh",        "acpi",
                                        "bilinear",    "full",       "limited",
                                        "srgb",        "2.2",        "1,2,1.5",
                                        "auto",        "drop",       "left-right",
                                        "upside-down", "half-turn",  "-1",
                                        "99999",       "%d",         ""};
constexpr std::string_view kInputs[] = {"b.raw",    "b.rwh",    "empty.raw", "in",
                                        "in/c.raw", "link.raw", "loop.raw",  "p.raw"};
constexpr std::string_view kFirst = "a.raw";  // only ever the first name of a line
constexpr std::string_view kOthers[] = {"out.png",   "out.raw",    "out.rwh",   "out",        "out/d.png",
                                        "b.txt",     "out_%d.png", "none.raw",  "none/x.png", "-",
                                        "/dev/null", "out.txt",    "sheet.png", "."};

using Content = std::map<std::string, std::vector<uint8_t>>;

std::vector<uint8_t> Text(std::string_view text) {
    return {text.begin(), text.end()};
}

/// The inputs; all that has another name is a result.
const Content& Inputs() {
    static const Content inputs = [] {
        std::vector<uint8_t> samples(96);
        for (size_t i = 0; i < samples.size(); ++i) {
            samples[i] = static_cast<uint8_t>(i * 37);
        }
        std::vector<uint8_t> rwh = {9, 0, 8, 1, 8, 0, 0, 0, 6, 0, 0, 0, 8, 0, 0, 0};
        rwh.insert(rwh.end(), samples.begin(), samples.begin() + 48);
        return Content{{"a.raw", samples},
                       {"b.raw", {samples.begin(), samples.begin() + 48}},
                       {"b.txt", Text("pixel format: BayerRG8\nwidth: 8\nheight: 6\n")},
                       {"b.rwh", rwh},
                       {"p.raw", {samples.begin(), samples.begin() + 48}},  // the text beside it is a pipe
                       {"empty.raw", {}},
                       {"in/c.raw", {samples.begin(), samples.begin() + 48}},
                       {"in/c.txt", Text("pixel format: BayerGB8\nwidth: 8\nheight: 6\n")}};
    }();
    return inputs;
}

void Write(const std::string& path, const std::vector<uint8_t>& bytes) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    Fuzz::Require(fd >= 0 && ::write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()), "writing");
    ::close(fd);
}

bool Holds(const std::string& path, const std::vector<uint8_t>& bytes) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    std::vector<uint8_t> found(bytes.size() + 1);
    const ssize_t count = ::read(fd, found.data(), found.size());
    ::close(fd);
    return count == static_cast<ssize_t>(bytes.size()) && std::equal(bytes.begin(), bytes.end(), found.begin());
}

std::vector<std::string> NamesIn(const char* folder) {
    std::vector<std::string> names;
    DIR* open = ::opendir(folder);
    if (open != nullptr) {
        while (const dirent* entry = ::readdir(open)) {  // NOLINT(concurrency-mt-unsafe): one thread
            names.emplace_back(entry->d_name);
        }
        ::closedir(open);
    }
    return names;
}

/// A folder of this process in memory, the current one from here on. Standard output goes nowhere.
void Enter() {
    static std::string path = ::access("/dev/shm", W_OK) == 0 ? "/dev/shm/vexalinesXXXXXX" : "/tmp/vexalinesXXXXXX";
    Fuzz::Require(::mkdtemp(path.data()) != nullptr && ::chdir(path.c_str()) == 0, "folder");
    Fuzz::Require(::mkdir("in", 0755) == 0 && ::mkdir("out", 0755) == 0, "folders");
    for (const auto& [name, bytes] : Inputs()) {
        Write(name, bytes);
    }
    Fuzz::Require(
        ::symlink("b.raw", "link.raw") == 0 && ::symlink("loop.raw", "loop.raw") == 0 && ::mkfifo("p.txt", 0644) == 0,
        "links");
    static_cast<void>(std::atexit([] {
        for (const char* folder : {"in", "out", "."}) {
            for (const std::string& name : NamesIn(folder)) {
                ::unlink((std::string(folder) + "/" + name).c_str());
            }
        }
        for (const char* folder : {"in", "out"}) {
            ::rmdir(folder);
        }
        ::rmdir(path.c_str());
    }));
    PrepareLUT();
}

/// Removes all but the inputs and their folders below a folder, whose name is empty or ends with a slash.
void RemoveResults(const std::string& folder) {
    for (const std::string& name : NamesIn(folder.empty() ? "." : folder.c_str())) {
        const std::string path = folder + name;
        if (name == "." || name == ".." || Inputs().count(path) != 0 || path == "link.raw" || path == "loop.raw" ||
            path == "p.txt") {
            continue;
        }
        Fuzz::Require(name[0] != '.', "nothing unfinished stays");
        if (::unlink(path.c_str()) != 0) {
            RemoveResults(path + "/");
            Fuzz::Require(path == "in" || path == "out" || ::rmdir(path.c_str()) == 0, "results are files and folders");
        }
    }
}

/// Checks the inputs, brings back those that were somebody's result, and removes the other results.
void Look(bool nothingIsReplaced) {
    for (const auto& [name, bytes] : Inputs()) {
        if (!Holds(name, bytes)) {
            Fuzz::Require(!nothingIsReplaced && name != kFirst, "inputs stay as they are");
            ::unlink(name.c_str());
            Write(name, bytes);
        }
    }
    std::array<char, 16> target{};
    Fuzz::Require(::readlink("link.raw", target.data(), target.size()) == 5, "links stay links");
    RemoveResults("");
}

std::string_view Word(Fuzz::Input& input) {
    switch (input.Byte() % 4) {
        case 0:
            return kOptions[input.Byte() % std::size(kOptions)];
        case 1:
            return kInputs[input.Byte() % std::size(kInputs)];
        case 2:
            return kOthers[input.Byte() % std::size(kOthers)];
        default:
            return kValues[input.Byte() % std::size(kValues)];
    }
}

/// Begins as a line that works often does, so that the words behind it matter.
std::vector<std::string> Line(Fuzz::Input& input) {
    std::vector<std::string> words = {"vexacamutl", std::string(kVerbs[input.Byte() % std::size(kVerbs)])};
    const uint8_t start = input.Byte();
    if ((start & 1) != 0) {
        words.insert(words.end(), {"-f", std::string(kValues[input.Byte() % 7])});
    }
    // Without a size synth draws large frames, and nothing else is fast then.
    if ((start & 2) != 0 || words[1] == "synth") {
        words.insert(words.end(), {"-s", std::string(kValues[7 + input.Byte() % 4])});
    }
    if ((start & 4) != 0) {
        const bool reads = words[1] != "synth";
        words.emplace_back((start & 8) != 0 && reads ? kFirst : kInputs[input.Byte() % std::size(kInputs)]);
    }
    if ((start & 16) != 0) {
        words.emplace_back("--no-overwrite");
    }
    for (uint32_t more = input.Byte() % 9; more > 0; --more) {
        words.emplace_back(Word(input));
    }
    return words;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    static const bool entered = [] {
        Enter();
        return true;
    }();
    static_cast<void>(entered);
    Fuzz::Input input(bytes, size);
    std::vector<std::string> words = Line(input);
    std::vector<char*> arguments;
    arguments.reserve(words.size());
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    // The tool's words go nowhere, its standard input is empty.
    const int null = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    std::array<int, 3> kept{};
    int stream = 0;
    for (int& copy : kept) {
        copy = ::fcntl(stream, F_DUPFD_CLOEXEC, 3);
        ::dup2(null, stream++);
    }
    const int code = VexaTool::RunCommandLine(static_cast<int>(arguments.size()), arguments.data(), [] {});
    static_cast<void>(std::fflush(stdout));
    stream = 0;
    for (const int copy : kept) {
        ::dup2(copy, stream++);
        ::close(copy);
    }
    ::close(null);
    Fuzz::Require(code >= 0 && code <= 6, "a documented exit code");
    Look(std::count(words.begin(), words.end(), "--no-overwrite") != 0);
    return 0;
}
