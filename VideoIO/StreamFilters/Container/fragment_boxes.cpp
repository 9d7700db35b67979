#include "VideoIO/StreamFilters/Container/fragment_boxes.h"

#include "VideoIO/StreamFilters/Container/mp4_parser.h"
#include "VideoIO/StreamFilters/Container/mp4_writer.h"

namespace vio::mp4 {

// By hand: versions above 1 are read as 64 bits and not written.
void mp4_parser::read_fields(movie_extends_header_box& box) { payload().time(box.version != 0, box.fragment_duration); }

void mp4_writer::write_fields(const movie_extends_header_box& box) {
    field_writer out = payload();
    out.unchecked();
    if (box.version == 0) out(static_cast<std::uint32_t>(box.fragment_duration));
    if (box.version == 1) out(box.fragment_duration);
}

// By hand: on reading version 1 is the 64-bit one, on writing it is version 0.
void mp4_parser::read_fields(track_fragment_base_media_decode_time_box& box) {
    payload().time(box.version, box.base_media_decode_time);
}

void mp4_writer::write_fields(const track_fragment_base_media_decode_time_box& box) {
    field_writer out = payload();
    if (box.version == 0) return out(box.base_media_decode_time);
    out.require(box.base_media_decode_time <= std::numeric_limits<std::uint32_t>::max());
    out(static_cast<std::uint32_t>(box.base_media_decode_time));
}

}  // namespace vio::mp4
