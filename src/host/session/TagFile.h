#pragma once

#include "host/session/DecoderSession.h"

#include <string>
#include <vector>

namespace host
{

// The tags of one file, read and changed through the decoder that accepts it.
class TagFile
{
public:
    // All must outlive the object.
    TagFile(const codecs::CodecLoader& loader, ReportCapture& report, const Input& input);

    // Every operation says true, or false with a few words in Problem(), without the
    // file's name. A change needs a Read() before it, and works on the file, not on
    // what was read; a program that is told to stop meanwhile stops behind it.
    [[nodiscard]] bool Read();
    // Items with an empty value, or pictures without data, are removed; all that is
    // not named stays. What only informs is left out.
    [[nodiscard]] bool Write(const std::vector<TagItem>& items);
    [[nodiscard]] bool Remove(const std::vector<std::string>& names); // at least one
    [[nodiscard]] bool RemoveAll();

    const std::vector<TagItem>& Items() const { return m_items; } // as Read() has found them
    const Input& Source() const { return m_input; }
    const std::string& Problem() const { return m_problem; }

private:
    template <class Call>
    bool Change(Call call);
    bool Fail(const std::string& what);

    ReportCapture& m_report;
    const Input& m_input;
    DecoderSession m_session;
    std::vector<TagItem> m_items;
    std::string m_problem;
};

} // namespace host
