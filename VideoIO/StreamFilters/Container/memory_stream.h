// A byte stream over a block of memory that the caller owns.
#pragma once

#include "VideoIO/StreamFilters/Container/byte_stream.h"

#include <string>

namespace vio {

/// Reads and writes a caller's block; neither allocates nor frees it. Transfers are clipped at the
/// block's end, and a clipped transfer answers false. seek() and move() trust their caller.
class memory_stream : public byte_stream_impl<memory_stream, byte_stream> {
public:
    memory_stream(void* base, std::uint32_t size);

    std::uint64_t size() override { return size_; }
    std::uint64_t tell() override { return static_cast<std::uint64_t>(cursor_ - base_); }
    /// Forwards within the block only. A step backwards is let through only when it lands at or
    /// before the block's first byte.
    bool skip(std::int64_t delta) override;
    /// No bounds check: past the end, the count of remaining bytes wraps.
    bool seek(std::uint64_t position) override;
    bool read(void* buffer, std::uint32_t count) override;
    bool write(const void* buffer, std::uint32_t count) override;
    bool write_zeros(std::uint32_t count) override;
    /// Both offsets count from the current position.
    void move(std::uint64_t from, std::uint64_t to, std::uint64_t count) override;

    /// Writes what lies in front of the position to a file. For debugging.
    virtual void dump_to_file(const std::wstring& path);

private:
    /// Advances over at most count bytes and tells where they begin.
    std::uint8_t* take(std::uint32_t& count);

    std::uint8_t* base_;
    std::uint32_t size_;
    std::uint8_t* cursor_;
    std::uint32_t remaining_;  ///< bytes from cursor_ to the end
};

}  // namespace vio
