// The sink's pin: samples land at the byte position in their start time, and IStream reaches the same file.
#pragma once

#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/CBaseInputPin.h"
#include "Platform/DirectShow/IStream.h"
#include "VideoIO/StreamFilters/Frame/FirstFailure.h"

#include <string>

namespace Norvane::MediaKit::Filters {

class SharedFileSinkFilter;

/// The file is opened by the first Active, stays open over stops, and is closed by the destructor: a second run goes
/// on in the same file, and a reader finds all bytes after a stop.
///
/// Receive and the IStream operations come from the upstream filter's writing thread, one at a time: both move the
/// stream's position. The operations of IStream are those of the file's stream, E_UNEXPECTED before there is one.
class SharedFileSinkInputPin final : public CBaseInputPin, public IStream {
public:
    SharedFileSinkInputPin(SharedFileSinkFilter* filter, CCritSec* lock, HRESULT* phr);
    ~SharedFileSinkInputPin() override;

    DECLARE_IUNKNOWN
    /// IStream, ISequentialStream and those of the base.
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

    /// Under the filter's lock.
    void SetFileName(const wchar_t* name);
    /// See IFailureInformation.
    HRESULT GetFirstFailure(FilterFailure* failure) const { return m_failure.Get(failure); }

    /// Any type.
    HRESULT CheckMediaType(const CMediaType* pmt) override;
    /// Asks the peer how its sample times express byte positions.
    HRESULT CompleteConnect(IPin* pReceivePin) override;
    /// Opens the file for writing: made or emptied, others may read and none may write.
    HRESULT Active() override;
    HRESULT Inactive() override;
    /// Offers buffers of at least 128 KiB: most samples of video then reach the file by one write.
    HRESULT GetAllocator(IMemAllocator** ppAllocator) override;
    /// Writes the sample's bytes and hands them to the system, so that none is lost with the process. A peer with
    /// scaled positions is a multiplexer, which commits for all samples of a call at its end.
    HRESULT Receive(IMediaSample* pSample) override;

    HRESULT Read(void* pv, ULONG cb, ULONG* pcbRead) override;
    HRESULT Write(const void* pv, ULONG cb, ULONG* pcbWritten) override;
    HRESULT Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER* plibNewPosition) override;
    HRESULT SetSize(ULARGE_INTEGER libNewSize) override;
    HRESULT CopyTo(IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead, ULARGE_INTEGER* pcbWritten) override;
    HRESULT Commit(DWORD grfCommitFlags) override;
    HRESULT Revert() override;
    HRESULT LockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) override;
    HRESULT UnlockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) override;
    HRESULT Stat(STATSTG* pstatstg, DWORD grfStatFlag) override;
    HRESULT Clone(IStream** ppstm) override;

private:
    template <class Operation, class... Args>
    HRESULT Forward(Operation operation, Args... args);
    /// Keeps the failure of something that changes the file.
    HRESULT Keep(HRESULT hr, const wchar_t* text);

    std::wstring m_fileName;
    ComPtr<IStream> m_stream;
    FirstFailure m_failure;  ///< has a lock of its own
    /// Sample time of one byte: 1 for times that are positions, 10,000,000 (one second) for scaled ones.
    REFERENCE_TIME m_timePerByte = 1;
};

}  // namespace Norvane::MediaKit::Filters
