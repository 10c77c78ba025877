#pragma once

#include "host/base/Input.h"

#include <functional>
#include <string>
#include <vector>

namespace host
{

// Which input goes where.
struct OutputPlan {
    struct Item {
        Input input;
        std::string output; // a path, or "-" for standard output
    };
    std::vector<Item> items;
    std::string newFolder; // to be made before writing; empty when none
};

// Works out the outputs for `-o target`: standard output ("-"), a folder (it
// exists, ends with "/", or there are several inputs), or a file.
//
// extension         of the new files, with its dot
// isKnownExtension  tells which old extensions, with their dots, the new one replaces
// returns false with a line in `problem` when two inputs would write the same
//         output, several would go to standard output or into one file, or an
//         input would be written over
[[nodiscard]] bool PlanOutputs(const std::vector<std::string>& inputs, const std::string& target,
                               const std::string& extension,
                               const std::function<bool(const std::string&)>& isKnownExtension,
                               OutputPlan& plan, std::string& problem);

} // namespace host
