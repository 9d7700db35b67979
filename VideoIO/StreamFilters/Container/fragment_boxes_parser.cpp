#include "VideoIO/StreamFilters/Container/mp4_parser.h"

namespace vio::mp4 {

void mp4_parser::visit(track_extends_box& box) { read_fields(box); }
void mp4_parser::visit(movie_fragment_header_box& box) { read_fields(box); }
void mp4_parser::visit(track_fragment_header_box& box) { read_fields(box); }
void mp4_parser::visit(track_run_box& box) { read_fields(box); }

// By hand: every version but 0 is read as 64 bits.
void mp4_parser::visit(movie_extends_header_box& box) {
    read_full_box_header(box);
    payload().time(box.version != 0, box.fragment_duration);
}

// By hand: here version 1 is the 64-bit one, on writing it is version 0.
void mp4_parser::visit(track_fragment_base_media_decode_time_box& box) {
    read_full_box_header(box);
    payload().time(box.version, box.base_media_decode_time);
}

}  // namespace vio::mp4
