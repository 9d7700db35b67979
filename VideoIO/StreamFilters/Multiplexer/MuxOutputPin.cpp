#include "VideoIO/StreamFilters/Multiplexer/MuxOutputPin.h"

#include "Logging/Checks.h"
#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/IStream.h"
#include "Platform/Kernel/Thread.h"
#include "VideoIO/StreamFilters/Multiplexer/MuxFilter.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace Norvane::MediaKit::Filters {

namespace {

constexpr std::uint64_t kTimePerByte = 10000000;
/// After it a byte's time has no room in 63 bits: 922,337,203,685.
constexpr std::uint64_t kMaxBytePosition = std::numeric_limits<REFERENCE_TIME>::max() / kTimePerByte;

/// Milliseconds that a wait for a buffer still gets when somebody wants to stop or flush.
constexpr DWORD kPatience = 500;
constexpr DWORD kPollInterval = 2;

REFERENCE_TIME PositionTime(std::uint64_t position) { return static_cast<REFERENCE_TIME>(position * kTimePerByte); }

/// What an allocator that is stopped answers: no failure of a write.
bool IsStoppedOutput(HRESULT hr) { return hr == VFW_E_WRONG_STATE || hr == VFW_E_NOT_COMMITTED; }

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

HRESULT MP4MediaMuxOutputPin::Active() {
    m_cancelled = false;
    return CBaseOutputPin::Active();
}

MP4MediaMuxOutputPin::Interruption::Interruption(MP4MediaMuxOutputPin& pin) : m_pin(pin) {
    // Every wait that begins from here on sees this, and is short; one that has begun is seen here.
    ++m_pin.m_interruptions;
    const unsigned wait = m_pin.m_bufferWaits;
    if (wait % 2 == 0) return;
    for (DWORD waited = 0; waited < kPatience; waited += kPollInterval) {
        Sleep(kPollInterval);
        if (m_pin.m_bufferWaits != wait) return;
    }
    m_pin.m_cancelled = true;
    m_pin.m_pAllocator->Decommit();
}

void MP4MediaMuxOutputPin::Resume() {
    if (m_cancelled.exchange(false) && m_pAllocator != nullptr) m_pAllocator->Commit();
}

HRESULT MP4MediaMuxOutputPin::OpenBoxStream(std::shared_ptr<vio::byte_stream>& stream) {
    m_boxes.reset();
    if (GetConnected() == nullptr) return VFW_E_NOT_CONNECTED;
    ComPtr<IStream> boxes;
    if (const HRESULT hr = GetConnected()->QueryInterface(IID_IStream, boxes.put_void()); FAILED(hr)) return hr;
    m_boxes = std::make_shared<StreamByteStream>(boxes.get());
    stream = m_boxes;
    return S_OK;
}

void MP4MediaMuxOutputPin::Truncate(std::uint64_t size) { m_boxes->truncate(size); }

HRESULT MP4MediaMuxOutputPin::TakeFailure() {
    const HRESULT ofBoxes = m_boxes ? m_boxes->TakeFailure() : S_OK;
    const HRESULT ofData = std::exchange(m_failure, S_OK);
    return FAILED(ofData) ? ofData : ofBoxes;
}

HRESULT MP4MediaMuxOutputPin::Fail(HRESULT hr) {
    if (SUCCEEDED(m_failure) && FAILED(hr)) m_failure = hr;
    return hr;
}

HRESULT MP4MediaMuxOutputPin::WriteData(const void* data, std::uint32_t length) {
    QZCheckCondition(m_writePosition + length <= kMaxBytePosition, Fail(HRESULT_FROM_WIN32(ERROR_FILE_TOO_LARGE)));
    const auto* bytes = static_cast<const BYTE*>(data);
    while (length > 0) {
        std::uint32_t delivered = 0;
        const HRESULT hr = Fail(DeliverPart(bytes, length, delivered));
        if (IsStoppedOutput(hr)) return S_OK;
        if (FAILED(hr)) return hr;
        m_writePosition += delivered;
        bytes += delivered;
        length -= delivered;
    }
    return S_OK;
}

/// The buffer is back with its allocator before the next one is taken, so that the pool runs dry only when the peer
/// keeps samples.
HRESULT MP4MediaMuxOutputPin::DeliverPart(const BYTE* data, std::uint32_t length, std::uint32_t& delivered) {
    ComPtr<IMediaSample> sample;
    HRESULT hr = WaitForBuffer(sample.put());
    if (IsStoppedOutput(hr)) return hr;
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
    // From the peer these are no sign of a stopped output: its refusal is a failure of the write.
    if (IsStoppedOutput(hr)) return VFW_E_SAMPLE_REJECTED;
    delivered = count;
    return hr;
}

HRESULT MP4MediaMuxOutputPin::WaitForBuffer(IMediaSample** sample) {
    ++m_bufferWaits;
    HRESULT hr = VFW_E_TIMEOUT;
    if (m_interruptions != 0) {
        hr = m_cancelled ? VFW_E_TIMEOUT : PollForBuffer(sample);
    } else if (!m_cancelled) {
        AllowWaitWithLocks allow("the peer's slowness holds the recording back; Stop and a flush end the wait");
        hr = GetDeliveryBuffer(sample, nullptr, nullptr, 0);
    }
    ++m_bufferWaits;
    return m_cancelled && FAILED(hr) ? VFW_E_TIMEOUT : hr;
}

HRESULT MP4MediaMuxOutputPin::PollForBuffer(IMediaSample** sample) {
    HRESULT hr = GetDeliveryBuffer(sample, nullptr, nullptr, AM_GBF_NOWAIT);
    for (DWORD waited = 0; hr == VFW_E_TIMEOUT && waited < kPatience; waited += kPollInterval) {
        AllowWaitWithLocks allow("at most half a second, for whoever wants the lock");
        Sleep(kPollInterval);
        hr = GetDeliveryBuffer(sample, nullptr, nullptr, AM_GBF_NOWAIT);
    }
    if (hr == VFW_E_TIMEOUT) m_cancelled = true;  // the tracks after this one do not try again
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
