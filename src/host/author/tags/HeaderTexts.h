// SPDX-License-Identifier: MIT

// The texts of CAF, AU and VOC files.
#pragma once

#include "host/writers/TagContent.h"

#include <string>

namespace aiff::host
{

// Reads the texts of a CAF, AU or VOC file. False, with nothing read, for any other file.
bool ReadHeaderTexts(const std::string& path, TagContent& content);

} // namespace aiff::host
