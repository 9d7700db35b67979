#include "Testing/Kit/failing_stream.h"

#include <algorithm>
#include <cstring>

namespace mediakit_test {

bool failing_stream::skip(std::int64_t delta) { return seek(position + static_cast<std::uint64_t>(delta)); }

bool failing_stream::seek(std::uint64_t to) {
    if (seeks++ >= failing_seek) return false;
    position = to;
    return true;
}

bool failing_stream::read(void* buffer, std::uint32_t count) {
    if (reads++ >= failing_read || position > content.size() || count > content.size() - position) return false;
    if (count != 0) std::memcpy(buffer, content.data() + position, count);
    position += count;
    bytes_read += count;
    return true;
}

bool failing_stream::make_room(std::uint32_t count) {
    if (writes++ >= failing_write && failures > 0) {
        --failures;
        return false;
    }
    if (content.size() < position + count) content.resize(position + count);
    position += count;
    return true;
}

bool failing_stream::write(const void* buffer, std::uint32_t count) {
    if (!make_room(count)) return false;
    if (count != 0) std::memcpy(content.data() + position - count, buffer, count);
    return true;
}

bool failing_stream::write_zeros(std::uint32_t count) {
    if (!make_room(count)) return false;
    std::fill_n(content.begin() + static_cast<std::ptrdiff_t>(position - count), count, std::uint8_t{0});
    return true;
}

void failing_stream::move(std::uint64_t from, std::uint64_t to, std::uint64_t count) {
    if (content.size() < std::max(from, to) + count) content.resize(std::max(from, to) + count);
    std::memmove(content.data() + to, content.data() + from, count);
}

}  // namespace mediakit_test
