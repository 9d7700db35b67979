#include "VideoIO/StreamFilters/Container/track_boxes.h"

#include "VideoIO/StreamFilters/Container/mp4_parser.h"
#include "VideoIO/StreamFilters/Container/mp4_writer.h"

namespace vio::mp4 {

// By hand: what is missing at the end of the list is left out, and does not refuse the file; writing refuses what does
// not fit.
void mp4_parser::read_fields(edit_list_box& box) {
    core::require(box.version <= 1);
    std::uint32_t count = 0;
    read_number(count);
    for (; count != 0; --count) {
        const std::uint64_t before = left();
        edit_list_box::entry entry;
        if (box.version == 1) {
            read_number(entry.segment_duration);
            read_number(entry.media_time);
        } else {
            std::uint32_t duration = 0;
            std::int32_t time = 0;
            read_number(duration);
            read_number(time);
            entry.segment_duration = duration;
            entry.media_time = time;
        }
        read_number(entry.media_rate_integer);
        read_number(entry.media_rate_fraction);
        if (left() == before) return;
        box.entries.push_back(entry);
    }
}

void mp4_writer::write_fields(const edit_list_box& box) {
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

// By hand: the entries are read with the box, and written as boxes of their own.
void mp4_parser::read_fields(data_reference_box& box) {
    payload()(box.entry_count);
    scan_rest(false);
}

void mp4_writer::write_fields(const data_reference_box& box) { payload()(box.entry_count); }

}  // namespace vio::mp4
