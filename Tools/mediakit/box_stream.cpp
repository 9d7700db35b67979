#include "Tools/mediakit/box_stream.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace mediakit_tool {

namespace {

void Store(std::uint8_t* to, std::uint64_t value, int count) {
    for (int i = count - 1; i >= 0; --i, value >>= 8) to[i] = static_cast<std::uint8_t>(value);
}

}  // namespace

BoxStream::BoxStream(vio::byte_stream& file, const BoxHeader& box) : m_file(file), m_payload(box.Payload()) {
    const std::uint64_t payload = box.FieldsEnd() - m_payload;
    const bool large = payload + m_headerSize > std::numeric_limits<std::uint32_t>::max();
    if (large) m_headerSize = 16;
    m_size = payload + m_headerSize;
    Store(m_header, large ? 1 : m_size, 4);
    Store(m_header + 4, box.type, 4);
    if (large) Store(m_header + 8, m_size, 8);
}

bool BoxStream::skip(std::int64_t delta) {
    m_position += static_cast<std::uint64_t>(delta);
    return true;
}

bool BoxStream::seek(std::uint64_t position) {
    m_position = position;
    return true;
}

bool BoxStream::read(void* buffer, std::uint32_t count) {
    if (m_position > m_size || count > m_size - m_position) return false;
    auto* to = static_cast<std::uint8_t*>(buffer);
    if (m_position < m_headerSize) {
        const auto ofHeader = std::min(count, m_headerSize - static_cast<std::uint32_t>(m_position));
        std::memcpy(to, m_header + m_position, ofHeader);
        m_position += ofHeader;
        to += ofHeader;
        count -= ofHeader;
    }
    if (count == 0) return true;
    if (!m_file.seek(m_payload + (m_position - m_headerSize)) || !m_file.read(to, count)) return false;
    m_position += count;
    return true;
}

}  // namespace mediakit_tool
