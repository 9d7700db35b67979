#include "VideoIO/StreamFilters/Multiplexer/MuxOutputPin.h"

#include "Logging/Checks.h"
#include "Platform/Com/ComPtr.h"
#include "VideoIO/StreamFilters/Multiplexer/MuxFilter.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace Norvane::MediaKit::Filters {

namespace {

constexpr std::uint64_t TimePerByte = 10000000;
/// Behind it a byte's time has no room in 63 bits: 922,337,203,685.
constexpr std::uint64_t MaxBytePosition = std::numeric_limits<REFERENCE_TIME>::max() / TimePerByte;

REFERENCE_TIME PositionTime(std::uint64_t position) { return static_cast<REFERENCE_TIME>(position * TimePerByte); }

HRESULT NotImplemented() {
    QZCheckHRESULT(E_NOTIMPL);
    return E_NOTIMPL;
}

}  // namespace

MP4MediaMuxOutputPin::MP4MediaMuxOutputPin(MuxFilter& filter, CCritSec* lock, HRESULT* phr)
    : CBaseOutputPin("MP4 multiplexer output", &filter, lock, phr, L"Output"), m_filter(filter) {}

HRESULT MP4MediaMuxOutputPin::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IMediaSeeking) return GetInterface(static_cast<IMediaSeeking*>(this), ppv);
    if (riid == IID_IAMAsyncReaderTimestampScaling)
        return GetInterface(static_cast<IAMAsyncReaderTimestampScaling*>(this), ppv);
    return CBaseOutputPin::NonDelegatingQueryInterface(riid, ppv);
}

HRESULT MP4MediaMuxOutputPin::DeliverBytes(const BYTE* data, std::uint32_t length) {
    QZCheckCondition(m_writePosition + length <= MaxBytePosition, HRESULT_FROM_WIN32(ERROR_FILE_TOO_LARGE));
    while (length > 0) {
        std::uint32_t delivered = 0;
        const HRESULT hr = DeliverPart(data, length, delivered);
        if (hr == VFW_E_WRONG_STATE || hr == VFW_E_NOT_COMMITTED) return S_OK;
        if (FAILED(hr)) return hr;
        m_writePosition += delivered;
        data += delivered;
        length -= delivered;
    }
    return S_OK;
}

/// The buffer is back with its allocator before the next one is taken, so that the pool runs dry only when the peer
/// keeps samples. The filter lock is held: rather than wait for them the write fails, with VFW_E_TIMEOUT.
HRESULT MP4MediaMuxOutputPin::DeliverPart(const BYTE* data, std::uint32_t length, std::uint32_t& delivered) {
    ComPtr<IMediaSample> sample;
    HRESULT hr = GetDeliveryBuffer(sample.put(), nullptr, nullptr, AM_GBF_NOWAIT);
    if (hr == VFW_E_WRONG_STATE || hr == VFW_E_NOT_COMMITTED) return hr;
    QZCheckHRESULT(hr);

    BYTE* buffer = nullptr;
    QZCheckHRESULT(sample->GetPointer(&buffer));
    const auto room = static_cast<std::uint32_t>(std::max<LONG>(sample->GetSize(), 0));
    QZCheckCondition(room > 0, E_UNEXPECTED);
    const std::uint32_t count = std::min(length, room);
    std::memcpy(buffer, data, count);
    QZCheckHRESULT(sample->SetActualDataLength(static_cast<LONG>(count)));
    REFERENCE_TIME start = PositionTime(m_writePosition);
    REFERENCE_TIME stop = PositionTime(m_writePosition + count);
    QZCheckHRESULT(sample->SetTime(&start, &stop));

    hr = Deliver(sample.get());
    QZLogHRESULT(hr);
    // Not one of the codes that stand for a stopped output: the peer's refusal is a failure of the write.
    if (hr == VFW_E_WRONG_STATE || hr == VFW_E_NOT_COMMITTED) return VFW_E_SAMPLE_REJECTED;
    delivered = count;
    return hr;
}

HRESULT MP4MediaMuxOutputPin::CheckMediaType(const CMediaType* pmt) {
    QZCheckCondition(pmt != nullptr, E_POINTER);
    return pmt->majortype == MEDIATYPE_Stream ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

HRESULT MP4MediaMuxOutputPin::GetMediaType(int iPosition, CMediaType* pMediaType) {
    QZCheckCondition(pMediaType != nullptr, E_POINTER);
    QZCheckCondition(iPosition >= 0, E_INVALIDARG);
    if (iPosition > 0) return VFW_S_NO_MORE_ITEMS;
    *pMediaType = CMediaType(&MEDIATYPE_Stream);
    return S_OK;
}

HRESULT MP4MediaMuxOutputPin::DecideBufferSize(IMemAllocator* pAlloc, ALLOCATOR_PROPERTIES*) {
    QZCheckCondition(pAlloc != nullptr, E_INVALIDARG);
    ALLOCATOR_PROPERTIES request{};
    request.cBuffers = 200;
    request.cbBuffer = 4096;
    request.cbAlign = 1;
    ALLOCATOR_PROPERTIES actual{};
    QZCheckHRESULT(pAlloc->SetProperties(&request, &actual));
    return S_OK;
}

HRESULT MP4MediaMuxOutputPin::GetCapabilities(DWORD* pCapabilities) {
    QZCheckCondition(pCapabilities != nullptr, E_POINTER);
    *pCapabilities = AM_SEEKING_CanGetCurrentPos | AM_SEEKING_CanGetStopPos | AM_SEEKING_CanGetDuration;
    return S_OK;
}

HRESULT MP4MediaMuxOutputPin::IsFormatSupported(const GUID* pFormat) {
    QZCheckCondition(pFormat != nullptr, E_POINTER);
    return *pFormat == TIME_FORMAT_MEDIA_TIME ? S_OK : S_FALSE;
}

HRESULT MP4MediaMuxOutputPin::GetTimeFormat(GUID* pFormat) {
    QZCheckCondition(pFormat != nullptr, E_POINTER);
    *pFormat = TIME_FORMAT_MEDIA_TIME;
    return S_OK;
}

HRESULT MP4MediaMuxOutputPin::QueryPreferredFormat(GUID* pFormat) { return GetTimeFormat(pFormat); }
HRESULT MP4MediaMuxOutputPin::IsUsingTimeFormat(const GUID* pFormat) { return IsFormatSupported(pFormat); }

HRESULT MP4MediaMuxOutputPin::GetStopPosition(LONGLONG* pStop) {
    QZCheckCondition(pStop != nullptr, E_POINTER);
    *pStop = m_filter.StopPosition();
    return S_OK;
}

HRESULT MP4MediaMuxOutputPin::GetCurrentPosition(LONGLONG* pCurrent) { return m_filter.GetCurrentPosition(pCurrent); }

HRESULT MP4MediaMuxOutputPin::SetPositions(LONGLONG* pCurrent, DWORD dwCurrentFlags, LONGLONG* pStop,
                                           DWORD dwStopFlags) {
    return m_filter.SetPositions(pCurrent, dwCurrentFlags, pStop, dwStopFlags);
}

HRESULT MP4MediaMuxOutputPin::GetRate(double* pdRate) {
    QZCheckCondition(pdRate != nullptr, E_POINTER);
    *pdRate = 1.0;
    return S_OK;
}

HRESULT MP4MediaMuxOutputPin::CheckCapabilities(DWORD*) { return NotImplemented(); }
HRESULT MP4MediaMuxOutputPin::SetTimeFormat(const GUID*) { return NotImplemented(); }
HRESULT MP4MediaMuxOutputPin::GetDuration(LONGLONG*) { return NotImplemented(); }
HRESULT MP4MediaMuxOutputPin::ConvertTimeFormat(LONGLONG*, const GUID*, LONGLONG, const GUID*) {
    return NotImplemented();
}
HRESULT MP4MediaMuxOutputPin::GetPositions(LONGLONG*, LONGLONG*) { return NotImplemented(); }
HRESULT MP4MediaMuxOutputPin::GetAvailable(LONGLONG*, LONGLONG*) { return NotImplemented(); }
HRESULT MP4MediaMuxOutputPin::SetRate(double) { return NotImplemented(); }
HRESULT MP4MediaMuxOutputPin::GetPreroll(LONGLONG*) { return NotImplemented(); }

HRESULT MP4MediaMuxOutputPin::GetTimestampMode(BOOL* pfRaw) {
    QZCheckCondition(pfRaw != nullptr, E_POINTER);
    *pfRaw = FALSE;
    return S_OK;
}

HRESULT MP4MediaMuxOutputPin::SetTimestampMode(BOOL fRaw) { return fRaw ? E_NOTIMPL : S_OK; }

}  // namespace Norvane::MediaKit::Filters
