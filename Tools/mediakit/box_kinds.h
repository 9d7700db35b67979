// What is known of a box by its type and place: whether boxes stand in it, behind how many bytes, and of what sort.
#pragma once

#include <cstdint>

namespace mediakit_tool {

/// Where a box stands decides what its type means.
enum class BoxPlace {
    Plain,           ///< anywhere else
    Entry,           ///< right in `stsd`: a sample entry
    InsideEntry,     ///< in a sample entry or deeper
    TrackReference,  ///< right in `tref`: the tracks it names, whatever its type
    MetadataItem,    ///< right in `ilst`: an item of any name that holds boxes
};

/// The fixed fields of a sample entry.
enum class EntryKind { Other, Visual, Audio };

/// How the payload of a box goes on behind its fields.
struct BoxInside {
    bool holdsBoxes = false;
    std::uint32_t front = 0;  ///< bytes of fields in front of the first child
    BoxPlace children = BoxPlace::Plain;
};

BoxInside InsideOf(std::uint32_t type, BoxPlace place);

/// By its code; an unknown code is what the track's handler says (`vide`, `soun`).
EntryKind KindOfEntry(std::uint32_t type, std::uint32_t handler);
inline constexpr std::uint32_t kPlainEntryFront = 8;
inline constexpr std::uint32_t kVisualEntryFront = 78;
/// By the version of QuickTime's sound description, 0 in ISO files; 0 for a version that is not known.
std::uint32_t AudioEntryFront(std::uint16_t version);

/// Payloads that are never looked at: samples, and room that is free.
bool IsPayloadOpaque(std::uint32_t type);

}  // namespace mediakit_tool
