#include "Platform/Kernel/Text.h"
#include "VideoIO/StreamFilters/Container/mp4_parser.h"

#include <algorithm>
#include <span>

namespace vio::mp4 {
namespace {

/// Names in an older encoding are common, and nothing depends on them: what is not UTF-8 is taken as Latin-1.
std::wstring text_of(std::span<const std::uint8_t> bytes) {
    try {
        return win32::ConvertFromUtf8(std::string(bytes.begin(), bytes.end()));
    } catch (const win32::Utf8ConversionException&) {
        return {bytes.begin(), bytes.end()};
    }
}

}  // namespace

void mp4_parser::visit(track_header_box& box) { read_fields(box); }
void mp4_parser::visit(media_header_box& box) { read_fields(box); }
void mp4_parser::visit(video_media_header_box& box) { read_fields(box); }
void mp4_parser::visit(sound_media_header_box& box) { read_fields(box); }
void mp4_parser::visit(hint_media_header_box& box) { read_fields(box); }
void mp4_parser::visit(null_media_header_box& box) { read_full_box_header(box); }

// By hand: the name ends at its first zero byte or with the box.
void mp4_parser::visit(handler_box& box) {
    read_full_box_header(box);
    field_reader in = payload();
    in.zeros(4);
    in(box.handler_type);
    in.zeros(12);
    std::vector<std::uint8_t> name;
    in.rest(name);
    box.name = text_of({name.begin(), std::find(name.begin(), name.end(), 0)});
}

// By hand: what is missing at the end of the list is left out, and does not refuse the file.
void mp4_parser::visit(edit_list_box& box) {
    read_full_box_header(box);
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

void mp4_parser::visit(data_reference_box& box) {
    read_full_box_header(box);
    payload()(box.entry_count);
    scan_rest(false);
}

void mp4_parser::visit(data_entry_url_box& box) { read_full_box_header(box); }

}  // namespace vio::mp4
