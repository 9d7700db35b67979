#include "VideoIO/StreamFilters/Multiplexer/MuxFilter.h"

#include "Logging/Checks.h"

#include <algorithm>

namespace Norvane::MediaKit::Filters {

MuxFilter::MuxFilter(const char* name, IUnknown* outer, REFCLSID clsid, HRESULT* phr, const MakeRecorder& makeRecorder)
    : CBaseFilter(name, outer, &m_lock, clsid, phr),
      m_outputPin(*this, &m_lock, phr),
      m_recorder(makeRecorder(*this, m_outputPin, m_index, m_settings)) {
    const CAutoLock lock(&m_lock);
    AddInputPin();
}

MuxFilter::~MuxFilter() = default;

HRESULT MuxFilter::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_ILiveSourceProvider) return GetInterface(static_cast<ILiveSourceProvider*>(this), ppv);
    if (riid == qz_ChannelIO::IID_IPerformanceInfoProvider)
        return GetInterface(static_cast<qz_ChannelIO::IPerformanceInfoProvider*>(this), ppv);
    if (riid == qz_MPEGSystemFilters::IID_IMPEG4Mux)
        return GetInterface(static_cast<qz_MPEGSystemFilters::IMPEG4Mux*>(this), ppv);
    if (riid == IID_IRecordingResult) return GetInterface(static_cast<IRecordingResult*>(this), ppv);
    return CBaseFilter::NonDelegatingQueryInterface(riid, ppv);
}

int MuxFilter::GetPinCount() MK_NO_THREAD_SAFETY_ANALYSIS {
    const CAutoLock lock(&m_pinsLock);
    return static_cast<int>(m_inputPins.size()) + 1;
}

CBasePin* MuxFilter::GetPin(int n) MK_NO_THREAD_SAFETY_ANALYSIS {
    const CAutoLock lock(&m_pinsLock);
    const auto inputs = static_cast<int>(m_inputPins.size());
    if (n < 0 || n > inputs) return nullptr;
    return n == inputs ? static_cast<CBasePin*>(&m_outputPin) : m_inputPins[static_cast<std::size_t>(n)].get();
}

void MuxFilter::AddInputPin() {
    HRESULT hr = S_OK;
    auto pin = std::make_unique<MP4MediaMuxInputPin>(*this, &m_lock, &hr,
                                                     static_cast<std::uint32_t>(m_inputPins.size()));
    m_recorder->AddTrack(*pin);
    const CAutoLock lock(&m_pinsLock);
    m_inputPins.push_back(std::move(pin));
}

HRESULT MuxFilter::OnInputConnected(const MP4MediaMuxInputPin& pin) {
    const CAutoLock lock(&m_lock);
    if (&pin != m_inputPins.back().get()) return S_OK;
    AddInputPin();
    IncrementPinVersion();
    return S_OK;
}

HRESULT MuxFilter::Pause() {
    const CAutoLock lock(&m_lock);
    const bool begins = IsStopped();
    if (begins) {
        m_counters.Start();
        m_recorder->BeginRun();
    }
    const HRESULT hr = CBaseFilter::Pause();
    if (begins && FAILED(hr)) m_recorder->Finish();
    return hr;
}

HRESULT MuxFilter::Stop() {
    const MP4MediaMuxOutputPin::Interruption interruption(m_outputPin);
    const CAutoLock lock(&m_lock);
    HRESULT hr = S_OK;
    if (!IsStopped()) {
        hr = CBaseFilter::Stop();
        QZLogHRESULT(hr);
        // Also when a pin had trouble stopping: the file would be lost without its end.
        m_recorder->Finish();
    }
    m_counters.Stop();
    return hr;
}

void MuxFilter::OnInputActive(MP4MediaMuxInputPin& pin) {
    const CAutoLock lock(&m_lock);
    m_recorder->BeginTrack(pin.TrackIndex());
}

void MuxFilter::OnInputInactive(MP4MediaMuxInputPin& pin) {
    const CAutoLock lock(&m_lock);
    m_recorder->DiscardQueue(pin.TrackIndex());
}

void MuxFilter::OnFlush(MP4MediaMuxInputPin& pin) {
    const MP4MediaMuxOutputPin::Interruption interruption(m_outputPin);
    const CAutoLock lock(&m_lock);
    m_recorder->DiscardQueue(pin.TrackIndex());
    m_outputPin.Resume();
}

HRESULT MuxFilter::OnSampleReceived(MP4MediaMuxInputPin& pin, IMediaSample& sample, REFERENCE_TIME start) {
    if (IsBeyondStop(pin, start)) return S_FALSE;
    const CAutoLock lock(&m_lock);
    if (const HRESULT hr = CheckAcceptsSamples(pin); hr != S_OK) return hr;
    m_recorder->Receive(pin.TrackIndex(), sample, start);
    if (!m_inBatch) m_recorder->FlushToSystem();
    return S_OK;
}

bool MuxFilter::IsBeyondStop(const MP4MediaMuxInputPin& pin, REFERENCE_TIME start) const {
    if (AddTimes(pin.CurrentStartTime(), start) <= m_stopPosition) return false;
    if (QZ_LOG_ENABLED(3))
        QZReport(3, L"Done receiving sample -> %s(%s)", pin.TrackName(), pin.MajorTypeName().c_str());
    return true;
}

/// The base class has looked at the state already, but without the lock: a stop may have come in between.
HRESULT MuxFilter::CheckAcceptsSamples(MP4MediaMuxInputPin& pin) {
    if (const HRESULT hr = pin.CheckStreaming(); hr != S_OK) return hr;
    return m_recorder->HasEnded(pin.TrackIndex()) ? S_FALSE : S_OK;
}

HRESULT MuxFilter::OnEndOfStream(MP4MediaMuxInputPin& pin) {
    if (QZ_LOG_ENABLED(3)) QZReport(3, L"-----> Track %s(%s) is EOS.", pin.TrackName(), pin.MajorTypeName().c_str());
    const CAutoLock lock(&m_lock);
    if (IsStopped()) return S_OK;  // late: there is nothing left to end
    m_recorder->EndOfStream(pin.TrackIndex());
    if (!m_inBatch) m_recorder->FlushToSystem();
    return S_OK;
}

void MuxFilter::DeliverEndOfStream() { QZLogHRESULT(m_outputPin.DeliverEndOfStream()); }

HRESULT MuxFilter::GetRecordingResult(RecordingResult* result) {
    QZCheckCondition(result != nullptr, E_POINTER);
    *result = m_recorder->Result();
    return S_OK;
}

}  // namespace Norvane::MediaKit::Filters
