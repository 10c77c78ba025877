#include "support/file/ReplaceFile.h"

#include "support/file/FileAttributes.h"
#include "support/file/SystemError.h"

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <vector>

namespace aiff
{

namespace
{

constexpr int64_t kCopyPiece = int64_t{1} << 20; // bytes copied at a time

// A new file, which is removed again unless it takes another name.
class NewFile
{
public:
    explicit NewFile(std::string path) : m_path(std::move(path)) {}
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile()
    {
        if (m_created)
            unlink(m_path.c_str());
    }

    // Null when the file cannot be created.
    std::shared_ptr<DiskFile> Create(std::error_code& error)
    {
        FileDescriptor file(open(m_path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        m_created = file.Get() >= 0;
        error = m_created ? std::error_code() : LastSystemError();
        return m_created ? std::make_shared<DiskFile>(std::move(file)) : nullptr;
    }

    std::error_code RenameTo(const std::string& path)
    {
        m_created = std::rename(m_path.c_str(), path.c_str()) != 0;
        return m_created ? LastSystemError() : std::error_code();
    }

    const std::string& Path() const { return m_path; }

private:
    std::string m_path;
    bool m_created = false;
};

std::error_code CopyContent(const FileContent& content, DiskFile& file)
{
    const int64_t size = content.Size();
    std::vector<uint8_t> buffer(static_cast<size_t>(std::clamp<int64_t>(size, 0, kCopyPiece)));
    for (int64_t done = 0; done < size;) {
        const auto count = static_cast<size_t>(std::min(kCopyPiece, size - done));
        const std::span<uint8_t> piece(buffer.data(), count);
        if (content.ReadAt(done, piece) != count)
            return make_error_code(std::errc::io_error);
        if (const auto error = file.WriteAt(done, piece))
            return error;
        done += static_cast<int64_t>(count);
    }
    return {};
}

std::error_code CopyAttributes(const DiskFile& from, const DiskFile& to, const struct stat& status)
{
    struct stat made = {};
    if (fstat(to.Descriptor(), &made) != 0)
        return LastSystemError();
    const bool sameOwner = made.st_uid == status.st_uid && made.st_gid == status.st_gid;
    // A change of owner clears the mode's special bits, so the mode is set after it.
    if ((!sameOwner && fchown(to.Descriptor(), status.st_uid, status.st_gid) != 0) ||
        fchmod(to.Descriptor(), status.st_mode & 07777) != 0)
        return LastSystemError();
    return CopyExtendedAttributes(from.Descriptor(), to.Descriptor());
}

// Makes the renaming durable. The file is whole under either name, so nothing depends on
// the result.
void FlushDirectory(const std::string& directory)
{
    const FileDescriptor descriptor(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (descriptor.Get() >= 0)
        (void)fsync(descriptor.Get());
}

} // namespace

std::error_code ReplaceFile(const EditTarget& target, const FileContent& content)
{
    const DiskFile& original = *target.File();
    struct stat status = {};
    if (fstat(original.Descriptor(), &status) != 0)
        return LastSystemError();
    const std::string directory = target.Path().substr(0, target.Path().rfind('/') + 1);
    // Named after the inode: whoever holds the file's lock owns this name, so a file that
    // has it already was left behind by an edit that was killed.
    NewFile temporary(directory + ".aiff-edit-" + std::to_string(status.st_ino));
    unlink(temporary.Path().c_str());
    std::error_code error;
    const auto file = temporary.Create(error);
    if (!error)
        error = CopyContent(content, *file);
    if (!error)
        error = CopyAttributes(original, *file, status);
    if (!error && fsync(file->Descriptor()) != 0)
        error = LastSystemError();
    if (!error)
        error = target.CheckUnchanged();
    if (!error)
        error = temporary.RenameTo(target.Path());
    if (!error)
        FlushDirectory(directory);
    return error;
}

} // namespace aiff
