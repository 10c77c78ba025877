#include "support/file/ReplaceFile.h"

#include "support/file/FileAttributes.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <vector>

namespace
{

constexpr int64_t kCopyPiece = int64_t{1} << 20; // bytes copied at a time

// A new file that is removed again unless it is kept.
class NewFile
{
public:
    explicit NewFile(std::string path) : m_path(std::move(path)) {}
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile()
    {
        const int reason = errno;
        if (m_created)
            unlink(m_path.c_str());
        errno = reason;
    }

    std::shared_ptr<DiskFile> Create()
    {
        FileDescriptor file(open(m_path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        m_created = file.Get() >= 0;
        return m_created ? std::make_shared<DiskFile>(std::move(file)) : nullptr;
    }

    bool RenameTo(const std::string& path)
    {
        m_created = std::rename(m_path.c_str(), path.c_str()) != 0;
        return !m_created;
    }

    const std::string& Path() const { return m_path; }

private:
    std::string m_path;
    bool m_created = false;
};

bool CopyContent(const FileContent& content, DiskFile& file)
{
    const int64_t size = content.Size();
    std::vector<uint8_t> buffer(static_cast<size_t>(std::clamp<int64_t>(size, 0, kCopyPiece)));
    for (int64_t done = 0; done < size;) {
        const auto count = static_cast<size_t>(std::min(kCopyPiece, size - done));
        const std::span<uint8_t> piece(buffer.data(), count);
        if (content.ReadAt(done, piece) != count) {
            errno = EIO;
            return false;
        }
        if (!file.WriteAt(done, piece))
            return false;
        done += static_cast<int64_t>(count);
    }
    return true;
}

bool CopyAttributes(const DiskFile& from, const DiskFile& to, const struct stat& status)
{
    struct stat made = {};
    if (fstat(to.Descriptor(), &made) != 0)
        return false;
    const bool sameOwner = made.st_uid == status.st_uid && made.st_gid == status.st_gid;
    // A change of owner takes the mode's special bits away: the mode comes after it.
    return (sameOwner || fchown(to.Descriptor(), status.st_uid, status.st_gid) == 0) &&
           fchmod(to.Descriptor(), status.st_mode & 07777) == 0 &&
           CopyExtendedAttributes(from.Descriptor(), to.Descriptor());
}

// Makes the renaming last. The file is whole under either name, so nothing depends on
// the result.
void FlushFolder(const std::string& folder)
{
    const FileDescriptor descriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (descriptor.Get() >= 0)
        (void)fsync(descriptor.Get());
}

} // namespace

bool ReplaceFile(const DiskFile& original, const std::string& path, const FileContent& content)
{
    struct stat status = {};
    if (fstat(original.Descriptor(), &status) != 0)
        return false;
    const std::string folder = path.substr(0, path.rfind('/') + 1);
    // Named after the file's number: whoever holds the file's lock owns this name, so
    // one that exists was left behind by an edit that was killed.
    NewFile temporary(folder + ".aiff-edit-" + std::to_string(status.st_ino));
    unlink(temporary.Path().c_str());
    const auto file = temporary.Create();
    if (file == nullptr || !CopyContent(content, *file) ||
        !CopyAttributes(original, *file, status) || fsync(file->Descriptor()) != 0 ||
        !temporary.RenameTo(path))
        return false;
    FlushFolder(folder);
    return true;
}
