#include "Platform/Kernel/Text.h"
#include "VideoIO/StreamFilters/Container/mp4_writer.h"

namespace vio::mp4 {

void mp4_writer::visit(const track_box& box) { write_box_header(box); }
void mp4_writer::visit(const media_box& box) { write_box_header(box); }
void mp4_writer::visit(const media_information_box& box) { write_box_header(box); }
void mp4_writer::visit(const edit_box& box) { write_box_header(box); }
void mp4_writer::visit(const data_information_box& box) { write_box_header(box); }

void mp4_writer::visit(const track_header_box& box) { write_fields(box); }
void mp4_writer::visit(const media_header_box& box) { write_fields(box); }
void mp4_writer::visit(const video_media_header_box& box) { write_fields(box); }
void mp4_writer::visit(const sound_media_header_box& box) { write_fields(box); }

void mp4_writer::visit(const handler_box& box) {
    write_full_box_header(box);
    field_writer out = payload();
    out.zeros(4);
    out(box.handler_type);
    out.zeros(12);
    const std::string name = win32::ConvertToUtf8(box.name);
    out.bytes(name.c_str(), name.size() + 1);
}

// By hand: writing refuses what does not fit, reading leaves out what is missing.
void mp4_writer::visit(const edit_list_box& box) {
    write_full_box_header(box);
    field_writer out = payload();
    out.require(box.version <= 1);
    out(static_cast<std::uint32_t>(box.entries.size()));
    for (const edit_list_box::entry& entry : box.entries) {
        if (box.version == 1) {
            out(entry.segment_duration, entry.media_time);
        } else {
            out.require(entry.segment_duration <= std::numeric_limits<std::uint32_t>::max());
            out(static_cast<std::uint32_t>(entry.segment_duration), static_cast<std::uint32_t>(entry.media_time));
        }
        out(entry.media_rate_integer, entry.media_rate_fraction);
    }
}

void mp4_writer::visit(const data_reference_box& box) {
    write_full_box_header(box);
    payload()(box.entry_count);
}

void mp4_writer::visit(const data_entry_url_box& box) { write_full_box_header(box); }

}  // namespace vio::mp4
