// SPDX-License-Identifier: MIT

// Loading, creating and asking.

#include "host/validate/Bench.h"
#include "host/validate/Checks.h"
#include "host/validate/RecordFields.h"

#include "support/text/XStr.h"

#include <cstdint>
#include <limits>

namespace aiff::host::validate
{
namespace
{

// More items than any real decoder lists: one that goes on is broken.
constexpr uint32_t kMaxItems = 256;

std::string Quoted(const wchar_t* text)
{
    return "\"" + ToUtf8(text) + "\"";
}

// Asks for an item with a record that holds a pattern; only the texts may change, and only when
// the result is 1.
int32_t GetItem(Bench& bench, Instance& instance, const wchar_t* key, uint32_t index)
{
    const int32_t result = instance.Get(key, index, kPattern);
    Guarded<STQvCodecGetSet> before(kPattern);
    before->nItemIndex = index;
    const STQvCodecGetSet after = instance.getSet.Value();
    const FieldNames allowed = result == 1 ? FieldNames{"pText1", "pText2"} : FieldNames{};
    const std::string changed = ChangedFields(before.Value(), after, allowed);
    bench.findings.Require(changed.empty() && instance.getSet.IsIntact(),
                           "Get of " + Quoted(key) + " with result " + std::to_string(result) +
                               " changes " +
                               (changed.empty() ? "bytes around the record" : changed),
                           "only the texts change, and only when the result is 1");
    if (result == 1 && after.pText2 == before->pText2)
        instance.getSet->pText2 = nullptr;
    return result;
}

bool IsText(const wchar_t* text)
{
    constexpr size_t kMaxLength = 4096;
    return text != nullptr && *text != 0 && wcsnlen(text, kMaxLength) < kMaxLength;
}

// Goes through a list; returns the number of its items.
uint32_t WalkList(Bench& bench, Instance& instance, const wchar_t* key, bool areExtensions)
{
    uint32_t count = 0;
    while (count <= kMaxItems && GetItem(bench, instance, key, count) == 1) {
        const STQvCodecGetSet item = instance.getSet.Value();
        const std::string name = Quoted(key) + " " + std::to_string(count);
        if (!bench.findings.Require(IsText(item.pText1), name + " has no text",
                                    "a text for every item"))
            return count;
        bench.findings.Require(!areExtensions || item.pText1[0] == L'.',
                               name + " is " + Quoted(item.pText1),
                               "a file name extension with its dot");
        bench.findings.Require(!areExtensions || IsText(item.pText2), name + " has no second text",
                               "the name of the format");
        ++count;
    }
    bench.findings.Require(count <= kMaxItems, Quoted(key) + " goes on after 256 items",
                           "0 past the last item");
    bench.findings.Require(GetItem(bench, instance, key, std::numeric_limits<uint32_t>::max()) == 0,
                           Quoted(key) + " has an item 4294967295", "0 past the last item");
    return count;
}

} // namespace

void CheckLoading(Bench& bench)
{
    std::string why;
    bench.findings.Require(bench.Load(why), why, "a library with nine functions");
}

void CheckUnloading(Bench& bench)
{
    for (int i = 0; i < 2; ++i) {
        {
            Instance instance(bench.Functions());
            bench.findings.Require(instance.Handle() != nullptr, "Create gives null",
                                   "an instance, also after loading again");
            instance.Get(QV_KEY_DECODES, 0);
        }
        bench.Unload();
        std::string why;
        if (!bench.findings.Require(bench.Load(why), why, "it loads again"))
            return;
    }
}

void CheckNullHandles(Bench& bench)
{
    const codecs::DecoderFunctions& plugin = bench.Functions();
    Guarded<STQvCodecGetSet> getSet;
    Guarded<STQvOpenDecoder> open;
    Guarded<STQvAudioBlock> block;
    Guarded<STQvEncoderFluid> fluid;
    open->pFileName = L"/";
    const auto require = [&bench](const char* name, int32_t expected, auto call) {
        AnnounceCall(std::string(name) + " of a null handle");
        const int32_t result = call();
        bench.findings.Require(result == expected,
                               std::string(name) + " returns " + std::to_string(result),
                               std::to_string(expected) + " for a null handle");
    };
    require("Get", 0, [&] { return plugin.Get(nullptr, QV_KEY_DECODES, getSet.Pointer()); });
    require("Set", 0,
            [&] { return plugin.Set(nullptr, QV_KEY_SET_DECODE_RANGE, getSet.Pointer()); });
    require("Open", 0, [&] { return plugin.Open(nullptr, open.Pointer()); });
    require("Close", 0, [&] { return plugin.Close(nullptr, fluid.Pointer()); });
    require("DecodeBlock", 0, [&] { return plugin.DecodeBlock(nullptr, block.Pointer()); });
    require("SetPosition", 0, [&] { return plugin.SetPosition(nullptr, 0); });
    require("DeleteATag", 0, [&] { return plugin.DeleteATag(nullptr, L"/", nullptr); });
    require("Destroy", 1, [&] { return plugin.Destroy(nullptr); });
}

void CheckCreating(Bench& bench)
{
    const STNStdReport off = {};
    const STNStdReport invalid = {QV_INVALID_HANDLE, QV_INVALID_HANDLE, QV_INVALID_HANDLE};
    for (const STNStdReport* report : {&off, &invalid, static_cast<const STNStdReport*>(nullptr)}) {
        Instance instance(bench.Functions(), report);
        const std::string with = report == nullptr ? "no report"
                                 : report == &off  ? "a report that is off"
                                                   : "invalid handles in the report";
        if (bench.findings.Require(instance.Handle() != nullptr, "Create gives null with " + with,
                                   "an instance"))
            bench.findings.Require(instance.Destroy() == 1, "Destroy does not return 1", "1");
    }
}

void CheckLists(Bench& bench)
{
    Instance instance(bench.Functions());
    const uint32_t extensions = WalkList(bench, instance, QV_KEY_DECODES, true);
    const uint32_t types = WalkList(bench, instance, QV_KEY_STREAMING_DECODES, false);
    bench.findings.Require(extensions + types > 0, "both lists are empty",
                           "an extension or a MIME type that it decodes");
    bench.findings.Note(std::to_string(extensions) + " extensions, " + std::to_string(types) +
                        " MIME types");
}

void CheckDescription(Bench& bench)
{
    Instance instance(bench.Functions());
    const bool isAnswered = GetItem(bench, instance, QV_KEY_DECODER_DESCRIPTION, 0) == 1;
    if (bench.findings.Require(isAnswered && IsText(instance.getSet->pText1), "there is none",
                               "a text"))
        bench.findings.Note(Quoted(instance.getSet->pText1));
}

void CheckUnknownKeys(Bench& bench)
{
    Instance instance(bench.Functions());
    for (const wchar_t* key :
         {L"", L"decodes", L"Decodes ", L"Decode", L"No Such Key", QV_KEY_ID_TAGS})
        bench.findings.Require(GetItem(bench, instance, key, 0) == 0,
                               "Get of " + Quoted(key) + " does not return 0", "0");
    for (const wchar_t* key :
         {L"", L"set decode range", L"Set Decode Range ", L"IDTag", QV_KEY_DECODES})
        bench.findings.Require(instance.Set(key, 0) == 0,
                               "Set of " + Quoted(key) + " does not return 0", "0");
}

void CheckAnswers(Bench& bench)
{
    Instance instance(bench.Functions());
    Instance other(bench.Functions());
    const bool isAnswered =
        instance.Get(QV_KEY_DECODES, 0) == 1 || instance.Get(QV_KEY_STREAMING_DECODES, 0) == 1;
    if (!isAnswered || instance.getSet->pText1 == nullptr)
        return bench.findings.Skip("it lists nothing");
    const STQvCodecGetSet answer = instance.getSet.Value();
    const std::wstring first(answer.pText1);
    const auto requireSame = [&](const char* call) {
        bench.findings.Require(answer.pText1 == first,
                               std::string("the text differs after ") + call,
                               "the text of the last Get of the instance");
    };
    other.Get(QV_KEY_DECODER_DESCRIPTION, 0);
    other.Get(QV_KEY_STREAMING_DECODES, 1);
    requireSame("Get of another instance");
    instance.SetRange(0, QV_RANGE_TO_END);
    requireSame("Set");
    instance.Open(bench.NewPath("missing"), QV_OPEN_PREPARE_DECODE);
    instance.Close();
    requireSame("Open and Close");
}

void CheckValues(Bench& bench)
{
    Instance instance(bench.Functions());
    bench.findings.Require(instance.SetRange(1, 2) == 1, "a decode range is refused", "1");
    Guarded<STQvCodecGetSet> before;
    before->nValue1 = 1;
    before->nValue2 = 2;
    const std::string changed = ChangedFields(before.Value(), instance.getSet.Value(), {});
    bench.findings.Require(changed.empty() && instance.getSet.IsIntact(), "Set changes " + changed,
                           "a record that stays as it is");
    for (const wchar_t* key : {QV_KEY_DURABLE_EDITS, QV_KEY_EXACT_STREAMS}) {
        for (const int64_t value : {-1, 2})
            bench.findings.Require(instance.Set(key, value) == 0,
                                   Quoted(key) + " takes the value " + std::to_string(value),
                                   "0 for values other than 0 and 1");
    }
    bench.findings.Require(instance.Set(QV_KEY_ID_TAGS, 0) == 0,
                           "\"IDTags\" succeeds without a file and a tag", "0");
}

} // namespace aiff::host::validate
