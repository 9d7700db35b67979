#include "VideoIO/StreamFilters/Container/mp4_writer.h"

namespace vio::mp4 {

void mp4_writer::visit(const sample_table_box& box) { write_box_header(box); }

void mp4_writer::visit(const sample_description_box& box) {
    write_full_box_header(box);
    payload()(static_cast<std::uint32_t>(box.entries.size()));
}

void mp4_writer::visit(const time_to_sample_box& box) { write_fields(box); }
void mp4_writer::visit(const composition_offset_box& box) { write_fields(box); }
void mp4_writer::visit(const sync_sample_box& box) { write_fields(box); }
void mp4_writer::visit(const sample_size_box& box) { write_fields(box); }
void mp4_writer::visit(const sample_to_chunk_box& box) { write_fields(box); }
void mp4_writer::visit(const chunk_offset_box& box) { write_fields(box); }
void mp4_writer::visit(const chunk_large_offset_box& box) { write_fields(box); }

// These two are read and never authored: the header alone stands in for them.
void mp4_writer::visit(const composition_to_decode_box& box) { write_full_box_header(box); }
void mp4_writer::visit(const compact_sample_size_box& box) { write_full_box_header(box); }

}  // namespace vio::mp4
