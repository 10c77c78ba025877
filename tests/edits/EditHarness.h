// SPDX-License-Identifier: MIT

// Edits of tags through the plug-in, and what must hold after each.
#pragma once

#include "edits/Layouts.h"
#include "support/PluginDriver.h"

#include <functional>
#include <sys/wait.h>
#include <taglib/aifffile.h>
#include <taglib/id3v2tag.h>
#include <taglib/tbytevectorstream.h>

// The tags as the plug-in hands them out, without the tag's version.
inline NTag ReadTags(const Plugin& plugin, const std::string& path)
{
    Instance host(plugin);
    NTag tags;
    if (host.Open(path, QV_OPEN_READ_TAGS, 0) == 1 && host.open.pTagData != nullptr)
        tags = Decoded({host.open.pTagData, host.open.nTagDataSize});
    tags.RemoveTag(XStr(L"TagVersion"));
    return tags;
}

inline long FilesIn(const TempDir& dir)
{
    return std::distance(std::filesystem::directory_iterator(dir.Path("")),
                         std::filesystem::directory_iterator());
}

// What a function returns in a process of its own; -1 when that is killed.
inline int InChild(const std::function<int()>& body)
{
    const pid_t child = fork();
    if (child == 0)
        _exit(body());
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) || WTERMSIG(status) == SIGKILL);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// The frames that TagLib reads, which does not mind the form's size: their texts and their bytes.
inline std::pair<std::string, std::string> SeenByTagLib(const Bytes& file)
{
    TagLib::ByteVectorStream stream(
        {reinterpret_cast<const char*>(file.data()), static_cast<unsigned>(file.size())});
    TagLib::RIFF::AIFF::File sound(&stream, false);
    std::pair<std::string, std::string> seen;
    for (const auto* frame : sound.tag()->frameList()) {
        const TagLib::ByteVector id = frame->frameID(), bytes = frame->render();
        seen.first += std::string(id.data(), id.size()) + frame->toString().to8Bit(true) + "|";
        seen.second.append(bytes.data(), bytes.size());
    }
    return seen;
}

// One edit, prepared so far that only the plug-in's function is left to be called.
class EditCall
{
public:
    EditCall(const Plugin& plugin, const std::string& path, const Edit& edit,
             const Report* report = nullptr, bool isDurable = true)
        : m_plugin(plugin), m_kind(edit.kind),
          m_host(plugin, report != nullptr ? report->Record() : STNStdReport{}), m_path(Wide(path)),
          m_blob(Encoded(edit.items))
    {
        for (long i = 0; i < edit.items.Count(); ++i)
            m_names += edit.items[i].name + L'\0';
        STQvCodecGetSet record = {0, 0, isDurable, 0, nullptr, nullptr, 0, nullptr};
        EXPECT_EQ(m_plugin.Set(m_host.handle, QV_KEY_DURABLE_EDITS, &record), 1);
        record.nValue1 = 2; // no value of this key: changes nothing
        EXPECT_EQ(m_plugin.Set(m_host.handle, QV_KEY_DURABLE_EDITS, &record), 0);
    }

    int32_t operator()() const
    {
        if (m_kind != Edit::Set)
            return m_plugin.DeleteATag(m_host.handle, m_path.c_str(),
                                       m_kind == Edit::DeleteAll ? nullptr : m_names.c_str());
        const auto size = static_cast<int32_t>(m_blob.size());
        STQvCodecGetSet record = {0, size, 0, 0, m_path.c_str(), nullptr, 0, m_blob.data()};
        return m_plugin.Set(m_host.handle, QV_KEY_ID_TAGS, &record);
    }

private:
    const Plugin& m_plugin;
    Edit::Kind m_kind;
    Instance m_host;
    std::wstring m_path, m_names;
    Bytes m_blob;
};

inline int32_t ApplyEdit(const Plugin& plugin, const std::string& path, const Edit& edit,
                         const Report* report = nullptr)
{
    return EditCall(plugin, path, edit, report)();
}

// The chunks in a form, if it ends with one of them: the tags, and the others without fillers.
inline std::pair<std::vector<Chunk>, std::vector<Chunk>> Shown(const Bytes& file)
{
    const size_t end = file.size() < 12 ? 0 : Number(file, 4) + 8;
    if (file.size() < end)
        throw std::runtime_error("the form is larger than the file");
    std::vector<Chunk> tags, others;
    for (Chunk& chunk : WalkStrictly({file.begin(), file.begin() + ptrdiff_t(end)}).chunks)
        if (chunk.code != "FLLR")
            (chunk.IsTag() ? tags : others).push_back(std::move(chunk));
    return {tags, others};
}

enum State { kOld, kNew, kBad };

// What a file is while it is edited, or after something went wrong.
inline State StateOf(const Bytes& file, const Bytes& before, const Bytes& after)
{
    if (file == before)
        return kOld;
    try {
        const auto shown = Shown(file);
        if (shown == Shown(after))
            return kNew;
        return shown == Shown(before) ? kOld : kBad;
    } catch (const std::runtime_error&) {
        return kBad;
    }
}

// Empty when a file that was edited is a well-formed one that has lost nothing, else
// what is wrong with it.
inline std::string WhatIsWrong(const Layout& layout, Edit edit, const Bytes& file)
{
    if (edit.kind != Edit::Set && !layout.hasTag)
        return file == layout.file ? "" : "a file without tags was changed";
    std::vector<Chunk> others;
    try {
        others = WalkStrictly(file).chunks;
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    const auto tags = std::erase_if(others, [](const Chunk& chunk) { return chunk.IsTag(); });
    if (others != layout.others)
        return "other chunks were changed";
    const bool keepsTag = edit.kind != Edit::DeleteAll;
    if (tags != size_t{keepsTag})
        return std::to_string(tags) + " tag chunks";
    if (keepsTag && layout.hasForeign && S(file).find(kForeignFrame) == std::string::npos)
        return "a frame is lost";
    const STInternalTag* const cover = edit.items.FindElement(kCover);
    const bool isShown = cover == nullptr || S(file).find(S(cover->data)) != std::string::npos;
    return isShown ? "" : "the picture is not there as it was given";
}
