#include "VideoIO/StreamFilters/Multiplexer/MuxInputPin.h"

#include "Logging/Checks.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeNames.h"
#include "VideoIO/StreamFilters/Authoring/MediaKinds.h"
#include "VideoIO/StreamFilters/Multiplexer/MuxFilter.h"

namespace Norvane::MediaKit::Filters {

MP4MediaMuxInputPin::MP4MediaMuxInputPin(MuxFilter& filter, CCritSec* lock, HRESULT* phr, std::uint32_t index)
    : CBaseInputPin("MP4 multiplexer input", &filter, lock, phr, (L"Input_" + std::to_wstring(index)).c_str()),
      m_mux(filter),
      m_index(index) {}

MP4MediaMuxInputPin::~MP4MediaMuxInputPin() = default;

HRESULT MP4MediaMuxInputPin::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == qz_DSFilters::IID_IOverrideMediaType)
        return GetInterface(static_cast<qz_DSFilters::IOverrideMediaType*>(this), ppv);
    if (riid == IID_IRecordingPolicy) return GetInterface(static_cast<IRecordingPolicy*>(this), ppv);
    return CBaseInputPin::NonDelegatingQueryInterface(riid, ppv);
}

std::wstring MP4MediaMuxInputPin::MajorTypeName() const { return qz_DSFilters::GetMajorTypeName(m_mt.majortype); }

void MP4MediaMuxInputPin::SignalEndOfTrack() {
    if (m_endOfTrack) m_endOfTrack.SetEvent();
}

void MP4MediaMuxInputPin::SignalDrained() {
    if (m_drained) m_drained.SetEvent();
}

void MP4MediaMuxInputPin::ResetEndOfTrack() {
    if (m_endOfTrack) m_endOfTrack.ResetEvent();
    if (m_drained) m_drained.ResetEvent();
}

HRESULT MP4MediaMuxInputPin::CheckMediaType(const CMediaType* pmt) {
    QZCheckCondition(pmt != 0, E_INVALIDARG);
    return IsVideoTrack(*pmt) || IsAudioTrack(*pmt) ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

HRESULT MP4MediaMuxInputPin::SetMediaType(const CMediaType* pmt) {
    const CAutoLock lock(m_pLock);
    if (m_track.handler)
        QZReport(3,
                 L"Media type has changed after receiving samples. The new type has been discarded and this may result "
                 L"in an invalid file.");
    return CBaseInputPin::SetMediaType(pmt);
}

HRESULT MP4MediaMuxInputPin::CompleteConnect(IPin* pReceivePin) {
    QZCheckHRESULT(CBaseInputPin::CompleteConnect(pReceivePin));
    return m_mux.OnInputConnected(*this);
}

HRESULT MP4MediaMuxInputPin::BreakConnect() {
    {
        const CAutoLock lock(m_pLock);
        m_mux.OnInputInactive(*this);
        m_track.ResetStream();
    }
    return CBaseInputPin::BreakConnect();
}

HRESULT MP4MediaMuxInputPin::Active() {
    QZCheckHRESULT(CBaseInputPin::Active());
    const CAutoLock lock(m_pLock);
    if (!m_endOfTrack) m_endOfTrack.create();
    if (!m_drained) m_drained.create(wil::EventOptions::ManualReset);
    m_mux.OnInputActive(*this);
    return S_OK;
}

HRESULT MP4MediaMuxInputPin::Inactive() {
    const HRESULT hr = CBaseInputPin::Inactive();
    m_mux.OnInputInactive(*this);
    return hr;
}

HRESULT MP4MediaMuxInputPin::EndOfStream() { return m_mux.OnEndOfStream(*this); }

HRESULT MP4MediaMuxInputPin::BeginFlush() {
    m_mux.OnFlush(*this);
    return S_OK;
}

HRESULT MP4MediaMuxInputPin::NewSegment(REFERENCE_TIME tStart, REFERENCE_TIME tStop, double dRate) {
    m_statistic.Reset();
    const CAutoLock lock(m_pLock);
    m_segmentStart = tStart;
    m_tStart = tStart;
    m_tStop = tStop;
    m_dRate = dRate;
    return S_OK;
}

HRESULT MP4MediaMuxInputPin::GetAllocatorRequirements(ALLOCATOR_PROPERTIES* pProps) {
    QZCheckCondition(pProps != nullptr, E_POINTER);
    *pProps = {};
    pProps->cBuffers = 100;
    return S_OK;
}

HRESULT MP4MediaMuxInputPin::NotifyAllocator(IMemAllocator* pAllocator, BOOL bReadOnly) {
    QZCheckCondition(pAllocator != nullptr, E_POINTER);
    ALLOCATOR_PROPERTIES propAlloc{};
    QZCheckHRESULT(pAllocator->GetProperties(&propAlloc));
    QZCheckCondition(propAlloc.cBuffers >= 20, E_INVALIDARG);
    return CBaseInputPin::NotifyAllocator(pAllocator, bReadOnly);
}

HRESULT MP4MediaMuxInputPin::Receive(IMediaSample* pSample) {
    QZCheckCondition(pSample != 0, E_POINTER);
    QZCheckCondition(m_pFilter != 0, E_UNEXPECTED);
    if (const HRESULT hr = CBaseInputPin::Receive(pSample); hr != S_OK) return hr;
    QZLogHRESULT(ApplyTypeOf(*pSample));

    REFERENCE_TIME start = 0;
    REFERENCE_TIME stop = 0;
    QZCheckHRESULT(pSample->GetTime(&start, &stop));
    if (const HRESULT hr = m_mux.OnSampleReceived(*this, *pSample, start); hr != S_OK) return hr;
    if (m_mux.StatisticsEnabled()) m_statistic.Feed(*pSample, start, stop);
    return S_OK;
}

HRESULT MP4MediaMuxInputPin::ReceiveMultiple(IMediaSample** pSamples, LONG nSamples, LONG* nSamplesProcessed) {
    const auto batch = m_mux.BeginBatch();
    return CBaseInputPin::ReceiveMultiple(pSamples, nSamples, nSamplesProcessed);
}

HRESULT MP4MediaMuxInputPin::ApplyTypeOf(IMediaSample& sample) {
    AM_MEDIA_TYPE* raw = nullptr;
    if (sample.GetMediaType(&raw) != S_OK || raw == nullptr) return S_OK;
    const CMediaType type(*raw);
    DeleteMediaType(raw);
    const HRESULT accepted = CheckMediaType(&type);
    return SUCCEEDED(accepted) ? SetMediaType(&type) : accepted;
}

HRESULT MP4MediaMuxInputPin::SetOrientation(DWORD orientation) {
    const CAutoLock lock(m_pLock);
    if (IsVideo(m_mt)) m_track.orientation = orientation;
    return S_OK;
}

HRESULT MP4MediaMuxInputPin::SetOptions(const RecordingOptions* options) {
    QZCheckCondition(options != nullptr, E_POINTER);
    const CAutoLock lock(m_pLock);
    if (m_track.handler && !m_mux.IsStopped()) return VFW_E_WRONG_STATE;
    m_track.SetOptions(*options);
    return S_OK;
}

HRESULT MP4MediaMuxInputPin::GetOptions(RecordingOptions* options) {
    QZCheckCondition(options != nullptr, E_POINTER);
    const CAutoLock lock(m_pLock);
    *options = m_track.options;
    return S_OK;
}

}  // namespace Norvane::MediaKit::Filters
