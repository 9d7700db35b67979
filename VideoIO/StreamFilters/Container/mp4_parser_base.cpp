#include "VideoIO/StreamFilters/Container/mp4_parser_base.h"

#include "Logging/qz_log.h"

#include <algorithm>

namespace vio::mp4 {
namespace {

/// What is left behind the last box of a level is padding up to this size.
constexpr std::uint64_t most_padding = 4;
/// The extended type of a uuid box.
constexpr std::uint32_t extended_type_size = 16;

}  // namespace

bool mp4_parser_base::scan(std::uint64_t offset, std::uint64_t size, bool seek, bool top_level) {
    if (seek && !restart(offset)) return false;
    push_chunk(size);
    level at{.offset = offset, .size = size, .top_level = top_level};
    const outcome result = read_boxes(at);
    settle();
    return result != outcome::cut_off;
}

mp4_parser_base::outcome mp4_parser_base::read_boxes(level& at) {
    outcome result = outcome::read;
    while (result == outcome::read && left() > most_padding) result = read_box(at);
    return result;
}

mp4_parser_base::outcome mp4_parser_base::read_box(level& at) {
    struct {
        std::uint32_t size;
        std::uint32_t type;
    } header;
    static_assert(sizeof header == 8);
    if (!read_header(header, at)) return outcome::cut_off;
    const std::uint32_t type = details::big_endian(header.type);
    at.ftyp_seen |= type == fourcc("ftyp");
    at.moov_seen |= type == fourcc("moov");

    const auto factory = registry->find(type);
    const bool known = factory != registry->end();
    if (!known && at.top_level && type != fourcc("uuid")) {
        const bool ends = at.ftyp_seen && at.moov_seen;
        report_unknown(type, ends);
        if (ends) return outcome::end;
    }

    const std::shared_ptr<box> box = known ? factory->second(type) : std::make_shared<mp4::box>(type);
    box->offset = at.offset;
    box->type = type;
    if (!read_extended_header(*box, details::big_endian(header.size), at)) return outcome::cut_off;
    boxes.emplace(at.offset, box);
    at.offset += box->size;
    return read_payload(*box, known) ? outcome::read : outcome::cut_off;
}

void mp4_parser_base::report_unknown(std::uint32_t type, bool ends) {
    const wchar_t* const format =
        ends ? L"Unknown top-level box %s, stop parsing." : L"Unknown top-level box %s, continuing parsing.";
    const std::wstring text = fourcc_text(type);
    if (observer != nullptr)
        observer->unknown_box(format, text.c_str(), ends);
    else if (qz_log::get_report_level(0) >= 2)
        qz_log::_reportW(0, 2, __FILE__, __LINE__, format, text.c_str());
}

bool mp4_parser_base::read_extended_header(box& box, std::uint32_t size, const level& at) {
    box.header_size = 8;
    box.size = size;
    if (size == 0) box.size = at.size - 8;  // up to the end: taken from the range as a whole
    if (size == 1) {
        std::uint64_t large = 0;
        if (!read_header(large, at)) return false;
        box.size = details::big_endian(large);
        box.header_size += 8;
    }
    if (box.type == fourcc("uuid")) {
        if (!skip(extended_type_size)) return false;
        box.header_size += extended_type_size;
    }
    return true;
}

bool mp4_parser_base::read_payload(box& box, bool known) {
    if (box.size <= box.header_size) return true;
    std::uint64_t payload_size = box.size - box.header_size;
    // The media data of a recording that was cut short claims more than there is.
    if (box.type == fourcc("mdat")) payload_size = std::min(payload_size, left());

    const std::size_t depth = chunk_stack.size();
    push_chunk(payload_size);
    if (known) box.accept(*this);
    return close_chunks(depth);
}

std::shared_ptr<box> mp4_parser_base::find_box(std::uint32_t type, std::uint32_t index, std::uint64_t& offset,
                                               std::uint64_t size, bool top_level) {
    if (!boxes.contains(offset) && !scan(offset, size, true, top_level)) return nullptr;
    for (auto at = boxes.find(offset); at != boxes.end() && size != 0; at = boxes.find(offset)) {
        const box& sibling = *at->second;
        if (sibling.type == type && index-- == 0) return at->second;
        // A step of 0 would stay for ever, one over the end would wrap.
        if (sibling.size == 0 || sibling.size > size) return nullptr;
        offset += sibling.size;
        size -= sibling.size;
    }
    return nullptr;
}

std::shared_ptr<box> mp4_parser_base::find_child(const box& parent, bool top_level, std::uint32_t index,
                                                 std::uint32_t type) {
    if (parent.size < parent.header_size) return nullptr;
    std::uint64_t offset = parent.offset + parent.header_size;
    return find_box(type, index, offset, parent.size - parent.header_size, top_level);
}

void mp4_parser_base::read_full_box_header(full_box& box) {
    std::uint32_t word = 0;
    read_number(word);
    box.version = static_cast<std::uint8_t>(word >> 24);
    box.flags = word & 0x00FFFFFF;
}

}  // namespace vio::mp4
