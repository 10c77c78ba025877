// SPDX-License-Identifier: MIT

// An edit of a file that is worked out before anything is written.
//
// Writes, moves and changes of size go into a list of pieces, and reads see their result.
// In the end the pieces tell what has to happen to the file: where it changes, and which of its
// bytes have moved.
#pragma once

#include "support/file/FileContent.h"

#include <array>

namespace aiff
{

class FileEdit : public FileContent
{
public:
    // Starts with the content of `base`, which must not change while the edit exists.
    explicit FileEdit(XFileHandle base);

    // -1 when the size of the base could not be determined.
    int64_t Size() const override { return m_baseSize < 0 ? m_baseSize : m_size; }
    [[nodiscard]] size_t ReadAt(int64_t position, std::span<uint8_t> out) const override;
    // Knows the holes of the base.
    Range NextData(int64_t position) const override;
    // Keeps a copy of the bytes, unless they are few and already there.
    [[nodiscard]] std::error_code WriteAt(int64_t position,
                                          std::span<const uint8_t> bytes) override;
    [[nodiscard]] std::error_code GiveAt(int64_t position, std::vector<uint8_t> bytes) override;
    [[nodiscard]] std::error_code SetSize(int64_t size) override;
    // Moves pieces, not bytes.
    [[nodiscard]] std::error_code Move(int64_t from, int64_t delta) override;
    // One pass over the pieces, however many ranges there are.
    [[nodiscard]] std::error_code Remove(std::span<const Range> ranges) override;

    // Reads what is there before the edit.
    [[nodiscard]] size_t ReadBase(int64_t position, std::span<uint8_t> out) const;
    int64_t BaseSize() const { return m_baseSize; }

    // Where the content stops and where it starts again to be that of the base, at the same
    // position: everything that is new, moved or missing lies between. Both are the size
    // when nothing has changed from position `from` on.
    Range Differences(int64_t from) const;

    // Bytes of the base between two positions of the content, moved or not.
    int64_t BytesOfBase(Range range) const;

    // Reads those into memory, so that nothing in the range depends on the base any more.
    // Fails with io_error when they cannot be read.
    [[nodiscard]] std::error_code Hold(Range range);

    // A range that is held, in parts, which the edit owns.
    std::vector<std::span<const uint8_t>> Bytes(Range range) const;

private:
    enum class Source { Base, New };

    struct Piece {
        int64_t start = 0;  // position in the content
        int64_t length = 0; // bytes
        Source source = Source::Base;
        int64_t basePosition = 0;                          // Source::Base
        std::shared_ptr<const std::vector<uint8_t>> bytes; // Source::New
        size_t bytesOffset = 0;

        int64_t End() const { return start + length; }
        bool IsInPlace() const { return source == Source::Base && start == basePosition; }
        // The part between two positions, the second one exclusive, both inside the piece.
        Piece Part(int64_t from, int64_t to) const;
    };

    // A part of the base that was read ahead.
    struct Window {
        int64_t start = 0;
        std::vector<uint8_t> bytes;
    };

    template <class Body>
    void ForEachIn(Range range, Body&& body) const;
    size_t IndexAt(int64_t position) const;
    size_t SplitAt(int64_t position);
    void DropUnchanged(int64_t& position, std::span<const uint8_t>& bytes) const;
    void Replace(int64_t position, int64_t end, Piece piece);
    void PadTo(int64_t size);

    XFileHandle m_base;
    int64_t m_baseSize;
    int64_t m_size;
    std::vector<Piece> m_pieces; // back to back from 0 to m_size, none empty
    // Headers at the front and at the end of the base are looked at again and again.
    mutable std::array<Window, 2> m_windows;
    mutable size_t m_oldest = 0; // index of the window that is replaced next
};

} // namespace aiff
