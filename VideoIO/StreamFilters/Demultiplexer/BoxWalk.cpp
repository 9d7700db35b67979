#include "VideoIO/StreamFilters/Demultiplexer/BoxWalk.h"

#include <algorithm>

namespace Norvane::MediaKit::Filters::details {

BoxWalk::BoxWalk(vio::mp4::mp4_parser_base& parser, const vio::mp4::box& parent)
    : BoxWalk(parser, parent.offset + parent.header_size,
              parent.size - std::min<std::uint64_t>(parent.size, parent.header_size), false) {}

BoxWalk BoxWalk::TopLevel(vio::mp4::mp4_parser_base& parser) {
    const std::uint64_t first = parser.boxes.empty() ? 0 : parser.boxes.begin()->first;
    return {parser, first, parser.stream->size(), true};
}

std::shared_ptr<vio::mp4::box> BoxWalk::Next(std::uint32_t type) {
    if (m_left == 0) return nullptr;
    const std::uint64_t from = m_offset;
    std::shared_ptr<vio::mp4::box> found = m_parser.find_box(type, 0, m_offset, m_left, m_topLevel);
    if (found != nullptr) {
        m_left -= m_offset - from;
        StepOver(*found);
    } else {
        m_left = 0;
    }
    return found;
}

void BoxWalk::StepOver(const vio::mp4::box& box) {
    const bool last = box.size == 0 || box.size >= m_left || !m_parser.boxes.contains(m_offset + box.size);
    m_left = last ? 0 : m_left - box.size;
    m_offset += box.size;
}

}  // namespace Norvane::MediaKit::Filters::details
