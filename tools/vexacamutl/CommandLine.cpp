// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See CommandLine.h. The verbs are declared here.
#include "CommandLine.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include "Failure.h"
#include "commands/Commands.h"
#include "output/Cleanup.h"

namespace VexaTool {

namespace {

struct Verb {
    const char* name;
    const char* help;
    void (*declare)(CLI::App& command);
};

constexpr Verb kVerbs[] = {
    {"convert", "Convert raw frames to pictures", DeclareConvert},
    {"info", "Print what a raw or RWH file holds and check its length", DeclareInfo},
    {"formats", "List the pixel formats", DeclareFormats},
    {"reverse", "Mirror raw frames or turn them upside down", DeclareReverse},
    {"pack", "Put raw frames into RWH files", DeclarePack},
    {"unpack", "Take raw frames out of RWH files, or unpack transport formats", DeclareUnpack},
    {"synth", "Make raw frames of a drawn scene", DeclareSynth},
    {"guess", "Rank the plausible layouts of an unknown raw file and show them", DeclareGuess},
    {"bench", "Measure the converters on this machine", DeclareBench},
};

int Report(ExitCode code, const std::string& line) {
    SayLine(line);
    return static_cast<int>(code);
}

/// What a parser says in several lines, in one.
std::string InOneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

/// Declares the verb that the line names, or all of them for a line without one. A verb's options are declared once it
/// is met: declaring those of all verbs took longer than the conversion of a small frame.
void Declare(CLI::App& app, const Verb* named) {
    app.require_subcommand(1);
    app.set_version_flag("-V,--version", VEXACAMUTL_VERSION_TEXT, "Print the version and exit");
    for (const Verb& verb : kVerbs) {
        if (named == nullptr || named == &verb) {
            CLI::App* command = app.add_subcommand(verb.name, verb.help)->group("Verbs");
            command->preparse_callback([command, declare = verb.declare](size_t) { declare(*command); });
        }
    }
    app.get_formatter()->label("SUBCOMMAND", "VERB");
    app.footer(
        "Formats are named as cameras print them (BayerRG8), by alias (rggb) or by hex code.\n"
        "Example: vexacamutl convert --format BayerRG8 --size 1920x1080 in.raw out.png\n"
        "Exit codes: 0 done, 1 some of many failed, 2 usage, 3 input, 4 output, 5 not supported, 6 no memory.");
}

/// The verb that was being parsed, for the hint.
std::string HelpHint(const CLI::App& app) {
    const auto verbs = app.get_subcommands();
    return " (see: vexacamutl " + (verbs.empty() ? std::string() : verbs[0]->get_name() + " ") + "--help)";
}

/// The verb that the line begins with, or none if it begins with an option. Where there is neither, the failure lists
/// the verbs; the parser would only miss one. The last argument is the first of the command line.
const Verb* NamedVerb(const std::vector<std::string>& arguments) {
    const std::string wanted = arguments.empty() ? "" : arguments.back();
    if (wanted.starts_with('-')) {
        return nullptr;
    }
    std::string verbs;
    for (const Verb& verb : kVerbs) {
        if (verb.name == wanted) {
            return &verb;
        }
        verbs += (verbs.empty() ? "" : ", ") + std::string(verb.name);
    }
    throw Failure(ExitCode::kUsage,
                  (arguments.empty() ? "no verb given" : "unknown verb '" + wanted + "'") + "; the verbs are " + verbs);
}

/// True when nobody reads standard output any more.
bool ReaderIsGone() {
    pollfd output = {STDOUT_FILENO, POLLOUT, 0};
    return poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0;
}

/// What was printed is a result, too.
int FlushStandardOutput() {
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0 && std::cout.good()) {
        return static_cast<int>(ExitCode::kSuccess);
    }
    // The write that failed may be that of an earlier line.
    const int error = ReaderIsGone() ? EPIPE : errno;
    if (error == EPIPE) {
        EndByClosedPipe();
    }
    return Report(ExitCode::kOutput, "cannot write standard output: " + SystemMessage(error));
}

/// "help VERB" is "VERB --help", "help" alone is "--help"; the parser takes arguments from the last to the first.
std::vector<std::string> ArgumentsFor(int argc, char** argv) {
    std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
    if (!arguments.empty() && arguments[0] == "help") {
        arguments.erase(arguments.begin());
        arguments.push_back("--help");
    }
    std::reverse(arguments.begin(), arguments.end());
    return arguments;
}

int Run(int argc, char** argv) {
    CLI::App app("Convert and inspect raw frames of industrial cameras.", "vexacamutl");
    std::vector<std::string> arguments = ArgumentsFor(argc, argv);
    Declare(app, NamedVerb(arguments));
    try {
        app.parse(arguments);
    } catch (const CLI::Success& help) {
        app.exit(help);
    } catch (const CLI::ParseError& error) {
        return Report(ExitCode::kUsage, InOneLine(error.what()) + HelpHint(app));
    }
    return FlushStandardOutput();
}

}  // namespace

int RunCommandLine(int argc, char** argv, void (*prepare)()) {
    try {
        prepare();
        return Run(argc, argv);
    } catch (const Failure& failure) {
        return Report(failure.Code(), failure.what());
    } catch (const std::bad_alloc&) {
        return Report(ExitCode::kNoMemory, "out of memory");
    } catch (const std::system_error& error) {
        return Report(ExitCode::kNoMemory, std::string("the system has no thread to give: ") + error.what());
    } catch (const std::exception& error) {
        return Report(ExitCode::kInput, error.what());
    }
}

}  // namespace VexaTool
