// What a file has besides its data. One implementation per platform.
#pragma once

// Gives the file behind `to` the extended attributes (access lists among them) of the
// one behind `from`. False, with errno set, when one cannot be kept.
[[nodiscard]] bool CopyExtendedAttributes(int from, int to);
