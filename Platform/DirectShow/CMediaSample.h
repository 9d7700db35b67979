// The sample that the platform's allocator hands out.
#pragma once

#include "Platform/DirectShow/IMediaSample2.h"
#include "Platform/DirectShow/MediaType.h"

#include <atomic>
#include <memory>

struct IMemAllocator;

/// A view of memory that its allocator owns. The count starts at 0; the last Release empties the sample and gives it
/// to the allocator, which destroys it some day. Threads as IMediaSample.
class CMediaSample : public IMediaSample2 {
public:
    /// The allocator is not counted; it outlives the sample.
    CMediaSample(const char* pName, IMemAllocator* pAllocator, HRESULT* phr, BYTE* pBuffer = nullptr, LONG length = 0);
    CMediaSample(const CMediaSample&) = delete;
    CMediaSample& operator=(const CMediaSample&) = delete;
    virtual ~CMediaSample();

    /// For an allocator that gives its samples other memory each time.
    HRESULT SetPointer(BYTE* ptr, LONG cBytes);

    HRESULT QueryInterface(REFIID riid, void** ppv) override;
    ULONG AddRef() override;
    ULONG Release() override;

    HRESULT GetPointer(BYTE** ppBuffer) override;
    LONG GetSize() override;
    HRESULT GetTime(REFERENCE_TIME* pTimeStart, REFERENCE_TIME* pTimeEnd) override;
    HRESULT SetTime(REFERENCE_TIME* pTimeStart, REFERENCE_TIME* pTimeEnd) override;
    HRESULT IsSyncPoint() override;
    HRESULT SetSyncPoint(BOOL bIsSyncPoint) override;
    HRESULT IsPreroll() override;
    HRESULT SetPreroll(BOOL bIsPreroll) override;
    LONG GetActualDataLength() override;
    HRESULT SetActualDataLength(LONG lActual) override;
    HRESULT GetMediaType(AM_MEDIA_TYPE** ppMediaType) override;
    HRESULT SetMediaType(AM_MEDIA_TYPE* pMediaType) override;
    HRESULT IsDiscontinuity() override;
    HRESULT SetDiscontinuity(BOOL bDiscontinuity) override;
    HRESULT GetMediaTime(LONGLONG* pTimeStart, LONGLONG* pTimeEnd) override;
    HRESULT SetMediaTime(LONGLONG* pTimeStart, LONGLONG* pTimeEnd) override;
    HRESULT GetProperties(DWORD cbProperties, BYTE* pbProperties) override;
    HRESULT SetProperties(DWORD cbProperties, const BYTE* pbProperties) override;

private:
    friend class CBaseAllocator;

    HRESULT HasFlag(DWORD flag) const;
    void SetFlag(DWORD flag, bool on);
    void Empty();

    struct TypeDeleter {
        void operator()(AM_MEDIA_TYPE* pmt) const { DeleteMediaType(pmt); }
    };

    std::atomic<LONG> m_cRef{0};
    IMemAllocator* const m_pAllocator;
    BYTE* m_pBuffer;
    LONG m_cbBuffer;
    LONG m_lActual;
    DWORD m_dwFlags = 0;  ///< AM_SAMPLE_*.
    DWORD m_dwTypeSpecificFlags = 0;
    DWORD m_dwStreamId = AM_STREAM_MEDIA;
    REFERENCE_TIME m_Start = 0;
    REFERENCE_TIME m_End = 0;
    LONGLONG m_MediaStart = 0;
    LONG m_MediaEnd = 0;  ///< As a distance from m_MediaStart, of which 32 bits are kept.
    std::unique_ptr<AM_MEDIA_TYPE, TypeDeleter> m_pMediaType;  ///< Set exactly with AM_SAMPLE_TYPECHANGED.
    CMediaSample* m_pNext = nullptr;                           ///< The allocator's list.
};
