// SPDX-License-Identifier: MIT
#include "support/file/ReplaceFile.h"

#include "support/file/FileAttributes.h"
#include "support/file/FlushFile.h"
#include "support/file/SystemError.h"
#include "support/file/TemporaryFile.h"

#include <algorithm>
#include <sys/stat.h>
#include <vector>

namespace aiff
{

namespace
{

constexpr int64_t kCopyPiece = int64_t{1} << 20; // bytes copied at a time

std::error_code CopyRange(const FileContent& content, FileContent::Range range, DiskFile& file)
{
    std::vector<uint8_t> buffer(
        static_cast<size_t>(std::clamp<int64_t>(range.end - range.start, 0, kCopyPiece)));
    while (range.start < range.end) {
        const int64_t count = std::min(kCopyPiece, range.end - range.start);
        const std::span<uint8_t> piece(buffer.data(), static_cast<size_t>(count));
        if (content.ReadAt(range.start, piece) != piece.size())
            return make_error_code(std::errc::io_error);
        if (const auto error = file.WriteAt(range.start, piece))
            return error;
        range.start += count;
    }
    return {};
}

// What is a hole in the content becomes one in the file.
std::error_code CopyContent(const FileContent& content, DiskFile& file)
{
    const int64_t size = content.Size();
    int64_t done = 0;
    while (done < size) {
        const FileContent::Range data = content.NextData(done);
        if (data.end <= done) // the file has become shorter
            return make_error_code(std::errc::io_error);
        if (const auto error = CopyRange(content, data, file))
            return error;
        done = data.end;
    }
    return file.SetSize(size);
}

std::error_code CopyAttributes(const DiskFile& from, const DiskFile& to, const struct stat& status)
{
    struct stat made = {};
    if (fstat(to.Descriptor(), &made) != 0)
        return LastSystemError();
    const bool sameOwner = made.st_uid == status.st_uid && made.st_gid == status.st_gid;
    // A change of owner clears the mode's special bits and some attributes. An access control
    // list and the mode have the rights of the group in common; the mode, which is set last, has
    // them as the original shows them.
    if (!sameOwner && fchown(to.Descriptor(), status.st_uid, status.st_gid) != 0)
        return LastSystemError();
    if (const auto error = CopySystemAttributes(from.Descriptor(), to.Descriptor()))
        return error;
    return fchmod(to.Descriptor(), status.st_mode & 07777) == 0 ? std::error_code()
                                                                : LastSystemError();
}

} // namespace

std::error_code ReplaceFile(const EditTarget& target, const FileContent& content)
{
    const DiskFile& original = *target.File();
    struct stat status = {};
    if (fstat(original.Descriptor(), &status) != 0)
        return LastSystemError();
    TemporaryFile copy(target);
    std::error_code error = copy.Create();
    if (!error)
        error = CopyContent(content, copy.File());
    if (!error)
        error = CopyAttributes(original, copy.File(), status);
    if (!error)
        error = FlushFile(copy.File().Descriptor(), Flush::Whole);
    if (!error)
        error = target.CheckUnchanged();
    if (!error)
        error = copy.ReplaceTarget();
    if (!error)
        copy.FlushFolder();
    return error;
}

} // namespace aiff
