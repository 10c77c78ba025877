// SPDX-License-Identifier: MIT

// Edits and the file system: what a file is besides its bytes, and who else has it open.

#include "edits/EditHarness.h"
#include "support/SystemCalls.h"

#include <cerrno>
#include <fcntl.h>
#include <set>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>

namespace
{

class FileTest : public PluginTest
{
protected:
    struct stat Status() const
    {
        struct stat status = {};
        EXPECT_EQ(stat(path.c_str(), &status), 0);
        return status;
    }
    bool Says(const std::string& part) { return report.Take(kError).find(part) != part.npos; }

    const Layout first = Make("TCS");
    const Layout last = Make("CST");
    const Edit set = AllEdits()[0];
    const std::string path = dir.Path("a.aiff");
};

int AsNobody(const std::function<int()>& body)
{
    return InChild([&] { return setgid(65534) == 0 && setuid(65534) == 0 ? body() : 99; });
}

TEST_F(FileTest, ReplacedFileKeepsModeOwnerAttributesAndLinks)
{
    File(first.file);
    const std::string link = dir.Path("link.aiff");
    std::filesystem::create_symlink("a.aiff", link);
    const bool isRoot = geteuid() == 0;
    ASSERT_TRUE(!isRoot || chown(path.c_str(), 12345, 23456) == 0);
    ASSERT_EQ(chmod(path.c_str(), 0640), 0);
    const bool hasAttributes = setxattr(path.c_str(), "user.mark", "green", 5, 0) == 0;
    // What the folder hands down to new files: rights for one more user.
    const Bytes list =
        Text("\2\0\0\0\1\0\7\0\xFF\xFF\xFF\xFF\2\0\7\0\x39\x30\0\0\4\0\7\0\xFF\xFF\xFF\xFF"
             "\x10\0\7\0\xFF\xFF\xFF\xFF\x20\0\7\0\xFF\xFF\xFF\xFF"s);
    setxattr(dir.Path("").c_str(), "system.posix_acl_default", list.data(), list.size(), 0);
    const struct stat before = Status();
    EXPECT_EQ(ApplyEdit(plugin, link, set), 1);
    const struct stat after = Status();
    EXPECT_NE(after.st_ino, before.st_ino) << "was not replaced";
    EXPECT_EQ(std::tie(after.st_mode, after.st_uid, after.st_gid),
              std::tie(before.st_mode, before.st_uid, before.st_gid));
    std::array<char, 99> names = {};
    if (hasAttributes)
        EXPECT_EQ(listxattr(path.c_str(), names.data(), names.size()), 10) << names.data();
    EXPECT_EQ(getxattr(path.c_str(), "system.posix_acl_access", nullptr, 0), -1);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(WhatIsWrong(first, set, ReadFile(path)), "");
    EXPECT_EQ(FilesIn(dir), 2);
}

TEST_F(FileTest, UserWhoMayNotWriteIsRefused)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs to be root to become somebody else";
    File(first.file);
    ASSERT_EQ(chmod(dir.Path("").c_str(), 0755), 0);
    ASSERT_EQ(chmod(path.c_str(), 0644), 0);
    const auto edit = [&] { return ApplyEdit(plugin, path, set, &report); };
    EXPECT_EQ(AsNobody(edit), 0);
    EXPECT_TRUE(Says("Error opening file"));
    // A file that may be written in a folder that may not.
    ASSERT_EQ(chmod(path.c_str(), 0666), 0);
    EXPECT_EQ(AsNobody(edit), 0);
    EXPECT_TRUE(Says("Permission denied"));
    EXPECT_EQ(ReadFile(path), first.file);
    // One whose owner cannot be kept.
    ASSERT_EQ(chmod(dir.Path("").c_str(), 0777), 0);
    EXPECT_EQ(AsNobody(edit), 0);
    EXPECT_EQ(ReadFile(path), first.file);
    EXPECT_EQ(FilesIn(dir), 1);
    // Control: at the end of the file neither is needed.
    File(last.file);
    ASSERT_EQ(chmod(path.c_str(), 0666), 0);
    EXPECT_EQ(AsNobody(edit), 1);
}

TEST_F(FileTest, SecondWriterFailsAtOnceAndReadersGoOn)
{
    File(last.file);
    const int other = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(flock(other, LOCK_EX), 0);
    EXPECT_EQ(ApplyEdit(plugin, path, set, &report), 0);
    EXPECT_TRUE(Says("check no other program has it open"));
    EXPECT_EQ(ReadFile(path), last.file);
    EXPECT_EQ(Content(ReadTags(plugin, path)), L"Title=Old;");
    close(other);
    Instance reader(plugin);
    ASSERT_EQ(reader.Open(path, 1 + 8), 1);
    EXPECT_EQ(ApplyEdit(plugin, path, set), 1);
}

TEST_F(FileTest, OtherNamesOfAFileSeeEditsAtItsEndAndAreMentionedElse)
{
    for (const Layout& layout : {first, last, Make("CSTb")}) {
        const std::string other = File(layout.file) + "2";
        std::filesystem::create_hard_link(path, other);
        EXPECT_EQ(ApplyEdit(plugin, path, set, &report), 1);
        const bool isSame = ReadFile(other) == ReadFile(path);
        EXPECT_EQ(isSame, layout.name != first.name);
        EXPECT_NE(isSame, report.Take(kInformation).find("hard links: 1") != std::string::npos);
        EXPECT_TRUE(isSame || ReadFile(other) == layout.file);
        std::filesystem::remove(other);
    }
}

TEST_F(FileTest, CopyOfASparseFileIsSparse)
{
    constexpr size_t kSize = 2 << 20;
    Bytes head = Make("TCZ").file;
    PutSize(head, head.size() - 12, kSize + 8);
    PutSize(head, 4, head.size() - 8 + kSize);
    File(head);
    std::ofstream(path, std::ios::in).seekp(std::ssize(head) + (1 << 20)) << "sound" << std::flush;
    ASSERT_EQ(truncate(path.c_str(), std::ssize(head) + int64_t{kSize}), 0);
    if (Status().st_blocks > 1000)
        GTEST_SKIP() << "no sparse files here";
    const Bytes before = ReadFile(path);
    EXPECT_EQ(ApplyEdit(plugin, path, AllEdits()[1]), 1);
    EXPECT_LE(Status().st_blocks, 1000);
    const Bytes after = ReadFile(path);
    EXPECT_TRUE(std::equal(before.end() - kSize, before.end(), after.end() - kSize));
}

// A copy that was left when its process was killed goes with the next edit in the folder; what
// is in use, or something else, stays.
TEST_F(FileTest, LeftOverCopiesAreRemoved)
{
    File(first.file);
    for (long call = 1; FilesIn(dir) == 1 && call < 99; ++call)
        InChild([&] {
            const EditCall apply(plugin, path, set);
            SystemCalls::Start(SystemCalls::Fault::Kills, call);
            return apply();
        });
    ASSERT_EQ(FilesIn(dir), 2) << "nothing is left over";
    const std::string moved = dir.Path("moved.aiff");
    std::filesystem::rename(path, moved);
    const int inUse = open(dir.Write(".aiff-edit-1", {}).c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(flock(inUse, LOCK_EX), 0);
    std::filesystem::create_symlink("moved.aiff", dir.Path(".aiff-edit-2"));
    std::filesystem::create_hard_link(dir.Write("mine", {}), dir.Path(".aiff-edit-3"));
    dir.Write(".aiff-edit-notes", {});
    EXPECT_EQ(ApplyEdit(plugin, moved, set), 1);
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(dir.Path("")))
        names.insert(entry.path().filename());
    EXPECT_EQ(names, (std::set<std::string>{"moved.aiff", ".aiff-edit-1", ".aiff-edit-2", "mine",
                                            ".aiff-edit-3", ".aiff-edit-notes"}));
    close(inUse);
}

// Whatever another program does to the file up to the check before a write in place, or before
// the copy takes its name.
TEST_F(FileTest, ChangesByOthersAreNeverLost)
{
    const Layout other = Make("TCsM");
    const std::pair<const char*, std::function<void()>> rows[] = {
        {"replaces", [&] { rename(dir.Write("b", other.file).c_str(), path.c_str()); }},
        {"rewrites", [&] { File(other.file); }},
        {"appends", [&] { std::ofstream(path, std::ios::app) << 'x'; }},
        {"touches", [&] { std::filesystem::last_write_time(path, {}); }},
        {"protects", [&] { chmod(path.c_str(), 0400); }},
        {"removes", [&] { unlink(path.c_str()); }}};
    for (const Layout& layout : {first, last}) {
        int32_t result = 0;
        const auto editMeddled = [&](size_t call) { // the name of the call
            chmod(File(layout.file).c_str(), 0600);
            const EditCall apply(plugin, path, set, &report);
            SystemCalls::Start(SystemCalls::Fault::Meddles, static_cast<long>(call));
            result = apply();
            const SystemCalls::Counts counts = SystemCalls::Stop();
            return std::string(counts.struck ? counts.last : "");
        };
        SystemCalls::meddler = [] {};
        std::vector<std::string> calls = {"start"};
        while (!calls.back().empty())
            calls.push_back(editMeddled(calls.size()));
        const std::set<std::string> unchecked = {"pwrite", "ftruncate"};
        while (calls.back() != "rename" && !unchecked.contains(calls.back()))
            calls.pop_back();
        const auto firstRead = std::ranges::find(calls, "pread") - calls.begin();
        for (const auto& [what, act] : rows)
            for (size_t call = 1; call < calls.size() - 1 && !HasFailure(); ++call) {
                if (layout.name == last.name && unchecked.contains(calls[call]))
                    continue;
                SCOPED_TRACE(layout.name + ", " + what + " before " + calls[call]);
                std::optional<Bytes> left;
                mode_t mode = 0;
                SystemCalls::meddler = [&, &act = act] {
                    act();
                    if (std::filesystem::exists(path))
                        std::tie(left, mode) = std::pair(ReadFile(path), Status().st_mode);
                };
                editMeddled(call);
                const std::string error = report.Take(kError);
                EXPECT_EQ(FilesIn(dir), left.has_value());
                if (left)
                    EXPECT_EQ(Status().st_mode, mode);
                if (result == 1) // it began after that, before anything was read
                    EXPECT_EQ(
                        WhatIsWrong(Number(*left, 4) == Number(other.file, 4) ? other : layout, set,
                                    ReadFile(path)),
                        "");
                else
                    EXPECT_TRUE(!left || ReadFile(path) == *left);
                // A touch between a write and the look at its times passes for the write.
                const bool passes =
                    calls[call] == "fstat" && (what == "touches"s || what == "protects"s);
                EXPECT_TRUE(result == 0 || passes || std::cmp_less_equal(call, firstRead));
                EXPECT_EQ(result == 0, error.find("changed by another program") != error.npos ||
                                           error.find("Error opening file") != error.npos);
            }
    }
}

TEST_F(FileTest, DecodingGoesOnWhileTheFileIsEdited)
{
    for (const Layout& layout : {first, last})
        for (const bool same : {true, false}) {
            File(layout.file);
            Instance host(plugin), other(plugin);
            ASSERT_TRUE(host.Open(path, 1 + 8) == 1 && host.Seek(3) == 1);
            const Bytes sound = HostOrder({kSound.data.begin() + 8, kSound.data.end()}, 16);
            void* const handle = (same ? host : other).handle;
            EXPECT_EQ(plugin.DeleteATag(handle, Wide(path).c_str(), nullptr), 1);
            EXPECT_EQ(host.Rest(), Bytes(sound.begin() + 6, sound.end()));
            ASSERT_EQ(host.Seek(0), 1);
            EXPECT_EQ(host.Rest(), sound);
            EXPECT_EQ(ReadTags(plugin, path).Count(), 0);
        }
}

TEST_F(FileTest, FileCannotGrowBeyondFourGibibytes)
{
    constexpr int64_t kSize = (int64_t{1} << 32) - 100000;
    Bytes head = Make("CZ").file;
    PutSize(head, 4, static_cast<size_t>(kSize - 8));
    PutSize(head, 12 + 26 + 4, static_cast<size_t>(kSize - 12 - 26 - 8));
    File(head);
    if (truncate(path.c_str(), kSize) != 0)
        GTEST_SKIP() << "no sparse file of 4 GiB here";
    const auto edit = [&](size_t pictureSize) {
        return Edit{"", Edit::Set, WithCover(Bytes(pictureSize, 'p'))};
    };
    EXPECT_EQ(ApplyEdit(plugin, path, edit(150000), &report), 0);
    EXPECT_TRUE(Says("4 GiB"));
    std::ifstream file(path, std::ios::binary);
    Bytes now(head.size());
    file.read(reinterpret_cast<char*>(now.data()), std::ssize(now));
    EXPECT_EQ(now, head);
    EXPECT_EQ(std::filesystem::file_size(path), static_cast<uintmax_t>(kSize));
    // Control: a smaller one fits.
    EXPECT_EQ(ApplyEdit(plugin, path, edit(50000)), 1);
    EXPECT_EQ(Content(ReadTags(plugin, path)), Content(edit(50000).items));
}

} // namespace
