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

int Report(ExitCode code, const std::string& line) {
    SayLine(line);
    return static_cast<int>(code);
}

/// What a parser says in several lines, in one.
std::string InOneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

void Declare(CLI::App& app) {
    app.require_subcommand(1);
    app.set_version_flag("-V,--version", VEXACAMUTL_VERSION_TEXT, "Print the version and exit");
    AddConvert(app);
    AddInfo(app);
    AddFormats(app);
    AddReverse(app);
    AddPack(app);
    AddUnpack(app);
    AddSynth(app);
    AddGuess(app);
    AddBench(app);
    for (CLI::App* verb : app.get_subcommands([](const CLI::App*) { return true; })) {
        verb->group("Verbs");
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

/// Names the verbs, where the parser would only miss one. The last argument is the first of the command line.
void RefuseUnknownVerb(const CLI::App& app, const std::vector<std::string>& arguments) {
    const std::string wanted = arguments.empty() ? "" : arguments.back();
    if (wanted.starts_with('-')) {
        return;
    }
    std::string verbs;
    for (const CLI::App* verb : app.get_subcommands([](const CLI::App*) { return true; })) {
        if (verb->get_name() == wanted) {
            return;
        }
        verbs += (verbs.empty() ? "" : ", ") + verb->get_name();
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
    Declare(app);
    std::vector<std::string> arguments = ArgumentsFor(argc, argv);
    RefuseUnknownVerb(app, arguments);
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
