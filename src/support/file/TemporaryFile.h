// SPDX-License-Identifier: MIT

// The file under which an edit by copying works, until the copy takes the name of the original.
#pragma once

#include "support/file/EditTarget.h"

namespace aiff
{

// A new file in the folder of a target, locked for as long as the object lives, and removed
// with it unless it has taken another name. The lock tells it from a file that a killed
// process has left behind.
class TemporaryFile
{
public:
    explicit TemporaryFile(const EditTarget& target);
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile();

    // Creates the file, empty, for its owner alone. First removes the files of this kind in
    // the folder that nobody has locked and that belong to this user or to the target's
    // owner; what cannot be removed stays.
    [[nodiscard]] std::error_code Create();

    // Only after a successful Create.
    DiskFile& File() const { return *m_file; }

    // Replaces the target in one step; from then on the file stays.
    [[nodiscard]] std::error_code ReplaceTarget();

    // Makes a replacement durable, as far as the system can.
    void FlushFolder() const;

private:
    std::error_code Create(std::string path);
    void RemoveLeftOvers(uid_t owner) const;

    const EditTarget& m_target;
    std::string m_folder; // with a slash at the end
    std::string m_path;   // empty while there is no file to remove
    std::shared_ptr<DiskFile> m_file;
};

} // namespace aiff
