// SPDX-License-Identifier: MIT

// Getting what was written to a file onto its disk. One implementation per platform.
#pragma once

#include <system_error>

namespace aiff
{

enum class Flush {
    Order, // what was written before reaches the disk before what is written later
    Full,  // what was written is on the disk, and stays there when the power fails
    Whole  // so are the attributes of the file
};

// Waits until the data written to an open file or folder, and the size it needs, are as safe as
// asked.
[[nodiscard]] std::error_code FlushFile(int file, Flush flush);

// How an edit of a file in place is kept from showing half of its writes.
enum class Durability {
    Flushed,  // also when the power fails
    Unflushed // only when the program ends in the middle
};

} // namespace aiff
