#include "Tools/mediakit/box_walk.h"

#include "Tools/mediakit/box_values.h"
#include "VideoIO/StreamFilters/Container/byte_order.h"
#include "VideoIO/StreamFilters/Container/fourcc.h"

#include <algorithm>

namespace mediakit_tool {

namespace {

using vio::mp4::fourcc;

constexpr std::uint32_t kHeader = 8;
constexpr std::uint32_t kLargeSize = 8;
constexpr std::uint32_t kExtendedType = 16;
/// Zeros up to this size are told from other bytes behind the last box.
constexpr std::uint32_t kPaddingLookedAt = 8;

std::string BytesOf(std::uint64_t count) { return std::to_string(count) + (count == 1 ? " byte" : " bytes"); }

}  // namespace

void BoxWalk::Level(const Range& range, int level) {
    std::uint64_t at = range.begin;
    while (at < range.end) {
        BoxHeader box;
        if (!ReadHeader(range, at, box)) return;
        LookInside(range, box);
        const bool descend = box.inside.holdsBoxes && box.FieldsEnd() < box.end;
        if (descend && level >= kDeepest) box.problems.push_back("boxes nested this deep are not looked at");
        m_listener.BeginBox(box);
        if (descend && level < m_levels) Level({box.FieldsEnd(), box.end, box.type, box.inside.children}, level + 1);
        m_listener.EndBox(box);
        at = box.end;
    }
}

bool BoxWalk::ReadHeader(const Range& range, std::uint64_t at, BoxHeader& box) {
    struct {
        std::uint32_t size;
        std::uint32_t type;
    } header;
    static_assert(sizeof header == kHeader);
    if (range.end - at < kHeader) return EndLevel(at, range.end), false;
    if (!Read(at, &header, kHeader)) {
        m_listener.BytesLeft(at, range.end - at, "cannot be read");
        return false;
    }
    const std::uint32_t size = vio::details::big_endian(header.size);
    if (size == 0 && header.type == 0) return EndLevel(at, range.end), false;
    box.offset = at;
    box.type = vio::details::big_endian(header.type);
    box.place = range.place;
    return ReadSize(range, size, box);
}

bool BoxWalk::ReadSize(const Range& range, std::uint32_t size, BoxHeader& box) {
    const std::uint64_t room = range.end - box.offset;
    box.size = size;
    if (size == 0) {
        box.size = room;
        if (range.parent != 0) box.problems.push_back("has size 0, which only the last box of a file may have");
    } else if (size == 1) {
        std::uint64_t large = 0;
        if (room < kHeader + kLargeSize || !Read(box.offset + kHeader, &large, kLargeSize)) {
            m_listener.BytesLeft(box.offset, room, FourccText(box.type) + ": the header is cut off");
            return false;
        }
        box.size = vio::details::big_endian(large);
        box.headerSize += kLargeSize;
    }
    if (box.type == fourcc("uuid")) {
        auto& extended = box.extendedType.emplace();
        const bool whole = room >= box.headerSize + kExtendedType;
        if (!whole || !Read(box.offset + box.headerSize, extended.data(), kExtendedType)) {
            m_listener.BytesLeft(box.offset, room, "uuid: the header is cut off");
            return false;
        }
        box.headerSize += kExtendedType;
    }
    if (box.size < box.headerSize) {
        m_listener.BytesLeft(box.offset, room,
                             FourccText(box.type) + ": its size of " + BytesOf(box.size) + " is less than its header");
        return false;
    }
    box.end = box.offset + std::min(box.size, room);
    if (box.size > room)
        box.problems.push_back("ends " + BytesOf(box.size - room) + " behind " +
                               (range.parent == 0 ? "the file" : FourccText(range.parent)));
    return true;
}

void BoxWalk::LookInside(const Range& range, BoxHeader& box) {
    if (box.type == fourcc("trak")) m_handler = 0;
    if (box.type == fourcc("hdlr") && range.parent == fourcc("mdia")) m_handler = Peek(box, 8, 4).value_or(0);
    if (box.place == BoxPlace::Entry)
        LookIntoEntry(box);
    else
        box.inside = InsideOf(box.type, box.place);
    // QuickTime's has neither version nor flags, and starts with its handler.
    if (box.type == fourcc("meta") && Peek(box, 4, 4) == fourcc("hdlr")) box.inside.front = 0;
    const std::uint64_t room = box.end - box.Payload();
    if (box.inside.front <= room) return;
    box.problems.push_back("is too short for its fields");
    box.inside.front = static_cast<std::uint32_t>(room);
}

void BoxWalk::LookIntoEntry(BoxHeader& box) {
    box.entry = KindOfEntry(box.type, m_handler);
    box.inside = {.holdsBoxes = true, .front = kPlainEntryFront, .children = BoxPlace::InsideEntry};
    if (box.entry == EntryKind::Visual) {
        box.inside.front = kVisualEntryFront;
    } else if (box.entry == EntryKind::Audio) {
        const auto version = static_cast<std::uint16_t>(Peek(box, 8, 2).value_or(0));
        box.inside.front = AudioEntryFront(version);
        if (box.inside.front != 0) return;
        box.problems.push_back("is of version " + std::to_string(version) + ", which is not known");
        box.inside.holdsBoxes = false;
    } else {
        // Only MPEG-4 systems streams are known to hold boxes right behind the common fields.
        box.inside.holdsBoxes = box.type == fourcc("mp4s");
        if (!box.inside.holdsBoxes) box.inside.front = 0;
    }
}

std::optional<std::uint32_t> BoxWalk::Peek(const BoxHeader& box, std::uint32_t at, std::uint32_t count) {
    std::uint8_t bytes[4] = {};
    if (box.end - box.Payload() < at + count || !Read(box.Payload() + at, bytes, count)) return std::nullopt;
    std::uint32_t value = 0;
    for (std::uint32_t i = 0; i < count; ++i) value = value << 8 | bytes[i];
    return value;
}

void BoxWalk::EndLevel(std::uint64_t at, std::uint64_t end) {
    std::uint8_t bytes[kPaddingLookedAt] = {};
    const auto count = static_cast<std::uint32_t>(std::min<std::uint64_t>(end - at, kPaddingLookedAt));
    const bool read = Read(at, bytes, count);
    const bool zeros = read && std::all_of(bytes, bytes + count, [](std::uint8_t byte) { return byte == 0; });
    m_listener.BytesLeft(at, end - at, zeros ? "" : "are too few for a box");
}

bool BoxWalk::Read(std::uint64_t at, void* buffer, std::uint32_t count) {
    return m_file.seek(at) && m_file.read(buffer, count);
}

}  // namespace mediakit_tool
