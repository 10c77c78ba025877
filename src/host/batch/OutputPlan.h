// SPDX-License-Identifier: MIT

// Which output each input is written to.
#pragma once

#include "host/base/Input.h"
#include "host/base/Problem.h"

#include <functional>
#include <string>
#include <vector>

namespace aiff::host
{

struct OutputPlan {
    struct Item {
        Input input;
        std::string output; // a path, or "-" for standard output
    };
    std::vector<Item> items;
    std::string newFolder; // to be made before writing; empty when there is none
};

// Works out the outputs for `-o target`: standard output ("-"), a folder (it exists, ends
// with "/", or there are several inputs), or a file. Refuses two inputs with the same
// output, several inputs for standard output or one file, and an output that is also an
// input.
//
// extension         of the new files, with its dot
// isKnownExtension  tells which old extensions, with their dots, the new one replaces
Result<OutputPlan> PlanOutputs(const std::vector<std::string>& inputs, const std::string& target,
                               const std::string& extension,
                               const std::function<bool(const std::string&)>& isKnownExtension);

} // namespace aiff::host
