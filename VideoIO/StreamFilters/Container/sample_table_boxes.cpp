#include "VideoIO/StreamFilters/Container/sample_table_boxes.h"

#include "VideoIO/StreamFilters/Container/mp4_parser.h"
#include "VideoIO/StreamFilters/Container/mp4_sampleentry_parser.h"
#include "VideoIO/StreamFilters/Container/mp4_writer.h"

namespace vio::mp4 {
namespace {

/// The siblings from the first box on that are sample entries, at most count boxes looked at.
void collect_entries(const mp4_parser_base& parser, std::uint32_t count,
                     std::vector<std::shared_ptr<sample_entry>>& entries) {
    auto at = parser.boxes.begin();
    for (; count != 0 && at != parser.boxes.end(); --count) {
        if (auto entry = std::dynamic_pointer_cast<sample_entry>(at->second)) entries.push_back(std::move(entry));
        const std::uint64_t next = at->first + at->second->size;
        if (next <= at->first) return;  // a size of 0, or one that wraps
        at = parser.boxes.find(next);
    }
}

/// Two entries a byte, the high one first; an odd count has one entry more than it says.
std::vector<std::uint32_t> nibbles(const std::vector<std::uint8_t>& bytes) {
    std::vector<std::uint32_t> values;
    values.reserve(bytes.size() * 2);
    for (const std::uint8_t byte : bytes) {
        values.push_back(byte >> 4);
        values.push_back(byte & 0xF);
    }
    return values;
}

}  // namespace

// By hand: the entries are read with the box, by a parser of their own, and written as boxes of their own.
void mp4_parser::read_fields(sample_description_box& box) {
    std::uint32_t count = 0;
    payload()(count);
    box.header_size += 4;

    const std::uint64_t end = position() + left();
    settle();
    mp4_sampleentry_parser entries(context());
    entries.observer = observer;
    const std::uint64_t front = box.header_size + 4;
    entries.scan(box.offset + front, box.size - front, true, true);
    collect_entries(entries, count, box.entries);
    boxes.merge(entries.boxes);
    stream->seek(end);
    chunk_stack.back() = 0;
}

void mp4_writer::write_fields(const sample_description_box& box) {
    payload()(static_cast<std::uint32_t>(box.entries.size()));
}

// Reading only, like all that follow: of these boxes the header alone is written, or nothing.
void mp4_parser::read_fields(composition_to_decode_box& box) {
    field_reader in = payload();
    for (std::int64_t* value :
         {&box.composition_to_dts_shift, &box.least_decode_to_display_delta, &box.greatest_decode_to_display_delta,
          &box.composition_start_time, &box.composition_end_time}) {
        if (box.version == 0)
            in.as<std::int32_t>(*value);
        else
            in(*value);
    }
}

void mp4_parser::read_fields(compact_sample_size_box& box) {
    field_reader in = payload();
    std::uint32_t field_size = 0;
    std::uint32_t count = 0;
    in(field_size, count);
    field_size &= 0xFF;
    if (field_size == 16) {
        std::vector<std::uint16_t> values;
        in.sized(count, values);
        box.entry_sizes.assign(values.begin(), values.end());
    } else if (field_size == 8 || field_size == 4) {
        std::vector<std::uint8_t> bytes;
        in.sized(field_size == 8 ? count : (std::uint64_t{count} + 1) / 2, bytes);
        if (field_size == 8)
            box.entry_sizes.assign(bytes.begin(), bytes.end());
        else
            box.entry_sizes = nibbles(bytes);
    }
}

// The groups themselves are passed over.
void mp4_parser::read_fields(sample_group_description_box& box) {
    field_reader in = payload();
    in.require(box.version <= 1);
    in(box.grouping_type);
    std::uint32_t default_length = 0;
    std::uint32_t count = 0;
    if (box.version == 1) in(default_length);
    in(count);
    if (box.version == 0) return;
    if (default_length != 0) return in.zeros(std::uint64_t{default_length} * count);
    for (; count != 0; --count) {
        std::uint32_t length = 0;
        in(length);
        in.zeros(length);
    }
}

// The entry count is taken for the first half of a pair: files that were read this way before must
// go on giving the same groups.
void mp4_parser::read_fields(sample_to_group_box& box) {
    field_reader in = payload();
    in.require(box.version <= 1);
    in(box.grouping_type);
    if (box.version == 1) in(box.grouping_type_parameter);
    in.sized(left() / 8, box.entries);
}

}  // namespace vio::mp4
