// The one abstraction through which the container library touches bytes.
#pragma once

#include <cstdint>

namespace vio {

/// A stream of bytes with a position. It knows nothing of byte order or boxes, reports failure by a
/// false result and never throws. It has no lock: one thread at a time, serialised by its owner.
/// Usually held by std::shared_ptr.
class byte_stream {
public:
    /// Gives up what the stream wraps, or resets it.
    virtual void close() = 0;
    /// Total length in bytes.
    virtual std::uint64_t size() = 0;
    virtual std::uint64_t tell() = 0;
    /// Moves the position by delta without transferring data.
    virtual bool skip(std::int64_t delta) = 0;
    virtual bool seek(std::uint64_t position) = 0;
    /// Reads exactly count bytes and advances; true only if all arrived.
    virtual bool read(void* buffer, std::uint32_t count) = 0;
    /// Writes exactly count bytes and advances.
    virtual bool write(const void* buffer, std::uint32_t count) = 0;
    virtual bool write_zeros(std::uint32_t count) = 0;
    /// Commits what is buffered.
    virtual void flush() = 0;
    /// Copies count bytes inside the stream. What from and to count from is told by each implementation.
    virtual void move(std::uint64_t from, std::uint64_t to, std::uint64_t count) = 0;

    virtual ~byte_stream() = default;
};

/// Layer of the streams that hold nothing open: closing and flushing have nothing to do.
template <class Stream, class Interface>
class byte_stream_impl : public Interface {
public:
    void close() override {}
    void flush() override {}

private:
    // Only the stream that the layer is made for may stand on it.
    friend Stream;
    byte_stream_impl() = default;
};

}  // namespace vio
