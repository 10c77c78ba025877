// SPDX-License-Identifier: MIT

// What is left of an edit when the power fails or the program ends: the calls of real edits are
// recorded, and every state that the disk may be in is worked out from them.

#include "edits/EditHarness.h"
#include "support/Sndfile.h"
#include "support/SystemCalls.h"

#include <random>

namespace
{

using SystemCalls::Event;

constexpr size_t kSectorSize = 512; // reaches the disk whole or not at all
constexpr size_t kPageSize = 4096;  // is written whole or not at all

// A file on a disk. Between two barriers the sectors and the size get there in any order.
class Disk
{
public:
    explicit Disk(const Bytes& file) : m_data(file), m_sizes{file.size()} {}

    void Do(const Event& event, size_t sectors = SIZE_MAX)
    {
        const auto at = static_cast<size_t>(event.position);
        if (event.kind == Event::Barrier) {
            m_versions.clear();
            m_sizes = {m_sizes.back()};
        } else if (event.kind == Event::Size) {
            m_sizes.push_back(at);
        }
        for (size_t done = 0; done < event.bytes.size() && sectors > 0; --sectors) {
            const size_t sector = (at + done) / kSectorSize;
            const size_t end = std::min((sector + 1) * kSectorSize - at, event.bytes.size());
            m_data.resize(std::max(m_data.size(), (sector + 1) * kSectorSize));
            if (m_versions[sector].empty())
                m_versions[sector].push_back(Sector(sector));
            std::copy(event.bytes.begin() + ptrdiff_t(done), event.bytes.begin() + ptrdiff_t(end),
                      m_data.begin() + ptrdiff_t(at + done));
            m_versions[sector].push_back(Sector(sector));
            m_sizes.push_back(std::max(m_sizes.back(), at + end));
            done = end;
        }
    }

    // What a reader finds as long as the power stays on.
    Bytes File() const { return Sized(m_data, m_sizes.back()); }

    // What is found after a power failure: little, about half or most of what was written last.
    Bytes AfterFailure(std::mt19937& random) const
    {
        const size_t share = random() % 3;
        const auto pick = [&](size_t count) {
            return random() % 2 < share ? count - 1 : share == 1 ? random() % count : 0;
        };
        Bytes data = m_data;
        for (const auto& [sector, versions] : m_versions) {
            const Bytes& version = versions[pick(versions.size())];
            std::copy(version.begin(), version.end(),
                      data.begin() + ptrdiff_t(sector * kSectorSize));
        }
        return Sized(data, m_sizes[pick(m_sizes.size())]);
    }

private:
    Bytes Sector(size_t number) const
    {
        const auto start = m_data.begin() + ptrdiff_t(number * kSectorSize);
        return {start, start + kSectorSize};
    }
    static Bytes Sized(Bytes data, size_t size)
    {
        data.resize(size);
        return data;
    }

    Bytes m_data;
    std::map<size_t, std::vector<Bytes>> m_versions; // of sectors since the last barrier
    std::vector<size_t> m_sizes;                     // since then
};

class PowerTest : public PluginTest
{
protected:
    // Makes an edit and takes note of what it does to the file.
    std::vector<Event> Record(const Layout& layout, const Edit& edit, bool isDurable = true)
    {
        before = layout.file;
        const EditCall apply(plugin, File(before), edit, nullptr, isDurable);
        SystemCalls::Start();
        EXPECT_EQ(apply(), 1);
        std::vector<Event> events = SystemCalls::Stop().events;
        after = ReadFile(path);
        seenBefore = SeenByTagLib(before), seenAfter = SeenByTagLib(after);
        return events;
    }

    bool IsOldOrNew(const Bytes& file) const
    {
        const auto seen = SeenByTagLib(file);
        return StateOf(file, before, after) != kBad && (seen == seenBefore || seen == seenAfter);
    }

    const std::string path = dir.Path("a.aiff");
    Bytes before, after;
    std::pair<std::string, std::string> seenBefore, seenAfter;
};

// In the names of layouts, _ is a chunk that moves the others across the borders of sectors.
std::vector<Layout> PowerLayouts()
{
    std::vector<Layout> layouts =
        MakeAll("CS;Cs;CST;CSTM;CStMM;CSP;CSPM;CSTb;CSG;CSGM;GCS;GCSM;PCS;TCS");
    for (size_t size = 440; size < 474; size += 2)
        for (const char* notation : {"CS_T", "CS_PM", "GCS_"})
            layouts.push_back(Make(notation, size));
    return layouts;
}

// Whether a copy took the file's name, which it may only when all of it is on the disk.
bool IsCopy(const std::vector<Event>& events)
{
    bool isFlushed = false, isCopy = false;
    for (const Event& event : events) {
        EXPECT_TRUE(event.kind != Event::Rename || isFlushed);
        isCopy = isCopy || event.kind == Event::Rename;
        isFlushed = event.kind == Event::Barrier;
    }
    return isCopy;
}

TEST_F(PowerTest, EveryStateShowsTheOldOrTheNewTag)
{
    std::mt19937 random(1);
    long states = 0;
    const auto check = [&](const Bytes& file) {
        ASSERT_TRUE(IsOldOrNew(file));
        if (++states % 199 != 0)
            return;
        // Other readers find the sound, and the next edit leaves no trace of this one.
        const std::vector<int32_t> sound = ReadSamples(File(before)).values;
        EXPECT_EQ(ReadSamples(File(file)).values, sound);
        EXPECT_EQ(ApplyEdit(plugin, path, {"", Edit::Set, ListOf(L"Title=Later")}), 1);
        const Bytes later = ReadFile(path);
        EXPECT_EQ(Shown(later).second, Shown(before).second);
        EXPECT_EQ(Number(later, 4) + 8, later.size());
        EXPECT_EQ(S(later).find("FLLR"), std::string::npos);
    };
    // What a process leaves that is killed in the middle of a call, between two pages.
    const auto checkKill = [&](Disk& disk, const Event& event) {
        Disk killed = disk;
        const size_t pages = (event.bytes.size() + kPageSize - 1) / kPageSize;
        const auto at = static_cast<size_t>(event.position);
        if (const size_t end = (at / kPageSize + random() % (pages + 1)) * kPageSize; end > at)
            killed.Do(event, (end - at + kSectorSize - 1) / kSectorSize);
        ASSERT_NE(StateOf(killed.File(), before, after), kBad);
        disk.Do(event);
        ASSERT_NE(StateOf(disk.File(), before, after), kBad);
    };
    for (const Layout& layout : PowerLayouts())
        for (const Edit& edit : AllEdits()) {
            SCOPED_TRACE(layout.name + ": " + edit.name);
            const std::vector<Event> events = Record(layout, edit);
            if (IsCopy(events))
                continue;
            Disk disk(before);
            for (const Event& event : events) {
                SCOPED_TRACE("call " + std::to_string(&event - events.data()));
                checkKill(disk, event);
                check(disk.File());
                for (int i = 0; i < 8 && !HasFatalFailure(); ++i)
                    check(disk.AfterFailure(random));
            }
            EXPECT_EQ(disk.File(), after);
            // Without barriers only those states count in which the power stays on.
            Disk other(before);
            for (const Event& event : Record(layout, edit, false)) {
                EXPECT_NE(event.kind, Event::Barrier);
                checkKill(other, event);
            }
            EXPECT_EQ(other.File(), after);
        }
    EXPECT_GT(states, 10000);
    RecordProperty("states", std::to_string(states));
}

// Each was seen to be needed: without it, some state above is bad. More would cost time.
TEST_F(PowerTest, BarriersAreFew)
{
    const Edit set = AllEdits()[0], picture = AllEdits()[1], remove = AllEdits()[3];
    const std::tuple<const char*, const Edit&, int> rows[] = {
        {"CS", picture, 2},   {"CSP", picture, 6}, {"CSG", picture, 6},
        {"CSPM", picture, 6}, {"GCS", picture, 4}, {"CST", remove, 1},
        {"CST", set, 4},      {"CSG", set, 2},     {"CS_PM", remove, 6}};
    for (const auto& [notation, edit, barriers] : rows) {
        std::vector<Event> events = Record(Make(notation, 462), edit);
        if (events.back().kind == Event::Barrier)
            events.pop_back();
        EXPECT_EQ(std::ranges::count(events, Event::Barrier, &Event::kind), barriers)
            << notation << ": " << edit.name;
    }
}

} // namespace
