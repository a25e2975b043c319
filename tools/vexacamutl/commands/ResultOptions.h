// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Options of every verb that writes files: what happens to results that exist, and when a result is safe.
#pragma once

#include "Failure.h"
#include "commands/Commands.h"
#include "output/OutputPlan.h"

namespace VexaTool {

struct ResultOptions {
    bool noOverwrite = false;
    bool skipExisting = false;
    bool sync = false;

    void AddTo(CLI::App& command) {
        auto* refuse = command.add_flag("--no-overwrite", noOverwrite, "Write nothing if one of the results exists");
        command.add_flag("--skip-existing", skipExisting, "Leave results that exist as they are")->excludes(refuse);
        command.add_flag("--sync", sync, "Write each result to the disk before it gets its name");
    }

    void ApplyTo(OutputOptions& output) const {
        output.existing = noOverwrite ? Existing::kRefuse : skipExisting ? Existing::kSkip : Existing::kReplace;
        output.sync = sync;
    }
};

inline void SaySkipped(const OutputPlan& plan, bool quiet) {
    if (plan.Skipped() > 0 && !quiet) {
        SayLine(std::to_string(plan.Skipped()) +
                (plan.Skipped() == 1 ? " result exists and was skipped" : " results exist and were skipped"));
    }
}

}  // namespace VexaTool
