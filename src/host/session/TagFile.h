// SPDX-License-Identifier: MIT

// The tags of one file.
#pragma once

#include "host/session/DecoderSession.h"

#include <functional>
#include <string>
#include <vector>

namespace aiff::host
{

// The tags of one file, read and changed through the decoder that accepts it.
class TagFile
{
public:
    // Whether a change is on the disk when it is reported as done, or the system writes it when
    // it likes: many files are then changed faster.
    enum class Durability { Durable, Fast };
    // Changes the file, and reports as decoders do. True on success.
    using Edit = std::function<bool(const STNStdReport&)>;

    // All must outlive the object.
    TagFile(const codecs::CodecLoader& loader, ReportCapture& report, const Input& input,
            Durability durability = Durability::Durable);

    // Problems do not name the file. Changes are for files only. A change needs a Read() before it,
    // and works on the file, not on what was read; a program that is told to stop meanwhile stops
    // after it.
    Problem Read();
    // Items with an empty value, or pictures without data, are removed; everything that is
    // not named stays. Items that only inform about the tag are ignored.
    Problem Write(const std::vector<TagItem>& items);
    Problem Remove(const std::vector<std::string>& names); // at least one
    Problem RemoveAll();
    Problem Change(const Edit& edit);

    const std::vector<TagItem>& Items() const { return m_items; } // as Read() has found them
    // What the last change did besides, for people.
    const std::vector<std::string>& Notes() const { return m_notes; }
    const Input& Source() const { return m_input; }

private:
    template <class Call>
    Problem ChangeByDecoder(Call call);

    ReportCapture& m_report;
    const Input& m_input;
    Durability m_durability;
    DecoderSession m_session;
    std::vector<TagItem> m_items;
    std::vector<std::string> m_notes;
};

} // namespace aiff::host
