// An edit of a file that is worked out before anything is written.
//
// Writes, moves and size changes go into a list of pieces; reads see their result.
// When all is decided, the pieces tell what has to happen to the file: which ranges
// change where they are, and whether bytes of the file stand somewhere else now.
#pragma once

#include "support/file/XFile.h"

#include <vector>

class FileEdit : public FileContent
{
public:
    // The content starts as that of `base`, which must not change meanwhile.
    explicit FileEdit(XFileHandle base);

    // -1 when the size of the base could not be learned.
    int64_t Size() const override { return m_baseSize < 0 ? m_baseSize : m_size; }
    [[nodiscard]] size_t ReadAt(int64_t position, std::span<uint8_t> out) const override;
    // Costs memory for the bytes; small writes of what is there already cost nothing.
    [[nodiscard]] bool WriteAt(int64_t position, std::span<const uint8_t> bytes) override;
    [[nodiscard]] bool GiveAt(int64_t position, std::vector<uint8_t> bytes) override;
    [[nodiscard]] bool SetSize(int64_t size) override;
    // Moves no bytes, only pieces.
    [[nodiscard]] bool Move(int64_t from, int64_t delta) override;
    // One pass over the pieces, however many parts there are.
    [[nodiscard]] bool Remove(std::span<const Range> ranges) override;

    const XFileHandle& Base() const { return m_base; }
    int64_t BaseSize() const { return m_baseSize; }

    // Whether bytes of the base stand at another position now.
    bool MovesBaseBytes() const;

    // Takes bytes of the base that stand elsewhere now, from a position on, into memory:
    // they become changes. False when they cannot be read.
    [[nodiscard]] bool KeepMovedBytes(int64_t from);

    // A range of the content that is new. `bytes` belongs to the edit.
    struct Change {
        int64_t position = 0;
        std::span<const uint8_t> bytes;
        int64_t End() const { return position + static_cast<int64_t>(bytes.size()); }
    };

    // All new ranges, in order of position.
    std::vector<Change> Changes() const;

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
        // The part of it from a position to before another one, both inside.
        Piece Part(int64_t from, int64_t to) const;
    };

    size_t IndexAt(int64_t position) const;
    size_t SplitAt(int64_t position);
    void DropUnchanged(int64_t& position, std::span<const uint8_t>& bytes) const;
    void Replace(int64_t position, int64_t end, Piece piece);
    bool AppendZeros(int64_t size);

    XFileHandle m_base;
    int64_t m_baseSize;
    int64_t m_size;
    std::vector<Piece> m_pieces; // back to back from 0 to m_size, none empty
};
