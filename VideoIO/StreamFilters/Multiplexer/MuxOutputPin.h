// The output pin of the multiplexers: a byte stream whose samples say where in the file they belong.
#pragma once

#include "Platform/DirectShow/CBaseOutputPin.h"
#include "Platform/DirectShow/IAMAsyncReaderTimestampScaling.h"
#include "Platform/DirectShow/IMediaSeeking.h"

#include <cstdint>

namespace Norvane::MediaKit::Filters {

class MuxFilter;

/// Sample times are byte positions x 10,000,000, which IAMAsyncReaderTimestampScaling tells the peer.
class MP4MediaMuxOutputPin final : public CBaseOutputPin, public IMediaSeeking, public IAMAsyncReaderTimestampScaling {
public:
    MP4MediaMuxOutputPin(MuxFilter& filter, CCritSec* lock, HRESULT* phr);

    DECLARE_IUNKNOWN
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

    // Under the filter lock.
    std::uint64_t WritePosition() const { return m_writePosition; }
    void SetWritePosition(std::uint64_t position) { m_writePosition = position; }

    /// Delivers the bytes in as many samples as they need, each stamped with its place, and moves the write position.
    /// An output that is stopped takes the bytes without a trace: S_OK. Never waits: VFW_E_TIMEOUT when the peer keeps
    /// all buffers. Bytes beyond position 922,337,203,685, whose times would wrap, are refused. Under the filter lock.
    HRESULT DeliverBytes(const BYTE* data, std::uint32_t length);

    // CBasePin, CBaseOutputPin
    HRESULT CheckMediaType(const CMediaType* pmt) override;
    HRESULT GetMediaType(int iPosition, CMediaType* pMediaType) override;
    HRESULT DecideBufferSize(IMemAllocator* pAlloc, ALLOCATOR_PROPERTIES* ppropInputRequest) override;

    // IMediaSeeking: where the recording is. Any thread.
    HRESULT GetCapabilities(DWORD* pCapabilities) override;
    HRESULT CheckCapabilities(DWORD* pCapabilities) override;
    HRESULT IsFormatSupported(const GUID* pFormat) override;
    HRESULT QueryPreferredFormat(GUID* pFormat) override;
    HRESULT GetTimeFormat(GUID* pFormat) override;
    HRESULT IsUsingTimeFormat(const GUID* pFormat) override;
    HRESULT SetTimeFormat(const GUID* pFormat) override;
    HRESULT GetDuration(LONGLONG* pDuration) override;
    HRESULT GetStopPosition(LONGLONG* pStop) override;
    HRESULT GetCurrentPosition(LONGLONG* pCurrent) override;
    HRESULT ConvertTimeFormat(LONGLONG* pTarget, const GUID* pTargetFormat, LONGLONG Source,
                              const GUID* pSourceFormat) override;
    HRESULT SetPositions(LONGLONG* pCurrent, DWORD dwCurrentFlags, LONGLONG* pStop, DWORD dwStopFlags) override;
    HRESULT GetPositions(LONGLONG* pCurrent, LONGLONG* pStop) override;
    HRESULT GetAvailable(LONGLONG* pEarliest, LONGLONG* pLatest) override;
    HRESULT SetRate(double dRate) override;
    HRESULT GetRate(double* pdRate) override;
    HRESULT GetPreroll(LONGLONG* pllPreroll) override;

    // IAMAsyncReaderTimestampScaling: scaled, and nothing else.
    HRESULT GetTimestampMode(BOOL* pfRaw) override;
    HRESULT SetTimestampMode(BOOL fRaw) override;

private:
    HRESULT DeliverPart(const BYTE* data, std::uint32_t length, std::uint32_t& delivered);

    MuxFilter& m_filter;
    std::uint64_t m_writePosition = 0;  ///< byte of the file that the next delivery starts at
};

}  // namespace Norvane::MediaKit::Filters
