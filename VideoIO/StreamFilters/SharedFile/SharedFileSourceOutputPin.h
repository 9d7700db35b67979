// The source's pin: all data leaves through IAsyncReader, by synchronous reads on the callers' threads.
#pragma once

#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/CBaseOutputPin.h"
#include "Platform/DirectShow/IAMAsyncReaderTimestampScaling.h"
#include "Platform/DirectShow/IAsyncReader.h"
#include "Platform/DirectShow/IStream.h"
#include "VideoIO/StreamFilters/Frame/FirstFailure.h"

#include <map>
#include <string>

namespace Norvane::MediaKit::Filters {

class SharedFileSourceFilter;

/// Each thread that reads gets a file stream of its own, with its own position, and keeps it until the next Load. The
/// pin's lock guards the map, not the reading.
class SharedFileSourceOutputPin final : public CBaseOutputPin,
                                        public IAsyncReader,
                                        public IAMAsyncReaderTimestampScaling {
public:
    SharedFileSourceOutputPin(SharedFileSourceFilter* filter, CCritSec* lock, HRESULT* phr);
    ~SharedFileSourceOutputPin() override;

    DECLARE_IUNKNOWN
    /// IAsyncReader, IAMAsyncReaderTimestampScaling and those of the base.
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

    /// SharedFileSourceFilter::Load.
    HRESULT Load(const wchar_t* name, const AM_MEDIA_TYPE* type);
    /// SharedFileSourceFilter::GetFirstFailure.
    HRESULT GetFirstFailure(FilterFailure* failure) const { return m_failure.Get(failure); }

    /// The loaded type, at position 0.
    HRESULT GetMediaType(int iPosition, CMediaType* pMediaType) override;
    HRESULT CheckMediaType(const CMediaType* pmt) override;
    /// No sample is ever delivered: nothing to set, to commit or to run.
    HRESULT DecideBufferSize(IMemAllocator* pAlloc, ALLOCATOR_PROPERTIES* ppropInputRequest) override;
    HRESULT Active() override;
    HRESULT Inactive() override;
    HRESULT Run(REFERENCE_TIME tStart) override;

    /// No allocator is offered: null stored, S_OK.
    HRESULT RequestAllocator(IMemAllocator* pPreferred, ALLOCATOR_PROPERTIES* pProps,
                             IMemAllocator** ppActual) override;
    HRESULT Request(IMediaSample* pSample, DWORD_PTR dwUser) override;
    HRESULT WaitForNext(DWORD dwTimeout, IMediaSample** ppSample, DWORD_PTR* pdwUser) override;
    HRESULT SyncReadAligned(IMediaSample* pSample) override;
    /// Reads what is there: at the end of the file fewer bytes, which is a success that tells no count.
    HRESULT SyncRead(LONGLONG llPosition, LONG lLength, BYTE* pBuffer) override;
    /// Both are the file's present size.
    HRESULT Length(LONGLONG* pTotal, LONGLONG* pAvailable) override;
    /// There is nothing to cancel: S_OK, for the reader as for the pin.
    HRESULT BeginFlush() override;
    HRESULT EndFlush() override;

    /// TRUE at creation. Kept, with no effect on reads.
    HRESULT GetTimestampMode(BOOL* pfRaw) override;
    HRESULT SetTimestampMode(BOOL fRaw) override;

private:
    /// The thread's stream, opened at its first call, with a reference.
    HRESULT GetStream(DWORD threadId, IStream** ppStream);
    /// Passes a result on; a failure is kept for the host.
    HRESULT RecordFailure(HRESULT result, const wchar_t* text, std::uint64_t position = 0);

    std::wstring m_fileName MK_GUARDED_BY(m_pLock);
    CMediaType m_mediaType MK_GUARDED_BY(m_pLock);
    std::map<DWORD, ComPtr<IStream>> m_streams MK_GUARDED_BY(m_pLock);
    std::atomic<bool> m_rawTimestamps{true};
    FirstFailure m_failure;
};

}  // namespace Norvane::MediaKit::Filters
