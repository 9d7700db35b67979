// The boxes of a file as they lie, also those that nobody knows and those that are broken.
#pragma once

#include "Tools/mediakit/box_kinds.h"
#include "VideoIO/StreamFilters/Container/byte_stream.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace mediakit_tool {

/// A box as its header tells, held against what it stands in (ISO/IEC 14496-12, 4.2).
struct BoxHeader {
    std::uint64_t offset = 0;      ///< of its first byte in the file
    std::uint64_t size = 0;        ///< what the header says; for "up to the end" what that comes to
    std::uint64_t end = 0;         ///< where it ends for certain: never behind its parent
    std::uint32_t headerSize = 8;  ///< never reaches behind the end
    std::uint32_t type = 0;
    std::optional<std::array<std::uint8_t, 16>> extendedType;  ///< of `uuid`
    BoxPlace place = BoxPlace::Plain;
    EntryKind entry = EntryKind::Other;  ///< of a sample entry
    BoxInside inside;                    ///< the front never reaches behind the end
    std::vector<std::string> problems;   ///< what is wrong with it, in words

    std::uint64_t Payload() const { return offset + headerSize; }
    /// End of the box's own fields: its children are not among them.
    std::uint64_t FieldsEnd() const { return inside.holdsBoxes ? Payload() + inside.front : end; }
};

/// Gets the boxes in file order.
class BoxListener {
public:
    virtual void BeginBox(const BoxHeader& box) = 0;
    virtual void EndBox(const BoxHeader& box) = 0;
    /// Bytes of a level behind its last box; `problem` is empty for zeros, which are common padding.
    virtual void BytesLeft(std::uint64_t offset, std::uint64_t size, const std::string& problem) = 0;

protected:
    ~BoxListener() = default;
};

/// Walks over a file once, in time and memory that follow from its size whatever it claims: every box takes at least
/// its header of the bytes it stands in. A level ends at a box whose size cannot be; its parent's siblings go on. No
/// byte of sample data is read.
class BoxWalk {
public:
    /// Levels that are walked; real files stay below 12.
    static constexpr int kDeepest = 64;

    /// `levels` is how many to show, from 1. Both are looked at.
    BoxWalk(vio::byte_stream& file, BoxListener& listener, int levels = kDeepest)
        : m_file(file), m_listener(listener), m_levels(levels < kDeepest ? levels : kDeepest) {}

    void Run() { Level({.begin = 0, .end = m_file.size()}, 1); }
    /// What stands in a box of which the listener was told; nothing in one that holds no boxes.
    void RunInside(const BoxHeader& box) {
        if (box.inside.holdsBoxes) Level({box.FieldsEnd(), box.end, box.type, box.inside.children}, 1);
    }

private:
    struct Range {
        std::uint64_t begin = 0;
        std::uint64_t end = 0;
        std::uint32_t parent = 0;
        BoxPlace place = BoxPlace::Plain;
    };

    void Level(const Range& range, int level);
    /// False when the level ends here without a box; the listener knows why.
    bool ReadHeader(const Range& range, std::uint64_t at, BoxHeader& box);
    bool ReadSize(const Range& range, std::uint32_t size, BoxHeader& box);
    void LookInside(const Range& range, BoxHeader& box);
    void LookIntoEntry(BoxHeader& box);
    /// Reads `count` bytes of the payload from `at` on as a number; nothing when they are not there.
    std::optional<std::uint32_t> Peek(const BoxHeader& box, std::uint32_t at, std::uint32_t count);
    void EndLevel(std::uint64_t at, std::uint64_t end);
    bool Read(std::uint64_t at, void* buffer, std::uint32_t count);

    vio::byte_stream& m_file;
    BoxListener& m_listener;
    const int m_levels;
    std::uint32_t m_handler = 0;  ///< of the track being walked
};

}  // namespace mediakit_tool
