// SPDX-License-Identifier: MIT

// What the ID3v2 codec throws, and the checked view its body decoders use.
//
// Exceptions do not leave src/tags: the codec catches those of one frame, TagPictures and
// TagUpdate the rest.
#pragma once

#include <cstddef>
#include <stdexcept>

namespace aiff::id3parser
{

// The bytes of a tag or of a frame body are not what they should be.
class parseError : public std::runtime_error
{
public:
    parseError() : std::runtime_error("ID3v2 parse error") {}
};

// A tag cannot be expressed in the format: wrong revision, encoding or size.
class writeError : public std::runtime_error
{
public:
    writeError() : std::runtime_error("ID3v2 write error") {}
};

// A view of `length` elements that throws Error instead of reading beyond them.
// The elements must outlive it.
template <class Element, class Error>
class readGuard
{
public:
    readGuard(const Element* elements, size_t length) : m_elements(elements), m_length(length) {}

    Element operator[](size_t index) const
    {
        if (index >= m_length)
            throw Error();
        return m_elements[index];
    }

    size_t size() const { return m_length; }

private:
    const Element* m_elements;
    size_t m_length;
};

} // namespace aiff::id3parser
