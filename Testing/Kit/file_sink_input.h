// The input pin of a file sink over memory: takes samples by byte position and offers the platform stream.
#pragma once

#include "Platform/DirectShow/IAMAsyncReaderTimestampScaling.h"
#include "Testing/Kit/memory_istream.h"
#include "Testing/Kit/sample_recorder.h"

namespace mediakit_test {

/// Writes each sample at its start time: taken as it is, or divided by 10,000,000 when the peer says that its positions
/// are scaled. Failures are told to file(): a write counts there whether it came by Receive or by IStream.
/// Use: fake<file_sink_input>.
class file_sink_input : public sample_recorder, public IStream {
public:
    struct placed {
        std::uint64_t position;
        std::uint32_t length;
        friend bool operator==(const placed&, const placed&) = default;
    };

    using sample_recorder::sample_recorder;

    /// False before connecting: the peer finds no stream here.
    bool offer_stream = true;

    memory_file& file() { return *m_file; }
    /// Where samples (not what was written through IStream) went, in order.
    std::vector<placed> placements() const;

    DECLARE_IUNKNOWN
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

    // CBaseInputPin
    HRESULT CompleteConnect(IPin* peer) override;
    HRESULT Receive(IMediaSample* sample) override;

    // IStream
    HRESULT Read(void* pv, ULONG cb, ULONG* pcbRead) override { return m_stream->Read(pv, cb, pcbRead); }
    HRESULT Write(const void* pv, ULONG cb, ULONG* pcbWritten) override { return m_stream->Write(pv, cb, pcbWritten); }
    HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override {
        return m_stream->Seek(move, origin, position);
    }
    HRESULT SetSize(ULARGE_INTEGER size) override { return m_stream->SetSize(size); }
    HRESULT CopyTo(IStream* to, ULARGE_INTEGER cb, ULARGE_INTEGER* read, ULARGE_INTEGER* written) override {
        return m_stream->CopyTo(to, cb, read, written);
    }
    HRESULT Commit(DWORD flags) override { return m_stream->Commit(flags); }
    HRESULT Revert() override { return m_stream->Revert(); }
    HRESULT LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER cb, DWORD type) override {
        return m_stream->LockRegion(offset, cb, type);
    }
    HRESULT UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER cb, DWORD type) override {
        return m_stream->UnlockRegion(offset, cb, type);
    }
    HRESULT Stat(STATSTG* stat, DWORD flags) override { return m_stream->Stat(stat, flags); }
    HRESULT Clone(IStream** clone) override { return m_stream->Clone(clone); }

private:
    HRESULT place(IMediaSample& sample);

    const std::shared_ptr<memory_file> m_file = std::make_shared<memory_file>();
    const ComPtr<IStream> m_stream = memory_istream::create(m_file);
    bool m_scaled = false;

    mutable std::mutex m_placements_mutex;
    std::vector<placed> m_placements;
};

}  // namespace mediakit_test
