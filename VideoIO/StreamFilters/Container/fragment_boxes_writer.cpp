#include "VideoIO/StreamFilters/Container/mp4_writer.h"

namespace vio::mp4 {

void mp4_writer::visit(const movie_extends_box& box) { write_box_header(box); }
void mp4_writer::visit(const movie_fragment_box& box) { write_box_header(box); }
void mp4_writer::visit(const track_fragment_box& box) { write_box_header(box); }

void mp4_writer::visit(const track_extends_box& box) { write_fields(box, on_failure::ignored); }
void mp4_writer::visit(const movie_fragment_header_box& box) { write_fields(box, on_failure::ignored); }
void mp4_writer::visit(const track_fragment_header_box& box) { write_fields(box, on_failure::ignored); }
void mp4_writer::visit(const track_run_box& box) { write_fields(box, on_failure::ignored); }

// By hand: versions above 1 are read as 64 bits and not written.
void mp4_writer::visit(const movie_extends_header_box& box) {
    write_full_box_header(box);
    field_writer out = payload(on_failure::ignored);
    if (box.version == 0) out(static_cast<std::uint32_t>(box.fragment_duration));
    if (box.version == 1) out(box.fragment_duration);
}

// By hand: here version 0 is the 64-bit one, on reading it is version 1.
void mp4_writer::visit(const track_fragment_base_media_decode_time_box& box) {
    write_full_box_header(box);
    field_writer out = payload();
    if (box.version == 0) return out(box.base_media_decode_time);
    out.require(box.base_media_decode_time <= std::numeric_limits<std::uint32_t>::max());
    out(static_cast<std::uint32_t>(box.base_media_decode_time));
}

}  // namespace vio::mp4
