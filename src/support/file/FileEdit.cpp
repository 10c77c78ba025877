// SPDX-License-Identifier: MIT
#include "support/file/FileEdit.h"

#include "support/SaturatingMath.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace aiff
{

namespace
{
// Writes of up to this size (headers, size fields) are compared with what is there, so
// that rewriting many unchanged headers changes nothing.
constexpr size_t kComparedWrite = 64;

// Bytes of the base that are read at once when fewer are asked for.
constexpr size_t kWindow = 4096;
} // namespace

FileEdit::FileEdit(XFileHandle base)
    : m_base(std::move(base)), m_baseSize(m_base->Size()), m_size(std::max<int64_t>(m_baseSize, 0))
{
    if (m_size > 0)
        m_pieces.push_back({0, m_size, Source::Base, 0, nullptr, 0});
}

FileEdit::Piece FileEdit::Piece::Part(int64_t from, int64_t to) const
{
    Piece part = *this;
    part.start = from;
    part.length = to - from;
    part.basePosition += from - start;
    part.bytesOffset += static_cast<size_t>(from - start);
    return part;
}

// Index of the piece that holds a position below the size.
size_t FileEdit::IndexAt(int64_t position) const
{
    const auto after =
        std::upper_bound(m_pieces.begin(), m_pieces.end(), position,
                         [](int64_t value, const Piece& piece) { return value < piece.start; });
    return static_cast<size_t>(after - m_pieces.begin()) - 1;
}

// Makes a piece begin at a position and returns its index, which for the end of the
// content is the number of pieces.
size_t FileEdit::SplitAt(int64_t position)
{
    if (position >= m_size)
        return m_pieces.size();
    const size_t index = IndexAt(position);
    const int64_t head = position - m_pieces[index].start;
    if (head == 0)
        return index;
    Piece tail = m_pieces[index].Part(position, m_pieces[index].End());
    m_pieces[index].length = head;
    m_pieces.insert(m_pieces.begin() + static_cast<ptrdiff_t>(index) + 1, std::move(tail));
    return index + 1;
}

// A short count may come from an error, which another read may not meet: it is not kept.
size_t FileEdit::ReadBase(int64_t position, std::span<uint8_t> out) const
{
    if (out.empty() || out.size() > kWindow)
        return m_base->ReadAt(position, out);
    const auto holds = [&](const Window& window) {
        return position >= window.start &&
               position + std::ssize(out) <= window.start + std::ssize(window.bytes);
    };
    auto found = std::ranges::find_if(m_windows, holds);
    if (found == m_windows.end()) {
        found = m_windows.begin() + static_cast<ptrdiff_t>(m_oldest);
        found->start = position;
        found->bytes.resize(static_cast<size_t>(
            std::clamp<int64_t>(m_baseSize - position, std::ssize(out), kWindow)));
        found->bytes.resize(m_base->ReadAt(position, found->bytes));
        if (found->bytes.size() < out.size()) {
            const std::vector<uint8_t> few = std::exchange(found->bytes, {});
            std::ranges::copy(few, out.begin());
            return few.size();
        }
        m_oldest = 1 - m_oldest;
    }
    const auto* from = &found->bytes[static_cast<size_t>(position - found->start)];
    std::copy(from, from + out.size(), out.begin());
    return out.size();
}

size_t FileEdit::ReadAt(int64_t position, std::span<uint8_t> out) const
{
    if (position < 0 || position >= m_size)
        return 0;
    size_t done = 0;
    for (size_t i = IndexAt(position); i < m_pieces.size() && done < out.size(); ++i) {
        const Piece& piece = m_pieces[i];
        const int64_t skip = std::max<int64_t>(position - piece.start, 0);
        const auto rest = static_cast<uint64_t>(piece.length - skip);
        const auto count = static_cast<size_t>(std::min<uint64_t>(rest, out.size() - done));
        const std::span<uint8_t> part = out.subspan(done, count);
        if (piece.source == Source::New)
            std::memcpy(part.data(),
                        piece.bytes->data() + piece.bytesOffset + static_cast<size_t>(skip), count);
        else if (ReadBase(piece.basePosition + skip, part) != count)
            return done;
        done += count;
    }
    return done;
}

FileContent::Range FileEdit::NextData(int64_t position) const
{
    for (size_t i = IndexAt(position); i < m_pieces.size(); ++i) {
        const Piece& piece = m_pieces[i];
        const int64_t from = std::max(position, piece.start);
        if (piece.source == Source::New)
            return {from, piece.End()};
        const int64_t shift = piece.start - piece.basePosition;
        const Range data = m_base->NextData(from - shift);
        if (data.start + shift < piece.End())
            return {data.start + shift, std::min(data.end + shift, piece.End())};
    }
    return {m_size, m_size};
}

// Trims a small write at both ends by the bytes that are there already. Of a header,
// usually only the size is left.
void FileEdit::DropUnchanged(int64_t& position, std::span<const uint8_t>& bytes) const
{
    std::array<uint8_t, kComparedWrite> buffer;
    if (bytes.size() > buffer.size())
        return;
    std::span<const uint8_t> present(buffer.data(),
                                     ReadAt(position, std::span(buffer).first(bytes.size())));
    while (!bytes.empty() && present.size() == bytes.size() && present.back() == bytes.back()) {
        bytes = bytes.first(bytes.size() - 1);
        present = present.first(bytes.size());
    }
    while (!bytes.empty() && !present.empty() && present.front() == bytes.front()) {
        bytes = bytes.subspan(1);
        present = present.subspan(1);
        ++position;
    }
}

void FileEdit::Replace(int64_t position, int64_t end, Piece piece)
{
    const auto first = static_cast<ptrdiff_t>(SplitAt(position));
    const auto last = static_cast<ptrdiff_t>(SplitAt(end));
    m_size = std::max(m_size, end);
    if (first < last) {
        m_pieces[static_cast<size_t>(first)] = std::move(piece);
        m_pieces.erase(m_pieces.begin() + first + 1, m_pieces.begin() + last);
    } else {
        m_pieces.insert(m_pieces.begin() + first, std::move(piece));
    }
}

std::error_code FileEdit::WriteAt(int64_t position, std::span<const uint8_t> bytes)
{
    if (position >= 0 && !bytes.empty()) {
        PadTo(position);
        DropUnchanged(position, bytes);
    }
    return GiveAt(position, {bytes.begin(), bytes.end()});
}

std::error_code FileEdit::GiveAt(int64_t position, std::vector<uint8_t> bytes)
{
    if (position < 0)
        return make_error_code(std::errc::invalid_argument);
    if (bytes.empty())
        return {};
    PadTo(position);
    const auto length = static_cast<int64_t>(bytes.size());
    auto shared = std::make_shared<const std::vector<uint8_t>>(std::move(bytes));
    Replace(position, position + length, {position, length, Source::New, 0, std::move(shared), 0});
    return {};
}

// Appends zeros up to a size; does nothing when the content is that large already.
void FileEdit::PadTo(int64_t size)
{
    const int64_t length = size - m_size;
    if (length <= 0)
        return;
    auto zeros = std::make_shared<const std::vector<uint8_t>>(static_cast<size_t>(length), 0);
    Replace(m_size, size, {m_size, length, Source::New, 0, std::move(zeros), 0});
}

std::error_code FileEdit::SetSize(int64_t size)
{
    if (size < 0)
        return make_error_code(std::errc::invalid_argument);
    PadTo(size);
    m_pieces.resize(SplitAt(size));
    m_size = size;
    return {};
}

std::error_code FileEdit::Move(int64_t from, int64_t delta)
{
    const int64_t target = AddSaturated(from, delta);
    if (from < 0 || from > m_size || target < 0)
        return make_error_code(std::errc::invalid_argument);
    const size_t moved = SplitAt(from);
    std::vector<Piece> tail(
        std::make_move_iterator(m_pieces.begin() + static_cast<ptrdiff_t>(moved)),
        std::make_move_iterator(m_pieces.end()));
    m_pieces.resize(moved);
    const int64_t size = m_size + delta;
    m_size = from;
    if (const auto error = SetSize(target)) // truncates what is overwritten, or fills the gap
        return error;
    for (Piece& piece : tail) {
        piece.start += delta;
        m_pieces.push_back(std::move(piece));
    }
    m_size = size;
    return {};
}

std::error_code FileEdit::Remove(std::span<const Range> ranges)
{
    std::vector<Piece> kept;
    int64_t removed = 0;
    for (const Piece& piece : m_pieces) {
        for (int64_t at = piece.start; at < piece.End();) {
            while (!ranges.empty() && ranges.front().end <= at)
                ranges = ranges.subspan(1);
            const bool isKept = ranges.empty() || at < ranges.front().start;
            const int64_t border = ranges.empty() ? piece.End()
                                   : isKept       ? ranges.front().start
                                                  : ranges.front().end;
            const int64_t next = std::min(piece.End(), border);
            if (isKept)
                kept.emplace_back(piece.Part(at, next)).start -= removed;
            else
                removed += next - at;
            at = next;
        }
    }
    m_pieces.swap(kept);
    m_size -= removed;
    return {};
}

FileEdit::Range FileEdit::Differences(int64_t from) const
{
    Range range{m_size, m_size == m_baseSize ? from : m_size};
    for (const Piece& piece : m_pieces) {
        if (piece.IsInPlace() || piece.End() <= from)
            continue;
        range.start = std::min(range.start, std::max(piece.start, from));
        range.end = std::max(range.end, piece.End());
    }
    return {range.start, std::max(range.start, range.end)};
}

// Calls a function with the part of each piece inside a range.
template <class Body>
void FileEdit::ForEachIn(Range range, Body&& body) const
{
    for (const Piece& piece : m_pieces)
        if (const int64_t start = std::max(range.start, piece.start),
            end = std::min(range.end, piece.End());
            start < end)
            body(piece.Part(start, end));
}

int64_t FileEdit::BytesOfBase(Range range) const
{
    int64_t bytes = 0;
    ForEachIn(range,
              [&](const Piece& part) { bytes += part.source == Source::Base ? part.length : 0; });
    return bytes;
}

std::error_code FileEdit::Hold(Range range)
{
    const size_t first = SplitAt(range.start);
    const size_t end = SplitAt(range.end);
    for (size_t i = first; i < end; ++i) {
        Piece& piece = m_pieces[i];
        if (piece.source == Source::New)
            continue;
        std::vector<uint8_t> bytes(static_cast<size_t>(piece.length));
        if (ReadBase(piece.basePosition, bytes) != bytes.size())
            return make_error_code(std::errc::io_error);
        piece.source = Source::New;
        piece.bytes = std::make_shared<const std::vector<uint8_t>>(std::move(bytes));
        piece.bytesOffset = 0;
    }
    return {};
}

std::vector<std::span<const uint8_t>> FileEdit::Bytes(Range range) const
{
    std::vector<std::span<const uint8_t>> bytes;
    ForEachIn(range, [&](const Piece& part) {
        bytes.push_back(
            std::span(*part.bytes).subspan(part.bytesOffset, static_cast<size_t>(part.length)));
    });
    return bytes;
}

} // namespace aiff
