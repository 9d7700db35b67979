#include "Tools/mediakit/box_field_visitor.h"
#include "Tools/mediakit/box_values.h"

namespace mediakit_tool {

void BoxFieldVisitor::visit(const boxes::movie_extends_header_box& box) {
    Full(box);
    Number("fragment_duration", box.fragment_duration, TicksText(box.fragment_duration, m_scales.movie));
}

void BoxFieldVisitor::visit(const boxes::track_extends_box& box) {
    Full(box);
    Number("track_ID", box.track_ID);
    Number("default_sample_description_index", box.default_sample_description_index);
    Number("default_sample_duration", box.default_sample_duration);
    Number("default_sample_size", box.default_sample_size);
    Flags("default_sample_flags", box.default_sample_flags);
}

void BoxFieldVisitor::visit(const boxes::movie_fragment_header_box& box) {
    Full(box);
    Number("sequence_number", box.sequence_number);
}

void BoxFieldVisitor::visit(const boxes::track_fragment_header_box& box) {
    namespace has = boxes::track_fragment_flags;
    Full(box);
    Number("track_ID", box.track_ID);
    if (box.flags & has::base_data_offset) Number("base_data_offset", box.base_data_offset);
    if (box.flags & has::sample_description_index) Number("sample_description_index", box.sample_description_index);
    if (box.flags & has::default_sample_duration) Number("default_sample_duration", box.default_sample_duration);
    if (box.flags & has::default_sample_size) Number("default_sample_size", box.default_sample_size);
    if (box.flags & has::default_sample_flags) Flags("default_sample_flags", box.default_sample_flags);
}

void BoxFieldVisitor::visit(const boxes::track_run_box& box) {
    namespace has = boxes::track_run_flags;
    Full(box);
    Number("sample_count", box.sample_count);
    if (box.flags & has::data_offset)
        m_sink.Value("data_offset", std::int64_t{static_cast<std::int32_t>(box.data_offset)});
    if (box.flags & has::first_sample_flags) Flags("first_sample_flags", box.first_sample_flags);

    using Cell = FieldValue (*)(const boxes::track_run_box&, std::uint64_t);
    FieldTable table{.rows = box.sample_count, .columns = {}, .cell = {}};
    std::vector<Cell> cells;
    const auto add = [&](std::uint32_t flag, const char* name, Cell cell) {
        if ((box.flags & flag) == 0) return;
        table.columns.push_back(name);
        cells.push_back(cell);
    };
    using Run = boxes::track_run_box;
    add(has::sample_duration, "duration",
        [](const Run& run, std::uint64_t row) -> FieldValue { return std::uint64_t{run.sample_duration[row]}; });
    add(has::sample_size, "size",
        [](const Run& run, std::uint64_t row) -> FieldValue { return std::uint64_t{run.sample_size[row]}; });
    add(has::sample_flags, "flags",
        [](const Run& run, std::uint64_t row) -> FieldValue { return HexText(run.sample_flags[row], 8); });
    add(has::sample_composition_time_offset, "composition_time_offset",
        [](const Run& run, std::uint64_t row) -> FieldValue {
            const std::uint32_t offset = run.sample_composition_time_offset[row];
            if (run.version == 0) return std::uint64_t{offset};
            return std::int64_t{static_cast<std::int32_t>(offset)};
        });
    if (cells.empty()) return;
    table.cell = [&](std::uint64_t row, std::size_t column) { return cells[column](box, row); };
    m_sink.Table("samples", table);
}

void BoxFieldVisitor::visit(const boxes::track_fragment_base_media_decode_time_box& box) {
    Full(box);
    Number("base_media_decode_time", box.base_media_decode_time);
}

}  // namespace mediakit_tool
