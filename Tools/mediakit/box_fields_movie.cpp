#include "Platform/Kernel/Text.h"
#include "Tools/mediakit/box_field_visitor.h"
#include "Tools/mediakit/box_values.h"

namespace mediakit_tool {

void BoxFieldVisitor::Full(const boxes::full_box& box) {
    m_told = true;
    Number("version", box.version);
    Flags("flags", box.flags);
}

void BoxFieldVisitor::Flags(const char* name, std::uint32_t flags) {
    Number(name, flags, flags < 10 ? "" : HexText(flags, 6));
}

void BoxFieldVisitor::Created(std::uint64_t creation, std::uint64_t modification) {
    Number("creation_time", creation, CreationTimeText(creation));
    Number("modification_time", modification, CreationTimeText(modification));
}

void BoxFieldVisitor::Matrix(const std::vector<std::uint32_t>& matrix) {
    // Two columns of 16.16 numbers, the third of 2.30.
    const auto cell = [&matrix](std::uint64_t row, std::size_t) {
        return FieldValue(row % 3 == 2 ? Fixed16(matrix[row]) / 16384 : Fixed16(matrix[row]));
    };
    m_sink.Table("matrix", {matrix.size(), {"value"}, cell});
    const std::string meaning = MatrixText(matrix);
    if (!meaning.empty()) Text("turn", meaning);
}

void BoxFieldVisitor::visit(const boxes::movie_header_box& box) {
    Full(box);
    m_scales.movie = box.timescale;
    Created(box.creation_time, box.modification_time);
    Number("timescale", box.timescale);
    Number("duration", box.duration, TicksText(box.duration, box.timescale));
    Real("rate", Fixed16(box.rate));
    Real("volume", Fixed8(box.volume));
    Matrix(box.matrix);
    Number("next_track_ID", box.next_track_ID);
}

void BoxFieldVisitor::visit(const boxes::track_header_box& box) {
    Full(box);
    Created(box.creation_time, box.modification_time);
    Number("track_ID", box.track_ID);
    Number("duration", box.duration, TicksText(box.duration, m_scales.movie));
    Number("layer", box.layer);
    Number("alternate_group", box.alternate_group);
    Real("volume", Fixed8(box.volume));
    Matrix(box.matrix);
    Real("width", UnsignedFixed16(box.width));
    Real("height", UnsignedFixed16(box.height));
}

void BoxFieldVisitor::visit(const boxes::media_header_box& box) {
    Full(box);
    Created(box.creation_time, box.modification_time);
    Number("timescale", box.timescale);
    Number("duration", box.duration, TicksText(box.duration, box.timescale));
    Text("language", LanguageText(box.language));
}

void BoxFieldVisitor::visit(const boxes::handler_box& box) {
    Full(box);
    Text("handler_type", FourccText(box.handler_type));
    Text("name", win32::NarrowForDisplay(box.name));
}

void BoxFieldVisitor::visit(const boxes::video_media_header_box& box) {
    Full(box);
    Number("graphicsmode", box.graphicsmode);
    List("opcolor", box.opcolor);
}

void BoxFieldVisitor::visit(const boxes::sound_media_header_box& box) {
    Full(box);
    Real("balance", Fixed8(box.balance));
}

void BoxFieldVisitor::visit(const boxes::hint_media_header_box& box) {
    Full(box);
    Number("max_pdu_size", box.max_pdu_size);
    Number("avg_pdu_size", box.avg_pdu_size);
    Number("max_bitrate", box.max_bitrate);
    Number("avg_bitrate", box.avg_bitrate);
}

void BoxFieldVisitor::visit(const boxes::null_media_header_box& box) { Full(box); }

void BoxFieldVisitor::visit(const boxes::edit_list_box& box) {
    Full(box);
    const auto cell = [&box](std::uint64_t row, std::size_t column) -> FieldValue {
        const auto& entry = box.entries[row];
        if (column == 0) return entry.segment_duration;
        if (column == 1) return entry.media_time;
        return entry.media_rate_integer + static_cast<std::uint16_t>(entry.media_rate_fraction) / 65536.0;
    };
    m_sink.Table("entries", {box.entries.size(), {"segment_duration", "media_time", "media_rate"}, cell});
}

void BoxFieldVisitor::visit(const boxes::data_reference_box& box) {
    Full(box);
    Number("entry_count", box.entry_count);
}

}  // namespace mediakit_tool
