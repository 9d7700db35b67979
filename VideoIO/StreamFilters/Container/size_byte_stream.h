// A byte stream that only counts what would be written.
#pragma once

#include "VideoIO/StreamFilters/Container/byte_stream.h"

namespace vio {

/// Target of the sizing passes. Its writes touch no data, so a null buffer is as good as any.
class size_byte_stream : public byte_stream {
public:
    void close() override { count_ = 0; }
    std::uint64_t size() override { return count_; }
    std::uint64_t tell() override { return count_; }
    bool skip(std::int64_t delta) override { return count(static_cast<std::uint64_t>(delta)); }
    bool seek(std::uint64_t position) override {
        count_ = position;
        return true;
    }
    /// Counts like a write; delivers nothing.
    bool read(void*, std::uint32_t count_of_bytes) override { return count(count_of_bytes); }
    bool write(const void*, std::uint32_t count_of_bytes) override { return count(count_of_bytes); }
    bool write_zeros(std::uint32_t count_of_bytes) override { return count(count_of_bytes); }
    void flush() override {}
    void move(std::uint64_t, std::uint64_t, std::uint64_t) override {}

private:
    bool count(std::uint64_t bytes) {
        count_ += bytes;
        return true;
    }

    std::uint64_t count_ = 0;
};

}  // namespace vio
