// SPDX-License-Identifier: MIT
#include "aiff/CommitEdit.h"

#include "aiff/InPlacePlan.h"
#include "support/file/ReplaceFile.h"

namespace aiff
{

EditResult CommitEdit(FileEdit& edit, EditTarget& target, const clAIFFHandler& aiff,
                      Durability durability)
{
    using File = EditResult::File;
    if (const auto change = PlanInPlace(edit, aiff, durability))
        return InPlaceWriter(target, durability).Run(*change);
    const std::error_code error = ReplaceFile(target, edit);
    if (error == kChangedMeanwhile)
        return {File::Overtaken, error};
    return {error ? File::AsBefore : File::Changed, error};
}

} // namespace aiff
