// SPDX-License-Identifier: MIT

// The map of a file, as `info` shows it.
#pragma once

#include "host/author/check/FileMap.h"
#include "host/base/Json.h"

namespace aiff::host
{

void PrintMap(const FileMap& map);
Json MapJson(const FileMap& map);

} // namespace aiff::host
