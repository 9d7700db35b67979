#include "VideoIO/StreamFilters/Container/memory_stream.h"

#include "Platform/Kernel/Text.h"

#include <algorithm>
#include <cstring>
#include <fstream>

namespace vio {

memory_stream::memory_stream(void* base, std::uint32_t size)
    : base_(static_cast<std::uint8_t*>(base)), size_(size), cursor_(base_), remaining_(size) {}

bool memory_stream::skip(std::int64_t delta) {
    const std::int64_t remaining = remaining_;
    if (delta > remaining) return false;
    // The sense of this comparison is the stream's contract, see the header.
    if (delta < 0 && delta > remaining - static_cast<std::int64_t>(size_)) return false;
    // A step may lead far out of the block, where pointers have no arithmetic.
    cursor_ =
        reinterpret_cast<std::uint8_t*>(reinterpret_cast<std::uintptr_t>(cursor_) + static_cast<std::uintptr_t>(delta));
    remaining_ -= static_cast<std::uint32_t>(delta);
    return true;
}

bool memory_stream::seek(std::uint64_t position) {
    cursor_ = base_ + position;
    remaining_ = static_cast<std::uint32_t>(size_ - position);
    return true;
}

std::uint8_t* memory_stream::take(std::uint32_t& count) {
    count = std::min(remaining_, count);
    std::uint8_t* const begin = cursor_;
    cursor_ += count;
    remaining_ -= count;
    return begin;
}

bool memory_stream::read(void* buffer, std::uint32_t count) {
    std::uint32_t taken = count;
    const std::uint8_t* const from = take(taken);
    if (taken != 0) std::memcpy(buffer, from, taken);
    return taken == count;
}

bool memory_stream::write(const void* buffer, std::uint32_t count) {
    std::uint32_t taken = count;
    std::uint8_t* const to = take(taken);
    if (taken != 0) std::memcpy(to, buffer, taken);
    return taken == count;
}

bool memory_stream::write_zeros(std::uint32_t count) {
    std::uint32_t taken = count;
    std::uint8_t* const to = take(taken);
    if (taken != 0) std::memset(to, 0, taken);
    return taken == count;
}

void memory_stream::move(std::uint64_t from, std::uint64_t to, std::uint64_t count) {
    if (count != 0) std::memmove(cursor_ + to, cursor_ + from, count);
}

void memory_stream::dump_to_file(const std::wstring& path) {
    std::ofstream file(win32::ConvertToUtf8(path), std::ios::binary);
    std::for_each(base_, base_ + (size_ - remaining_), [&](std::uint8_t byte) { file.put(static_cast<char>(byte)); });
}

}  // namespace vio
