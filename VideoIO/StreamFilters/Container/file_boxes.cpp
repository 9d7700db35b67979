#include "VideoIO/StreamFilters/Container/file_boxes.h"

#include "VideoIO/StreamFilters/Container/mp4_parser.h"
#include "VideoIO/StreamFilters/Container/mp4_writer.h"

namespace vio::mp4 {

// By hand: reading, the two words may be missing, and the brands are as many as the box's size tells.
void mp4_parser::read_fields(file_type_box& box) {
    read_number(box.major_brand);
    read_number(box.minor_version);
    payload().sized((box.size - box.header_size - 8) / 4, box.compatible_brands);
}

void mp4_writer::write_fields(const file_type_box& box) {
    field_writer out = payload();
    out(box.major_brand, box.minor_version);
    out.table(box.compatible_brands);
}

// Never read.
void mp4_writer::write_fields(const free_space_box& box) {
    if (box.zero_size != 0)
        payload().zeros(box.zero_size);
    else
        payload().table(box.data);
}

// Never read.
void mp4_writer::write_fields(const media_data_box& box) { stream->skip(static_cast<std::int64_t>(box.data_size)); }

// Never written.
void mp4_parser::read_fields(segment_index_box& box) {
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
