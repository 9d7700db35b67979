#include "VideoIO/MPEGUtil/NALUnitSplitter.h"

#include "VideoIO/MPEGUtil/StartCode.h"

#include <algorithm>

namespace qz_MPEGUtil {

namespace {

/// The end of the range less its trailing zeros, at most 3: they may be the first part of a start code.
const std::uint8_t* before_trailing_zeros(const std::uint8_t* begin, const std::uint8_t* end) {
    const std::uint8_t* p = end;
    while (p != begin && end - p < 3 && p[-1] == 0) {
        --p;
    }
    return p;
}

void consume(nal_buffer& data, const std::uint8_t* until) {
    const auto count = static_cast<std::uint32_t>(until - data.begin());
    data.offset += count;
    data.size -= count;
}

}  // namespace

nal_unit_splitter_base::start_code nal_unit_splitter_base::search(const std::uint8_t* begin,
                                                                  const std::uint8_t* end) const {
    const std::uint8_t* found = FindStartCode(begin, end);
    if (found == end) {
        return {before_trailing_zeros(begin, end), 0, 0};
    }
    // One zero in front belongs to the start code, further ones to the unit before.
    const std::uint8_t* position = found != begin && found[-1] == 0 ? found - 1 : found;
    const std::uint8_t* behind = found + 3;
    if (behind == end) {
        return {position, 0, 0};
    }
    return {position, static_cast<std::uint32_t>(behind - position), m_type_of(*behind)};
}

std::uint32_t nal_unit_splitter_base::first_nal_type(const nal_buffer& data) {
    if (m_pending_type == 0) {
        m_pending.clear();
    }
    return data.size == 0 ? 0 : search(data.begin(), data.end()).type;
}

std::uint32_t nal_unit_splitter_base::next_nal_unit(nal_buffer* data, nal_buffer*& out) {
    out = nullptr;
    if (data == nullptr) {
        return flush(out);
    }
    if (m_pending_type == 0) {
        m_pending.clear();
    }
    if (data->size == 0) {
        return 0;
    }
    const start_code next = search(data->begin(), data->end());
    if (!m_pending.empty()) {
        return go_on_with_pending(*data, next, out);
    }
    if (next.type == 0) {
        consume(*data, next.behind());
        return 0;
    }
    return begin_unit(*data, next, out);
}

void nal_unit_splitter_base::reset() {
    m_pending_type = 0;
    m_pending_time = -1;
    m_pending.clear();
}

void nal_unit_splitter_base::raise_max_unit_size(std::uint32_t size) {
    m_max_unit_size = std::max(m_max_unit_size, size);
}

std::uint32_t nal_unit_splitter_base::flush(nal_buffer*& out) {
    if (m_pending_type == 0 || m_pending.empty()) {
        m_pending_type = 0;
        m_pending.clear();
        return 0;
    }
    m_reached_end = true;
    return give(m_pending.data(), m_pending.data() + m_pending.size(), out);
}

std::uint32_t nal_unit_splitter_base::go_on_with_pending(nal_buffer& data, const start_code& next, nal_buffer*& out) {
    if (next.length == 0) {
        gather(data, next.position);
        return 0;
    }
    m_pending.insert(m_pending.end(), data.begin(), next.position);
    consume(data, next.position);
    m_reached_end = false;
    return give(m_pending.data(), m_pending.data() + m_pending.size(), out);
}

std::uint32_t nal_unit_splitter_base::begin_unit(nal_buffer& data, const start_code& first, nal_buffer*& out) {
    m_pending_type = first.type;
    m_pending_time = data.time;
    consume(data, first.behind());
    const std::uint8_t* begin = data.begin();
    const start_code second = search(begin, data.end());
    if (second.length == 0 && !data.is_complete()) {
        gather(data, second.position);
        return 0;
    }
    m_reached_end = second.length == 0;
    consume(data, second.position);
    return give(begin, second.position, out);
}

/// Moves bytes from the data to the unit under assembly.
void nal_unit_splitter_base::gather(nal_buffer& data, const std::uint8_t* until) {
    std::size_t count = static_cast<std::size_t>(until - data.begin());
    if (m_pending.size() + count > m_max_unit_size) {
        m_pending.clear();
        count = std::min<std::size_t>(count, m_max_unit_size);
    }
    m_pending.insert(m_pending.end(), data.begin(), data.begin() + count);
    consume(data, data.begin() + count);
}

std::uint32_t nal_unit_splitter_base::give(const std::uint8_t* begin, const std::uint8_t* end, nal_buffer*& out) {
    m_output = {.time = m_pending_time,
                .base = begin,
                .offset = 0,
                .size = static_cast<std::uint32_t>(end - begin),
                .flags = 0};
    out = &m_output;
    const std::uint32_t type = m_pending_type;
    m_pending_type = 0;
    m_pending_time = -1;
    return type;
}

}  // namespace qz_MPEGUtil
