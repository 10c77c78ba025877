// SPDX-License-Identifier: MIT
#include "host/commands/FetchArguments.h"

namespace aiff::host
{

void AddFetchOptions(CommandLine command, Fetch& fetch)
{
    const auto choose = [&](const char* option, Fetch choice, const char* help) {
        return command.AddFlag(
            option, [&fetch, choice] { fetch = choice; }, help);
    };
    const Option always =
        choose("--fetch", Fetch::Always, "Fetch URLs as a whole before reading them");
    choose("--no-fetch", Fetch::Never, "Refuse URLs that would have to be fetched as a whole")
        .Excludes(always);
}

} // namespace aiff::host
