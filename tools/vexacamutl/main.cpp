// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// vexacamutl: the library from the command line. This file declares the verbs and turns whatever goes wrong into one
// line on standard error and an exit code.
#include <algorithm>
#include <cstdio>
#include <new>
#include <string>

#include <VexaCamUtl.h>

#include "Failure.h"
#include "commands/Commands.h"
#include "output/Cleanup.h"

using namespace VexaTool;

namespace {

int Report(ExitCode code, std::string line) {
    std::replace(line.begin(), line.end(), '\n', ' ');
    SayLine(line);
    return static_cast<int>(code);
}

void Declare(CLI::App& app) {
    app.require_subcommand(1);
    app.set_version_flag("--version", VEXACAMUTL_VERSION_TEXT);
    AddConvert(app);
    AddInfo(app);
    AddFormats(app);
    AddReverse(app);
    AddPack(app);
    AddUnpack(app);
    AddSynth(app);
    AddGuess(app);
    AddBench(app);
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

/// Says so by name, where the parser would only miss a verb.
void RefuseUnknownVerb(const CLI::App& app, int argc, char** argv) {
    if (argc < 2 || argv[1][0] == '-') {
        return;
    }
    std::string verbs;
    for (const CLI::App* verb : app.get_subcommands([](const CLI::App*) { return true; })) {
        if (verb->get_name() == argv[1]) {
            return;
        }
        verbs += (verbs.empty() ? "" : ", ") + verb->get_name();
    }
    throw Failure(ExitCode::kUsage, "unknown verb '" + std::string(argv[1]) + "'; the verbs are " + verbs);
}

int Run(int argc, char** argv) {
    CLI::App app("Raw frames of industrial cameras to pictures, and back into order.", "vexacamutl");
    Declare(app);
    RefuseUnknownVerb(app, argc, argv);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& help) {
        return app.exit(help);
    } catch (const CLI::ParseError& error) {
        return Report(ExitCode::kUsage, error.what() + HelpHint(app));
    }
    // What was printed is a result, too.
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        return Report(ExitCode::kOutput, "cannot write standard output: " + SystemMessage());
    }
    return static_cast<int>(ExitCode::kSuccess);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        InstallSignalHandling();
        PrepareLUT();
        return Run(argc, argv);
    } catch (const Failure& failure) {
        return Report(failure.Code(), failure.what());
    } catch (const std::bad_alloc&) {
        return Report(ExitCode::kNoMemory, "out of memory");
    } catch (const std::exception& error) {
        return Report(ExitCode::kInput, error.what());
    }
}
