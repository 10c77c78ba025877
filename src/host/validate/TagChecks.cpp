// SPDX-License-Identifier: MIT

// Tags and properties: reading, and edits of copies.

#include "host/base/Printable.h"
#include "host/validate/Bench.h"
#include "host/validate/Checks.h"
#include "support/text/XStr.h"

#include <filesystem>
#include <span>

namespace aiff::host::validate
{
namespace
{

constexpr char kTitle[] = "Title";
constexpr char kNewTitle[] = "Written by a check";

uint32_t Number(std::span<const uint8_t> bytes)
{
    uint32_t number = 0;
    for (size_t i = 4; i-- > 0;)
        number = number << 8 | bytes[i];
    return number;
}

// The size of a text with its zero; 0 when it does not end.
size_t TextSize(std::span<const uint8_t> bytes)
{
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
        if (bytes[i] == 0 && bytes[i + 1] == 0)
            return i + 2;
    }
    return 0;
}

// Why the bytes are no tag blob; empty when they are one.
std::string BlobProblem(std::span<const uint8_t> blob)
{
    if (blob.size() < 4)
        return "has no item count";
    const uint32_t count = Number(blob);
    blob = blob.subspan(4);
    for (uint32_t i = 0; i < count; ++i) {
        const std::string item = "item " + std::to_string(i) + " of " + std::to_string(count);
        const size_t size = blob.size() < 4 ? 0 : Number(blob);
        if (size < 4 || size > blob.size())
            return item + " has a size of " + std::to_string(size);
        std::span<const uint8_t> texts = blob.subspan(4, size - 4);
        for (int text = 0; text < 2; ++text) {
            const size_t length = TextSize(texts);
            if (length == 0)
                return item + " has a text that does not end";
            texts = texts.subspan(length);
        }
        blob = blob.subspan(size);
    }
    return blob.empty() ? "" : "goes on after its last item";
}

// What Open gives of a file besides its sound.
struct Texts {
    bool isOpened = false;
    Bytes tags;
    Bytes properties;

    std::string Title() const
    {
        const std::vector<TagItem> items = ReadTagBlob(tags);
        const TagItem* title = FindItem(items, kTitle);
        return title == nullptr ? "" : title->value;
    }
};

Texts ReadTexts(const Bench& bench, const std::string& path)
{
    Texts texts;
    Instance instance(bench.Functions());
    texts.isOpened = instance.Open(path, QV_OPEN_READ_TAGS | QV_OPEN_PROPERTIES) == 1;
    const STQvOpenDecoder record = instance.open.Value();
    if (record.pTagData != nullptr)
        texts.tags.assign(record.pTagData, record.pTagData + record.nTagDataSize);
    if (record.pPropertiesData != nullptr)
        texts.properties.assign(record.pPropertiesData,
                                record.pPropertiesData + record.nPropertiesDataSize);
    return texts;
}

Bytes TitleBlob()
{
    const auto blob = MakeTagBlob({{kTitle, kNewTitle, {}}});
    return blob ? *blob : Bytes();
}

// Gives a copy a title. False when the plug-in refuses, which must leave the file as it is.
bool WriteTitle(Bench& bench, const Sample& sample, const std::string& copy)
{
    Instance instance(bench.Functions());
    const int32_t result = instance.SetTags(copy, TitleBlob());
    if (result == 1)
        return true;
    bench.findings.Require(result == 0 && FileContent(copy) == FileContent(sample.path),
                           sample.name + ": Set gives " + std::to_string(result) +
                               ", and the file has changed",
                           "0, and the file as it was");
    return false;
}

// Blobs that are none, and what is wrong with them.
std::vector<std::pair<const char*, Bytes>> BrokenBlobs()
{
    const Bytes good = TitleBlob();
    Bytes manyItems = good, hugeItem = good, negativeItem = good, noEnd = good;
    manyItems[3] = 0x7F;
    hugeItem[7] = 0x7F;
    negativeItem[7] = 0xFF;
    noEnd.resize(noEnd.size() - 2);
    return {{"an empty blob", {}},
            {"a blob of two bytes", {1, 0}},
            {"a count without items", manyItems},
            {"an item past the end", hugeItem},
            {"an item of negative size", negativeItem},
            {"a text that does not end", noEnd}};
}

void RequireFailure(Bench& bench, const char* call, const std::string& what, int32_t result)
{
    bench.findings.Require(
        result == 0, std::string(call) + " for " + what + " returns " + std::to_string(result),
        "0");
}

} // namespace

void CheckTagsRepeat(Bench& bench)
{
    int tagged = 0;
    for (const Sample& sample : bench.Samples()) {
        const Texts first = ReadTexts(bench, sample.path);
        const Texts second = ReadTexts(bench, sample.path);
        bench.findings.Require(first.tags == second.tags && first.properties == second.properties,
                               sample.name + ": tags or properties differ the second time",
                               "the same every time");
        for (const auto& [name, blob] :
             {std::pair{"tag blob", &first.tags}, std::pair{"properties", &first.properties}}) {
            const std::string problem = blob->empty() ? "" : BlobProblem(*blob);
            bench.findings.Require(problem.empty(), sample.name + ": the " + name + " " + problem,
                                   "a tag blob");
        }
        tagged += ReadTagBlob(first.tags).empty() ? 0 : 1;
    }
    bench.findings.Note(Counted(tagged, "file") + " with tags");
}

void CheckTagWriting(Bench& bench)
{
    int written = 0;
    for (const Sample& sample : bench.FewSamples()) {
        const std::string copy = bench.CopyOf(sample);
        const std::string untouched = bench.CopyOf(sample);
        if (!WriteTitle(bench, sample, copy))
            continue;
        ++written;
        const std::string title = ReadTexts(bench, copy).Title();
        bench.findings.Require(title == kNewTitle,
                               sample.name + ": \"Title\" reads back as \"" + title + "\"",
                               "the value that Set has written");
        bench.RequireSameSound(copy, sample, "after its tag was written");
        bench.findings.Require(FileContent(untouched) == FileContent(sample.path),
                               sample.name + ": another file has changed",
                               "only the file that is named");
    }
    if (written == 0)
        return bench.findings.Skip("it writes no tags into the files at hand");
    bench.findings.Note(Counted(written, "file"));
}

void CheckTagDeleting(Bench& bench)
{
    int deleted = 0;
    for (const Sample& sample : bench.FewSamples()) {
        for (const wchar_t* names : {L"Title\0", L"", static_cast<const wchar_t*>(nullptr)}) {
            const std::string copy = bench.CopyOf(sample);
            if (!WriteTitle(bench, sample, copy))
                continue;
            Instance instance(bench.Functions());
            if (instance.DeleteATag(copy, names) != 1)
                continue;
            ++deleted;
            const std::string name = sample.name + " after DeleteATag of " +
                                     (names != nullptr && *names != 0 ? kTitle : "all");
            const std::string title = ReadTexts(bench, copy).Title();
            bench.findings.Require(title.empty(), name + " has the title \"" + title + "\"",
                                   "none");
            bench.RequireSameSound(copy, sample, "after its tag was deleted");
        }
    }
    if (deleted == 0)
        return bench.findings.Skip("it deletes no tags from the files at hand");
}

void CheckTagRefusals(Bench& bench)
{
    Instance instance(bench.Functions());
    const std::string missing = bench.NewPath("missing.aiff");
    const std::pair<const char*, std::string> names[] = {
        {"a missing file", missing}, {"a folder", bench.Setup().scratchFolder}, {"no name", ""}};
    for (const auto& [what, name] : names) {
        RequireFailure(bench, "Set", what, instance.SetTags(name, TitleBlob()));
        RequireFailure(bench, "DeleteATag", what, instance.DeleteATag(name, nullptr));
    }
    bench.findings.Require(!std::filesystem::exists(missing), "a file is made", "no file");
    const Sample& sample = bench.Samples().front();
    for (const auto& [what, blob] : BrokenBlobs()) {
        const std::string copy = bench.CopyOf(sample);
        const int32_t result = instance.SetTags(copy, blob);
        bench.findings.Require(result == 1 || FileContent(copy) == FileContent(sample.path),
                               sample.name + ": Set with " + what + " fails and changes the file",
                               "a file as it was");
        bench.RequireSameSound(copy, sample, std::string("after Set with ") + what);
    }
}

} // namespace aiff::host::validate
