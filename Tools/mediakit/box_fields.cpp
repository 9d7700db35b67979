#include "Tools/mediakit/box_fields.h"

#include "Tools/mediakit/box_field_visitor.h"
#include "Tools/mediakit/box_layouts.h"
#include "Tools/mediakit/box_stream.h"
#include "VideoIO/StreamFilters/Container/exception.h"
#include "VideoIO/StreamFilters/Container/mp4_parser.h"
#include "VideoIO/StreamFilters/Container/mp4_sampleentry_parser.h"

#include <algorithm>
#include <exception>
#include <utility>
#include <vector>

namespace mediakit_tool {

namespace {

using vio::mp4::fourcc;

/// Of a box that nobody knows.
constexpr std::uint64_t kFirstBytes = 32;

template <class T>
std::shared_ptr<boxes::box> Make(unsigned int type) {
    if constexpr (std::is_constructible_v<T, unsigned int>)
        return std::make_shared<T>(type);
    else
        return std::make_shared<T>();
}

/// The parser's own registry, and what it reads but does not look for in files.
const boxes::box_registry& PlainBoxes() {
    static const boxes::box_registry registry = [] {
        boxes::box_registry all = boxes::main_registry();
        all[fourcc("hmhd")] = Make<boxes::hint_media_header_box>;
        all[fourcc("nmhd")] = Make<boxes::null_media_header_box>;
        all[fourcc("styp")] = Make<boxes::file_type_box>;
        all[fourcc("tfdt")] = Make<boxes::track_fragment_base_media_decode_time_box>;
        return all;
    }();
    return registry;
}

/// What stands in sample entries. An entry's own code may turn up there too and means something else.
const boxes::box_registry& BoxesInEntries() {
    static const boxes::box_registry registry = {
        {fourcc("avcC"), Make<boxes::avc_configuration_box>},
        {fourcc("btrt"), Make<boxes::bit_rate_box>},
        {fourcc("clap"), Make<boxes::clean_apperture_box>},
        {fourcc("dac3"), Make<boxes::ac3_configuration_box>},
        {fourcc("esds"), Make<boxes::esd_box>},
        {fourcc("hvcC"), Make<boxes::hevc_configuration_box>},
        {fourcc("pasp"), Make<boxes::pixel_aspect_ratio_box>},
    };
    return registry;
}

/// Any entry is read by its kind, also one of a codec that the library does not play.
boxes::box_registry EntryRegistry(const BoxHeader& box) {
    if (box.entry == EntryKind::Visual) return {{box.type, Make<boxes::visual_sample_entry>}};
    if (box.entry == EntryKind::Audio) return {{box.type, Make<boxes::audio_sample_entry>}};
    return {{box.type, Make<boxes::sample_entry>}};
}

/// Reads the one box and tells what came of it.
template <class Parser>
void ScanOne(BoxStream& stream, const boxes::box_registry& registry, BoxFieldVisitor& visitor) {
    Parser parser(stream, registry);
    core::require(parser.scan(0, stream.size(), true, false));
    const auto found = parser.boxes.find(0);
    if (found != parser.boxes.end()) std::as_const(*found->second).accept(visitor);
}

}  // namespace

void BoxFields::Tell(const BoxHeader& box, FieldSink& sink) {
    if (IsPayloadOpaque(box.type)) return;
    try {
        if (box.place != BoxPlace::Entry && TellByLayout(m_file, box, sink)) return;
        if (TellByParser(box, sink)) return;
    } catch (const std::exception&) {
        sink.Problem("its fields cannot be read: it is too short for them, or of an unknown version");
    }
    TellFirstBytes(box, sink);
}

bool BoxFields::TellByParser(const BoxHeader& box, FieldSink& sink) {
    if (box.FieldsEnd() == box.Payload()) return false;
    BoxStream stream(m_file, box);
    BoxFieldVisitor visitor(sink, m_scales);
    if (box.place == BoxPlace::Entry)
        ScanOne<boxes::mp4_sampleentry_parser>(stream, EntryRegistry(box), visitor);
    else if (box.place == BoxPlace::InsideEntry && BoxesInEntries().contains(box.type))
        ScanOne<boxes::mp4_sampleentry_parser>(stream, BoxesInEntries(), visitor);
    else if (PlainBoxes().contains(box.type))
        ScanOne<boxes::mp4_parser>(stream, PlainBoxes(), visitor);
    return visitor.Told();
}

void BoxFields::TellFirstBytes(const BoxHeader& box, FieldSink& sink) {
    std::vector<std::uint8_t> bytes(std::min(box.FieldsEnd() - box.Payload(), kFirstBytes));
    if (bytes.empty()) return;
    if (!m_file.seek(box.Payload()) || !m_file.read(bytes.data(), static_cast<std::uint32_t>(bytes.size())))
        return sink.Problem("its bytes cannot be read");
    sink.Bytes("first_bytes", bytes);
}

}  // namespace mediakit_tool
