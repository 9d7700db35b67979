#include "Tools/mediakit/box_kinds.h"

#include "VideoIO/StreamFilters/Container/fourcc.h"

#include <algorithm>
#include <iterator>

namespace mediakit_tool {

namespace {

using vio::mp4::fourcc;

struct Container {
    std::uint32_t type;
    std::uint32_t front = 0;
    BoxPlace children = BoxPlace::Plain;
};

// ISO/IEC 14496-12 table 1, 14496-14, 23008-12 and the QuickTime file format.
constexpr Container kContainers[] = {
    {fourcc("clip")},
    {fourcc("dinf")},
    {fourcc("dref"), 8},
    {fourcc("edts")},
    {fourcc("gmhd")},
    {fourcc("hinf")},
    {fourcc("hnti")},
    {fourcc("ilst"), 0, BoxPlace::MetadataItem},
    {fourcc("ipco")},
    {fourcc("iprp")},
    {fourcc("matt")},
    {fourcc("mdia")},
    {fourcc("meco")},
    {fourcc("meta"), 4},
    {fourcc("mfra")},
    {fourcc("minf")},
    {fourcc("moof")},
    {fourcc("moov")},
    {fourcc("mvex")},
    {fourcc("rinf")},
    {fourcc("rmda")},
    {fourcc("rmra")},
    {fourcc("schi")},
    {fourcc("sinf")},
    {fourcc("stbl")},
    {fourcc("strd")},
    {fourcc("strk")},
    {fourcc("stsd"), 8, BoxPlace::Entry},
    {fourcc("tapt")},
    {fourcc("traf")},
    {fourcc("trak")},
    {fourcc("tmcd")},
    {fourcc("tref"), 0, BoxPlace::TrackReference},
    {fourcc("trgr")},
    {fourcc("udta")},
    {fourcc("wave")},
};

constexpr std::uint32_t kVisualEntries[] = {
    fourcc("ap4h"), fourcc("apch"), fourcc("apcn"), fourcc("apco"), fourcc("apcs"), fourcc("av01"), fourcc("avc1"),
    fourcc("avc2"), fourcc("avc3"), fourcc("avc4"), fourcc("dvh1"), fourcc("dvhe"), fourcc("encv"), fourcc("hev1"),
    fourcc("hvc1"), fourcc("icod"), fourcc("jpeg"), fourcc("mjp2"), fourcc("mjpa"), fourcc("mjpb"), fourcc("mp4v"),
    fourcc("png "), fourcc("raw "), fourcc("resv"), fourcc("s263"), fourcc("vp08"), fourcc("vp09"), fourcc("vvc1"),
};

constexpr std::uint32_t kAudioEntries[] = {
    fourcc(".mp3"), fourcc("Opus"), fourcc("ac-3"), fourcc("ac-4"), fourcc("alac"), fourcc("alaw"),
    fourcc("dtsc"), fourcc("ec-3"), fourcc("enca"), fourcc("fLaC"), fourcc("fl32"), fourcc("fl64"),
    fourcc("in24"), fourcc("in32"), fourcc("ipcm"), fourcc("lpcm"), fourcc("mp4a"), fourcc("samr"),
    fourcc("sawb"), fourcc("sowt"), fourcc("twos"), fourcc("ulaw"),
};

/// Fields in front of the boxes of a sound entry, by version.
constexpr std::uint32_t kAudioFronts[] = {28, 44, 64};

template <std::size_t N>
bool Contains(const std::uint32_t (&types)[N], std::uint32_t type) {
    return std::find(std::begin(types), std::end(types), type) != std::end(types);
}

}  // namespace

BoxInside InsideOf(std::uint32_t type, BoxPlace place) {
    if (place == BoxPlace::MetadataItem) return {.holdsBoxes = true};
    if (place == BoxPlace::TrackReference) return {};
    const auto found = std::find_if(std::begin(kContainers), std::end(kContainers),
                                    [type](const Container& container) { return container.type == type; });
    if (found == std::end(kContainers)) return {};
    const bool inEntry = place == BoxPlace::InsideEntry;
    return {.holdsBoxes = true, .front = found->front, .children = inEntry ? place : found->children};
}

EntryKind KindOfEntry(std::uint32_t type, std::uint32_t handler) {
    if (Contains(kVisualEntries, type)) return EntryKind::Visual;
    if (Contains(kAudioEntries, type)) return EntryKind::Audio;
    if (handler == fourcc("vide")) return EntryKind::Visual;
    return handler == fourcc("soun") ? EntryKind::Audio : EntryKind::Other;
}

std::uint32_t AudioEntryFront(std::uint16_t version) {
    return version < std::size(kAudioFronts) ? kAudioFronts[version] : 0;
}

bool IsPayloadOpaque(std::uint32_t type) {
    return type == fourcc("mdat") || type == fourcc("free") || type == fourcc("skip") || type == fourcc("wide");
}

}  // namespace mediakit_tool
