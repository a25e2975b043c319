// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// See Conversion.h.
#include "commands/Conversion.h"

#include <algorithm>

#include "Failure.h"
#include "commands/Batch.h"
#include "commands/InOrder.h"
#include "commands/Report.h"
#include "commands/ResultOptions.h"
#include "input/InputPaths.h"

namespace VexaTool {

void RunConversion(const ConversionOptions& given) {
    for (const std::string& input : given.inputs) {
        if (IsFolder(input) && given.output.folder.empty()) {
            throw Failure(ExitCode::kUsage, input + " is a folder; give --output-dir for the results");
        }
    }
    ConversionOptions options = given;
    std::vector<InputFailure> failures;
    options.inputs = WithoutFolders(given.inputs, failures);
    const bool streamed = std::any_of(options.inputs.begin(), options.inputs.end(), IsStream);
    if (streamed && given.inputs.size() > 1) {
        throw Failure(ExitCode::kUsage, "a stream has to be the only input");
    }
    options.output.firstFrame = options.input.frame.value_or(0);
    if (options.input.frames) {
        options.output.firstFrame = options.input.frames->first;
        options.output.alwaysNumbered = true;
    }
    OutputPlan plan(options.output);
    Report report(options.output);
    try {
        if (streamed || plan.OneFileForAll()) {
            ConvertInOrder(options, plan, report);
        } else {
            Batch(options, plan, report, failures).Run();
        }
    } catch (const std::exception&) {
        report.Write();
        throw;
    }
    report.Write();
    SaySkipped(plan, options.quiet);
}

}  // namespace VexaTool
