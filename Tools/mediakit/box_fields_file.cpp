#include "Tools/mediakit/box_field_visitor.h"
#include "Tools/mediakit/box_values.h"

namespace mediakit_tool {

void BoxFieldVisitor::visit(const boxes::file_type_box& box) {
    Plain();
    Text("major_brand", FourccText(box.major_brand));
    Number("minor_version", box.minor_version);
    m_sink.Table("compatible_brands", {box.compatible_brands.size(), {"brand"}, [&box](std::uint64_t row, std::size_t) {
                                           return FieldValue(FourccText(box.compatible_brands[row]));
                                       }});
}

// ISO/IEC 14496-12, 8.16.3: what the three words of a reference hold.
void BoxFieldVisitor::visit(const boxes::segment_index_box& box) {
    constexpr std::uint32_t kLowBits = 0x7FFFFFFF;
    Full(box);
    Number("reference_ID", box.reference_ID);
    Number("timescale", box.timescale);
    Number("earliest_presentation_time", box.earliest_presentation_time,
           TicksText(box.earliest_presentation_time, box.timescale));
    Number("first_offset", box.first_offset);
    const auto cell = [&box](std::uint64_t row, std::size_t column) -> FieldValue {
        const auto& words = box.references[row];
        if (column == 0) return std::string(words[0] >> 31 ? "index" : "media");
        if (column == 1) return std::uint64_t{words[0] & kLowBits};
        if (column == 2) return std::uint64_t{words[1]};
        return HexText(words[2], 8);
    };
    m_sink.Table("references", {box.references.size(), {"type", "size", "duration", "access_point"}, cell});
}

}  // namespace mediakit_tool
