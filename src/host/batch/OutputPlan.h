// SPDX-License-Identifier: MIT

// Which output each input is written to.
#pragma once

#include "host/base/Input.h"
#include "host/base/Problem.h"
#include "host/batch/FindInputs.h"

#include <functional>
#include <string>
#include <vector>

namespace aiff::host
{

struct OutputPlan {
    struct Item {
        Input input;
        std::string output; // a path, or "-" for standard output
        Problem problem;    // why there is nothing to work on
    };
    std::vector<Item> items;
    // Holds all outputs and is to be made before writing; empty when there is none. What is
    // found in a folder goes into folders below, which are yet to be made, too.
    std::string folder;
};

// Works out the outputs for `-o target`: standard output ("-"), a folder (it exists, ends
// with "/", or there are several inputs, or those of a folder), or a file. Refuses two inputs
// with the same output, several inputs for standard output or one file, and an output that is
// also an input.
//
// extension         of the new files, with its dot
// isKnownExtension  tells which old extensions, with their dots, the new one replaces
Result<OutputPlan> PlanOutputs(const std::vector<InputName>& inputs, const std::string& target,
                               const std::string& extension,
                               const std::function<bool(const std::string&)>& isKnownExtension);

} // namespace aiff::host
