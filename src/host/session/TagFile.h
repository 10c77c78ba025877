// The tags of one file.
#pragma once

#include "host/session/DecoderSession.h"

#include <string>
#include <vector>

namespace aiff::host
{

// The tags of one file, read and changed through the decoder that accepts it.
class TagFile
{
public:
    // All must outlive the object.
    TagFile(const codecs::CodecLoader& loader, ReportCapture& report, const Input& input);

    // Problems do not name the file. A change needs a Read() before it, and works on the
    // file, not on what was read; a program that is told to stop meanwhile stops after it.
    Problem Read();
    // Items with an empty value, or pictures without data, are removed; everything that is
    // not named stays. Items that only inform about the tag are ignored.
    Problem Write(const std::vector<TagItem>& items);
    Problem Remove(const std::vector<std::string>& names); // at least one
    Problem RemoveAll();

    const std::vector<TagItem>& Items() const { return m_items; } // as Read() has found them
    const Input& Source() const { return m_input; }

private:
    template <class Call>
    Problem Change(Call call);

    ReportCapture& m_report;
    const Input& m_input;
    DecoderSession m_session;
    std::vector<TagItem> m_items;
};

} // namespace aiff::host
