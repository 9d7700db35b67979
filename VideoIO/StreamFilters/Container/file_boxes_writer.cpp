#include "VideoIO/StreamFilters/Container/mp4_writer.h"

namespace vio::mp4 {

void mp4_writer::visit(const file_type_box& box) {
    write_box_header(box);
    field_writer out = payload();
    out(box.major_brand, box.minor_version);
    out.table(box.compatible_brands);
}

void mp4_writer::visit(const free_space_box& box) {
    write_box_header(box);
    if (box.zero_size != 0)
        payload().zeros(box.zero_size);
    else
        payload().table(box.data);
}

void mp4_writer::visit(const media_data_box& box) {
    write_box_header(box);
    stream->skip(static_cast<std::int64_t>(box.data_size));
}

void mp4_writer::visit(const object_descriptor_box& box) {
    write_full_box_header(box);
    payload().table(box.data);
}

}  // namespace vio::mp4
