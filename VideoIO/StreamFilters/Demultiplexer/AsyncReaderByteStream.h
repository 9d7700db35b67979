// An MP4 file read from an upstream pin.
#pragma once

#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/IAsyncReader.h"
#include "VideoIO/StreamFilters/Container/byte_stream.h"

namespace Norvane::MediaKit::Filters {

/// Read-only: writing always answers false. The position is the stream's own; moving it never fails and asks nothing of
/// the reader. Failed calls of the reader are logged. Used by one thread at a time; after close() every read fails.
class AsyncReaderByteStream : public vio::byte_stream {
public:
    /// `knownSize`: what an earlier stream over the reader has found there, so that this one need not ask. The highest
    /// number: the reader does not tell.
    explicit AsyncReaderByteStream(IAsyncReader* reader, std::uint64_t knownSize = 0)
        : m_reader(reader), m_knownSize(knownSize) {}

    std::uint64_t KnownSize() const { return m_knownSize; }
    /// What the reader answered to the last read, S_OK before the first.
    HRESULT LastResult() const { return m_lastResult; }
    /// The first read inside the file that the reader failed; its result is S_OK while there is none.
    struct ReadFailure {
        HRESULT result = S_OK;
        std::uint64_t position = 0;
    };
    const ReadFailure& FirstFailure() const { return m_firstFailure; }

    void close() override { m_reader.reset(); }
    /// What can be read now; a growing source may answer more later.
    std::uint64_t size() override;
    /// What can be read when a reader that is still loading has come to its end. 0 when it does not tell.
    std::uint64_t WholeSize();
    std::uint64_t tell() override { return m_position; }
    bool skip(std::int64_t delta) override;
    bool seek(std::uint64_t position) override;
    /// A reader may answer a read that meets the end of its file with success and fewer bytes; here that is false.
    bool read(void* buffer, std::uint32_t count) override;
    bool write(const void*, std::uint32_t) override { return false; }
    bool write_zeros(std::uint32_t) override { return false; }
    void flush() override {}
    void move(std::uint64_t, std::uint64_t, std::uint64_t) override {}

private:
    bool Lengths(std::uint64_t& total, std::uint64_t& available);
    bool Reaches(std::uint64_t end);

    ComPtr<IAsyncReader> m_reader;
    std::uint64_t m_position = 0;
    HRESULT m_lastResult = S_OK;
    ReadFailure m_firstFailure;
    std::uint64_t m_knownSize;  ///< asked again only for what lies behind it
};

}  // namespace Norvane::MediaKit::Filters
