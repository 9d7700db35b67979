#include "VideoIO/StreamFilters/Multiplexer/StreamByteStream.h"

#include "Logging/Checks.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

namespace Norvane::MediaKit::Filters {

namespace {

constexpr ULONG kMinimumMoveBuffer = 65536;
constexpr std::uint64_t kMaximumMoveDistance = 0x7FFFFFFF;

HRESULT SeekTo(IStream& stream, std::uint64_t position) {
    return stream.Seek({static_cast<LONGLONG>(position)}, STREAM_SEEK_SET, nullptr);
}

/// A part of the region on its way: what was read and is not written yet.
struct MoveBuffer {
    std::unique_ptr<BYTE[]> bytes;
    ULONG count = 0;

    explicit MoveBuffer(ULONG size) : bytes(new (std::nothrow) BYTE[size]) {}

    HRESULT Read(IStream& source, ULONG size) {
        count = 0;
        return size != 0 ? source.Read(bytes.get(), size, &count) : S_OK;
    }
    HRESULT Write(IStream& target) const {
        ULONG written = 0;
        const HRESULT hr = target.Write(bytes.get(), count, &written);
        return SUCCEEDED(hr) && written != count ? STG_E_MEDIUMFULL : hr;
    }
};

}  // namespace

HRESULT StreamByteStream::Keep(HRESULT hr) {
    if (SUCCEEDED(m_failure) && FAILED(hr)) m_failure = hr;
    return hr;
}

std::uint64_t StreamByteStream::size() {
    if (!m_stream) return 0;
    STATSTG stat{};
    const HRESULT hr = m_stream->Stat(&stat, STATFLAG_NONAME);
    QZCheckCondition((((HRESULT)(hr)) >= 0), 0);
    return stat.cbSize.QuadPart;
}

bool StreamByteStream::skip(std::int64_t delta) { return seek(m_position + static_cast<std::uint64_t>(delta)); }

bool StreamByteStream::seek(std::uint64_t position) {
    if (!m_stream) return false;
    m_position = position;
    const HRESULT hr = Keep(SeekTo(*m_stream, position));
    QZCheckCondition((((HRESULT)(hr)) >= 0), false);
    return true;
}

bool StreamByteStream::write(const void* buffer, std::uint32_t size) {
    if (!m_stream) return false;
    ULONG cbWritten = 0;
    const HRESULT hr = Keep(m_stream->Write(buffer, size, &cbWritten));
    QZCheckCondition((((HRESULT)(hr)) >= 0), false);
    if (cbWritten != size) Keep(STG_E_MEDIUMFULL);
    QZCheckCondition(cbWritten == size, false);
    m_position += size;
    return true;
}

bool StreamByteStream::write_zeros(std::uint32_t count) {
    const std::unique_ptr<BYTE[]> zeros(new (std::nothrow) BYTE[count]());
    return zeros != nullptr && write(zeros.get(), count);
}

void StreamByteStream::flush() {
    if (m_stream) QZLogHRESULT(Keep(m_stream->Commit(STGC_DEFAULT)));
}

void StreamByteStream::truncate(std::uint64_t size) {
    if (m_stream) QZLogHRESULT(Keep(m_stream->SetSize({size})));
}

void StreamByteStream::move(std::uint64_t from, std::uint64_t to, std::uint64_t count) {
    if (count == 0 || !m_stream) return;
    ComPtr<IStream> reader;
    m_stream->Clone(reader.put());
    if (to <= from) return;
    const std::uint64_t distance = to - from;
    if (!reader || distance > kMaximumMoveDistance) return close();

    // What is written lies at most the distance behind what it was read from, so that with a buffer of at least the
    // distance, read ahead by one, no write overtakes bytes that are still to be read.
    const ULONG bufferSize = std::max(static_cast<ULONG>(distance), kMinimumMoveBuffer);
    MoveBuffer buffers[2] = {MoveBuffer(bufferSize), MoveBuffer(bufferSize)};
    if (!buffers[0].bytes || !buffers[1].bytes) return close();

    if (FAILED(SeekTo(*reader, from)) || FAILED(SeekTo(*m_stream, to))) return close();
    std::uint64_t owed = count;
    const auto readInto = [&](MoveBuffer& buffer) {
        Keep(buffer.Read(*reader, static_cast<ULONG>(std::min<std::uint64_t>(owed, bufferSize))));
        owed -= std::min<std::uint64_t>(owed, buffer.count);
    };

    MoveBuffer* ready = &buffers[0];
    MoveBuffer* next = &buffers[1];
    readInto(*ready);
    if (ready->count == 0) return close();
    while (ready->count != 0) {
        readInto(*next);
        Keep(ready->Write(*m_stream));
        std::swap(ready, next);
    }
}

}  // namespace Norvane::MediaKit::Filters
