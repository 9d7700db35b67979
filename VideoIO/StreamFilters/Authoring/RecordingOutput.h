// The file that a recorder writes.
#pragma once

#include "Platform/Com/Results.h"
#include "VideoIO/StreamFilters/Container/byte_stream.h"

#include <cstdint>
#include <memory>

namespace Norvane::MediaKit::Filters {

/// Sample data go to a write position that moves with them; boxes go through a stream of their own that reaches the
/// same file. No lock of its own: the filter lock is held around every call.
class RecordingOutput {
public:
    /// The stream for boxes of a new file. VFW_E_NOT_CONNECTED, E_NOINTERFACE (the peer has no IStream).
    virtual HRESULT OpenBoxStream(std::shared_ptr<vio::byte_stream>& stream) = 0;

    /// Byte of the file at which the next sample data go.
    virtual std::uint64_t WritePosition() const = 0;
    virtual void SetWritePosition(std::uint64_t position) = 0;
    /// Appends sample data and moves the write position. Waits for a slow peer. An output that is stopped drops the
    /// bytes: S_OK, and a failure for TakeFailure.
    virtual HRESULT WriteData(const void* data, std::uint32_t length) = 0;

    /// Cuts the file off at its end, after samples that broke off may have left bytes there.
    virtual void Truncate(std::uint64_t size) = 0;

    /// The first failure of either way since the last call, S_OK when there was none. The streams' own answers are
    /// truth values, and some of their operations answer nothing.
    virtual HRESULT TakeFailure() = 0;

protected:
    ~RecordingOutput() = default;
};

/// Sample data as a byte stream, for the length of one chunk: only tell and write do anything.
class OutputPin_byte_stream final : public vio::byte_stream {
public:
    explicit OutputPin_byte_stream(RecordingOutput& output) : m_output(output) {}

    void close() override {}
    std::uint64_t size() override { return 0; }
    std::uint64_t tell() override { return m_output.WritePosition(); }
    bool skip(std::int64_t) override { return false; }
    bool seek(std::uint64_t) override { return false; }
    bool read(void*, std::uint32_t) override { return false; }
    bool write(const void* buffer, std::uint32_t count) override {
        return SUCCEEDED(m_output.WriteData(buffer, count));
    }
    bool write_zeros(std::uint32_t) override { return false; }
    void flush() override {}
    void move(std::uint64_t, std::uint64_t, std::uint64_t) override {}

private:
    RecordingOutput& m_output;
};

}  // namespace Norvane::MediaKit::Filters
