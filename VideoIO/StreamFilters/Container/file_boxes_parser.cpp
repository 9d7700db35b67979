#include "VideoIO/StreamFilters/Container/mp4_parser.h"

namespace vio::mp4 {

// By hand: the two words may be missing, and the brands are as many as the box's size tells.
void mp4_parser::visit(file_type_box& box) {
    read_number(box.major_brand);
    read_number(box.minor_version);
    payload().sized((box.size - box.header_size - 8) / 4, box.compatible_brands);
}

void mp4_parser::visit(segment_index_box& box) {
    read_full_box_header(box);
    field_reader in = payload();
    in(box.reference_ID, box.timescale);
    in.require(box.version <= 1);
    in.time(box.version, box.earliest_presentation_time);
    in.time(box.version, box.first_offset);
    in.zeros(2);
    std::uint16_t count = 0;
    in(count);
    in.sized(count, box.references);
}

}  // namespace vio::mp4
