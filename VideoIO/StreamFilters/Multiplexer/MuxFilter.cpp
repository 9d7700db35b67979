#include "VideoIO/StreamFilters/Multiplexer/MuxFilter.h"

#include "Logging/Checks.h"
#include "MediaKit/Results.h"
#include "Platform/DirectShow/IStream.h"
#include "VideoIO/StreamFilters/Authoring/MediaKinds.h"
#include "VideoIO/StreamFilters/Multiplexer/StreamByteStream.h"

#include <algorithm>

namespace Norvane::MediaKit::Filters {

namespace {

constexpr REFERENCE_TIME EnoughRecorded = 10000000;  // 1 s

}  // namespace

MuxFilter::MuxFilter(const char* name, IUnknown* outer, REFCLSID clsid, HRESULT* phr)
    : CBaseFilter(name, outer, &m_lock, clsid, phr), m_outputPin(*this, &m_lock, phr) {
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
    return CBaseFilter::NonDelegatingQueryInterface(riid, ppv);
}

int MuxFilter::GetPinCount() {
    const CAutoLock lock(&m_lock);
    return static_cast<int>(m_inputPins.size()) + 1;
}

CBasePin* MuxFilter::GetPin(int n) {
    const CAutoLock lock(&m_lock);
    const auto inputs = static_cast<int>(m_inputPins.size());
    if (n < 0 || n > inputs) return nullptr;
    return n == inputs ? static_cast<CBasePin*>(&m_outputPin) : m_inputPins[static_cast<std::size_t>(n)].get();
}

void MuxFilter::AddInputPin() {
    HRESULT hr = S_OK;
    m_inputPins.push_back(
        std::make_unique<MP4MediaMuxInputPin>(*this, &m_lock, &hr, static_cast<std::uint32_t>(m_inputPins.size())));
    m_trackInputs.push_back(m_inputPins.back().get());
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
    if (IsStopped()) {
        m_counters.Start();
        m_ended = false;
        m_index.BeginRecording();
    }
    return CBaseFilter::Pause();
}

HRESULT MuxFilter::Stop() {
    const CAutoLock lock(&m_lock);
    HRESULT hr = S_OK;
    if (!IsStopped()) {
        hr = CBaseFilter::Stop();
        QZLogHRESULT(hr);
        // Also when a pin had trouble stopping: the file would be lost without its end.
        FinishMovie();
    }
    m_counters.Stop();
    return hr;
}

bool MuxFilter::IsBeyondStop(const MP4MediaMuxInputPin& pin, REFERENCE_TIME start) const {
    if (AddTimes(pin.CurrentStartTime(), start) <= m_stopPosition) return false;
    if (QZ_LOG_ENABLED(3))
        QZReport(3, L"Done receiving sample -> %s(%s)", pin.TrackName(), pin.MajorTypeName().c_str());
    return true;
}

/// The base class has looked at the state already, but without the lock: a stop may have come in between.
HRESULT MuxFilter::CheckTakesSamples(MP4MediaMuxInputPin& pin) {
    if (const HRESULT hr = pin.CheckStreaming(); hr != S_OK) return hr;
    return pin.State().endOfStream ? S_FALSE : S_OK;
}

HRESULT MuxFilter::OnEndOfStream(MP4MediaMuxInputPin& pin) {
    if (QZ_LOG_ENABLED(3)) QZReport(3, L"-----> Track %s(%s) is EOS.", pin.TrackName(), pin.MajorTypeName().c_str());
    const CAutoLock lock(&m_lock);
    pin.State().endOfStream = true;
    CheckEndOfStream(pin);
    // The sources of the other pins may be waiting for their samples, so that no Receive would do it.
    if (!m_ended) WriteReady();
    return S_OK;
}

void MuxFilter::CheckEndOfStream(MP4MediaMuxInputPin& pin) {
    bool allEnded = true;
    for (const auto& input : m_inputPins) {
        if (!input->IsConnected()) continue;
        input->SignalEndOfTrack();
        allEnded = allEnded && input->State().endOfStream;
    }
    pin.SignalDrained();
    if (!allEnded || m_ended) return;

    m_ended = true;  // first: writing the rest drains pins, which leads here again
    QZReport(3, L"-----> All tracks are EOS, delivering EOS.");
    for (const auto& input : m_inputPins)
        if (input->IsConnected()) input->SignalDrained();
    WriteRest();
    HandOn();  // in a batch too: readers who are told of the end find everything with the system
    m_index.EndRecording();
    QZLogHRESULT(m_outputPin.DeliverEndOfStream());
}

std::vector<MovieTrackRef> MuxFilter::TrackRefs() {
    std::vector<MovieTrackRef> refs;
    for (const auto& pin : m_inputPins)
        if (pin->IsConnected()) refs.push_back({&pin->Track(), &pin->TrackMediaType(), pin->Track().orientation});
    return refs;
}

std::shared_ptr<vio::byte_stream> MuxFilter::OpenOutput(HRESULT& hr) {
    IPin* const peer = m_outputPin.GetConnected();
    ComPtr<IStream> stream;
    hr = peer == nullptr ? VFW_E_NOT_CONNECTED : peer->QueryInterface(IID_IStream, stream.put_void());
    return FAILED(hr) ? nullptr : std::make_shared<StreamByteStream>(stream.get());
}

void MuxFilter::EnterInIndex(std::uint32_t track, std::span<const LiveSampleInfo> samples) {
    m_index.Append(track, samples);
    if (m_enoughRecorded) return;
    m_connected.clear();
    for (const auto& pin : m_inputPins)
        if (pin->IsConnected()) m_connected.push_back(pin->TrackIndex());
    if (!m_index.HaveReached(m_connected, EnoughRecorded)) return;
    m_enoughRecorded = true;
    NotifyEvent(QZ_EC_ENOUGH_RECORDED, 0, 0);
}

}  // namespace Norvane::MediaKit::Filters
