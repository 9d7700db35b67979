// An MP4 file written through a platform stream.
#pragma once

#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/IStream.h"
#include "VideoIO/StreamFilters/Container/byte_stream.h"

#include <utility>

namespace Norvane::MediaKit::Filters {

/// Write-only: reading always answers false. Each write is forwarded as it comes. Failed calls of the stream below are
/// logged, and the first is kept for TakeFailure. Used by one thread at a time; after close() every operation fails.
class StreamByteStream : public vio::byte_stream {
public:
    /// Assumes that the stream's position is 0.
    explicit StreamByteStream(IStream* stream) : m_stream(stream) {}

    void close() override { m_stream.reset(); }
    std::uint64_t size() override;
    std::uint64_t tell() override { return m_position; }
    bool skip(std::int64_t delta) override;
    bool seek(std::uint64_t position) override;
    bool read(void*, std::uint32_t) override { return false; }
    bool write(const void* buffer, std::uint32_t size) override;
    bool write_zeros(std::uint32_t count) override;
    void flush() override;
    /// Shifts a region towards the end of the stream; both positions are absolute. A move towards the start does
    /// nothing. One towards the end that cannot start (nothing to read from, no memory, a distance beyond 31 bits)
    /// closes the stream: whoever goes on as if the region had moved must not write over it. Later failures
    /// are for TakeFailure alone, and the position afterwards is the one from before: seek before the next write.
    void move(std::uint64_t from, std::uint64_t to, std::uint64_t count) override;

    /// Cuts the stream off after its first `size` bytes.
    void truncate(std::uint64_t size);
    /// The first failure since the last call, S_OK when there was none.
    HRESULT TakeFailure() { return std::exchange(m_failure, S_OK); }

private:
    HRESULT Keep(HRESULT hr);

    ComPtr<IStream> m_stream;
    std::uint64_t m_position = 0;
    HRESULT m_failure = S_OK;
};

}  // namespace Norvane::MediaKit::Filters
