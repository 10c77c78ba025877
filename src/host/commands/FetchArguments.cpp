// SPDX-License-Identifier: MIT
#include "host/commands/FetchArguments.h"

#include <CLI/CLI.hpp>

namespace aiff::host
{

void AddFetchOptions(CLI::App& command, Fetch& fetch)
{
    const auto choose = [&](const char* option, Fetch choice, const char* help) {
        return command.add_flag_callback(
            option, [&fetch, choice] { fetch = choice; }, help);
    };
    CLI::Option* always =
        choose("--fetch", Fetch::Always, "Fetch URLs as a whole before reading them");
    choose("--no-fetch", Fetch::Never, "Refuse URLs that would have to be fetched as a whole")
        ->excludes(always);
}

} // namespace aiff::host
