#include "Tools/mediakit/box_field_visitor.h"
#include "Tools/mediakit/box_values.h"

namespace mediakit_tool {

void BoxFieldVisitor::visit(const boxes::time_to_sample_box& box) {
    Full(box);
    const auto cell = [&box](std::uint64_t row, std::size_t column) -> FieldValue {
        const auto& entry = box.entries[row];
        return std::uint64_t{column == 0 ? entry.sample_count : entry.sample_delta};
    };
    m_sink.Table("entries", {box.entries.size(), {"sample_count", "sample_delta"}, cell});
}

void BoxFieldVisitor::visit(const boxes::composition_offset_box& box) {
    Full(box);
    const auto cell = [&box](std::uint64_t row, std::size_t column) -> FieldValue {
        const auto& entry = box.entries[row];
        if (column == 0) return std::uint64_t{entry.sample_count};
        if (box.version == 0) return std::uint64_t{entry.sample_offset};
        return std::int64_t{static_cast<std::int32_t>(entry.sample_offset)};
    };
    m_sink.Table("entries", {box.entries.size(), {"sample_count", "sample_offset"}, cell});
}

void BoxFieldVisitor::visit(const boxes::composition_to_decode_box& box) {
    Full(box);
    m_sink.Value("composition_to_dts_shift", box.composition_to_dts_shift);
    m_sink.Value("least_decode_to_display_delta", box.least_decode_to_display_delta);
    m_sink.Value("greatest_decode_to_display_delta", box.greatest_decode_to_display_delta);
    m_sink.Value("composition_start_time", box.composition_start_time);
    m_sink.Value("composition_end_time", box.composition_end_time);
}

void BoxFieldVisitor::visit(const boxes::sync_sample_box& box) {
    Full(box);
    List("sample_numbers", box.sample_numbers);
}

void BoxFieldVisitor::visit(const boxes::sample_size_box& box) {
    Full(box);
    Number("sample_size", box.sample_size);
    Number("sample_count", box.sample_count);
    if (box.sample_size == 0) List("entry_sizes", box.entry_sizes);
}

void BoxFieldVisitor::visit(const boxes::compact_sample_size_box& box) {
    Full(box);
    List("entry_sizes", box.entry_sizes);
}

void BoxFieldVisitor::visit(const boxes::sample_to_chunk_box& box) {
    Full(box);
    const auto cell = [&box](std::uint64_t row, std::size_t column) -> FieldValue {
        const auto& entry = box.entries[row];
        const std::uint32_t cells[] = {entry.first_chunk, entry.samples_per_chunk, entry.sample_description_index};
        return std::uint64_t{cells[column]};
    };
    m_sink.Table("entries",
                 {box.entries.size(), {"first_chunk", "samples_per_chunk", "sample_description_index"}, cell});
}

void BoxFieldVisitor::visit(const boxes::chunk_offset_box& box) {
    Full(box);
    List("offsets", box.offsets);
}

void BoxFieldVisitor::visit(const boxes::chunk_large_offset_box& box) {
    Full(box);
    List("offsets", box.offsets);
}

// ISO/IEC 14496-12, 8.6.4: four fields of two bits a sample.
void BoxFieldVisitor::visit(const boxes::sample_dependency_type_box& box) {
    Full(box);
    const auto cell = [&box](std::uint64_t row, std::size_t column) -> FieldValue {
        return std::uint64_t{box.entries[row] >> (6 - 2 * column) & 3U};
    };
    m_sink.Table("entries", {box.entries.size(), {"is_leading", "depends_on", "is_depended_on", "redundancy"}, cell});
}

void BoxFieldVisitor::visit(const boxes::sample_group_description_box& box) {
    Full(box);
    Text("grouping_type", FourccText(box.grouping_type));
}

}  // namespace mediakit_tool
