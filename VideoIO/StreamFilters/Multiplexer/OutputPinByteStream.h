// Sample data on its way to the multiplexer's output pin.
#pragma once

#include "VideoIO/StreamFilters/Container/byte_stream.h"
#include "VideoIO/StreamFilters/Multiplexer/MuxOutputPin.h"

namespace Norvane::MediaKit::Filters {

/// Lives on the stack for the length of one chunk. It tells and it writes, both at the pin's write
/// position; the other operations do nothing. Under the filter lock.
class OutputPin_byte_stream final : public vio::byte_stream {
public:
    explicit OutputPin_byte_stream(MP4MediaMuxOutputPin& pin) : m_pin(pin) {}

    void close() override {}
    std::uint64_t size() override { return 0; }
    std::uint64_t tell() override { return m_pin.WritePosition(); }
    bool skip(std::int64_t) override { return false; }
    bool seek(std::uint64_t) override { return false; }
    bool read(void*, std::uint32_t) override { return false; }
    /// A stopped output is no failure.
    bool write(const void* buffer, std::uint32_t count) override {
        return SUCCEEDED(m_pin.DeliverBytes(static_cast<const BYTE*>(buffer), count));
    }
    bool write_zeros(std::uint32_t) override { return false; }
    void flush() override {}
    void move(std::uint64_t, std::uint64_t, std::uint64_t) override {}

private:
    MP4MediaMuxOutputPin& m_pin;
};

}  // namespace Norvane::MediaKit::Filters
