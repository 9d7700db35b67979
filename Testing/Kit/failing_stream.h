// A byte stream over memory of its own that counts its calls and fails when told to.
#pragma once

#include "VideoIO/StreamFilters/Container/byte_stream.h"

#include <cstdint>
#include <limits>
#include <vector>

namespace mediakit_test {

/// Grows as it is written; a gap that a seek or skip left reads as zeros. move() takes absolute
/// offsets. Nothing throws, as with any byte stream.
class failing_stream : public vio::byte_stream {
public:
    static constexpr std::uint64_t never = std::numeric_limits<std::uint64_t>::max();

    failing_stream() = default;
    explicit failing_stream(std::vector<std::uint8_t> bytes) : content(std::move(bytes)) {}

    std::vector<std::uint8_t> content;
    std::uint64_t position = 0;

    // Calls so far. write_zeros counts as a write, skip as a seek.
    std::uint64_t reads = 0;
    std::uint64_t writes = 0;
    std::uint64_t seeks = 0;
    std::uint64_t flushes = 0;
    std::uint64_t bytes_read = 0;

    // The call, counted from 0, from which on all calls of its kind fail.
    std::uint64_t failing_read = never;
    std::uint64_t failing_write = never;
    std::uint64_t failing_seek = never;
    std::uint64_t failures = never;  ///< that many writes fail, and then they succeed again

    void close() override {}
    std::uint64_t size() override { return content.size(); }
    std::uint64_t tell() override { return position; }
    bool skip(std::int64_t delta) override;
    bool seek(std::uint64_t to) override;
    bool read(void* buffer, std::uint32_t count) override;
    bool write(const void* buffer, std::uint32_t count) override;
    bool write_zeros(std::uint32_t count) override;
    void flush() override { ++flushes; }
    void move(std::uint64_t from, std::uint64_t to, std::uint64_t count) override;

private:
    /// Makes sure that the content reaches count bytes further, and moves the position behind them.
    bool make_room(std::uint32_t count);
};

}  // namespace mediakit_test
