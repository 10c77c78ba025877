// SPDX-License-Identifier: MIT
#include "host/author/edits/PlanEdit.h"

#include "host/author/tags/FrameBody.h"
#include "host/author/tags/KnownFields.h"
#include "host/base/Printable.h"
#include "support/text/Ascii.h"
#include "tags/id3parser/frames/FrameRules.h"

#include <algorithm>

namespace aiff::host
{
namespace
{

using id3parser::FrameRule;
using id3parser::WriteRule;

constexpr size_t kYear = 4; // characters of a date
constexpr size_t kDay = 10;

// The frame that holds one text for a field; null where there is none.
const FrameRule* RuleOf(const std::string& field, int revision)
{
    const auto rules = id3parser::FrameRules();
    const auto found = std::ranges::find_if(rules, [&](const FrameRule& rule) {
        const bool holdsText = rule.write == WriteRule::Text || rule.write == WriteRule::Date ||
                               rule.write == WriteRule::OldDate;
        return holdsText && rule.FitsRevision(id3parser::t_tagRevision{revision}) &&
               EqualNoCase(rule.field, field);
    });
    return found == rules.end() ? nullptr : &*found;
}

class Planner
{
public:
    explicit Planner(EditPlan& plan) : m_plan(plan) {}

    void Take(TagItem item);

private:
    bool IsV24() const { return m_plan.edit.revision == id3parser::kRevision4; }
    void FitDate(const FrameRule& rule, TagItem& item);
    void Note(const std::string& field, const std::string& text)
    {
        m_plan.notes.push_back("\"" + field + "\" " + text);
    }

    EditPlan& m_plan;
};

void Planner::FitDate(const FrameRule& rule, TagItem& item)
{
    if (item.value.size() > kDay && item.value[kDay] == ' ')
        item.value[kDay] = 'T';
    const bool hasDay = rule.write == WriteRule::OldDate && item.value.size() >= kDay;
    const size_t most = hasDay ? kDay : kYear; // in ID3v2.3
    if (!IsV24() && item.value.size() > most) {
        item.value.resize(most);
        Note(item.name, "becomes " + item.value +
                            ", as ID3v2.3 holds no more (--id3v2.4 keeps the whole date)");
    }
    m_plan.suitsDecoder = m_plan.suitsDecoder && item.value.size() <= kYear;
}

void Planner::Take(TagItem item)
{
    const FrameRule* const rule = RuleOf(item.name, m_plan.edit.revision);
    // In ID3v2.3 the release date is a frame of a later version, which holds anything.
    const bool isDate = rule != nullptr && rule->write != WriteRule::Text &&
                        (IsV24() || rule->versions != id3parser::Versions::All);
    if (isDate && IsDate(item.value))
        FitDate(*rule, item);
    else if (isDate && !item.value.empty()) // decoders would make a number of it
        m_plan.suitsDecoder = false;
    m_plan.expected.push_back(item);
    const std::vector<std::string> values = item.Values();
    const int revision = item.value.empty() ? kNewestVersion : m_plan.edit.revision;
    if (const std::string frame = FrameOfField(item.name, revision); !frame.empty()) {
        m_plan.edit.frames.push_back(item.value.empty()
                                         ? NewFrame{frame, {}}
                                         : MakeTextFrame(frame, values, m_plan.edit.revision));
        m_plan.edit.items.push_back({item.name, "", {}}); // as decoders would have it
        m_plan.suitsDecoder = false;
    } else if (rule == nullptr || values.size() == 1) {
        m_plan.edit.items.push_back(std::move(item));
    } else if (IsV24()) {
        m_plan.edit.frames.push_back(
            MakeTextFrame(FrameName(rule->id), values, m_plan.edit.revision));
        m_plan.suitsDecoder = false;
    } else {
        Note(item.name, "holds one text in ID3v2.3: its " + Counted(std::ssize(values), "value") +
                            " become lines of it (--id3v2.4 keeps them apart)");
        m_plan.edit.items.push_back(std::move(item));
    }
}

// Whether a sentence about a difference is about a field that is set anyway.
bool IsAbout(const std::string& sentence, const std::vector<TagItem>& items)
{
    return std::ranges::any_of(items, [&sentence](const TagItem& item) {
        const KnownField* const field = FindKnownField(item.name);
        const std::string start = field == nullptr ? "" : field->property + " \"";
        return field != nullptr &&
               (sentence.starts_with(start) || sentence.starts_with("left out: " + start));
    });
}

} // namespace

EditPlan PlanEdit(const std::vector<TagItem>& items, const FileTags& tags, bool wantsV24)
{
    EditPlan plan;
    plan.edit.revision = RevisionAfterEdit(tags, wantsV24);
    Planner planner(plan);
    for (const TagItem& item : items)
        planner.Take(item);
    if (plan.edit.revision == RevisionAfterEdit(tags, false))
        return plan;
    plan.suitsDecoder = false;
    for (const std::string& difference : ConversionDifferences(tags))
        if (!IsAbout(difference, items))
            plan.notes.push_back("in its tag, now ID3v2.4: " + difference);
    return plan;
}

bool IsDate(std::string_view text)
{
    constexpr std::string_view kPattern = "####-##-##T##:##:##";
    constexpr size_t kLengths[] = {4, 7, 10, 13, 16, 19};
    const auto fits = [](char c, char pattern) {
        return pattern == '#' ? IsAsciiDigit(c) : c == pattern || (pattern == 'T' && c == ' ');
    };
    return std::ranges::find(kLengths, text.size()) != std::end(kLengths) &&
           std::equal(text.begin(), text.end(), kPattern.begin(), fits);
}

} // namespace aiff::host
