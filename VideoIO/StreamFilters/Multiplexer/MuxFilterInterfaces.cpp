// The interfaces of the multiplexers for hosts and readers.

#include "VideoIO/StreamFilters/Multiplexer/MuxFilter.h"

#include "Logging/Checks.h"
#include "Platform/Kernel/Text.h"
#include "VideoIO/FilterUtil/MediaTypes/TimeConversionUtil.h"
#include "VideoIO/StreamFilters/Container/fourcc.h"

#include <algorithm>

namespace Norvane::MediaKit::Filters {

namespace {

/// QuickTime's text items begin with a copyright sign.
constexpr std::uint32_t kSoftwareItem = vio::mp4::fourcc("\xA9swr");
constexpr std::uint32_t kDescriptionItem = vio::mp4::fourcc(
    "\xA9"
    "des");

}  // namespace

// ILiveSourceProvider

int MuxFilter::GetTrackCount() {
    const CAutoLock lock(&m_lock);
    return static_cast<int>(std::ranges::count_if(m_inputPins, [](const auto& pin) { return pin->IsConnected(); }));
}

HRESULT MuxFilter::GetTrackMediaType(int track, CMediaType* type) {
    QZCheckCondition(type != nullptr, E_POINTER);
    if (track < 0) return E_INVALIDARG;
    const CAutoLock lock(&m_lock);
    if (IsStopped()) return VFW_E_WRONG_STATE;
    for (const auto& pin : m_inputPins) {
        if (!pin->IsConnected() || track-- != 0) continue;
        const auto& handler = pin->Track().handler;
        return handler ? handler->media_type(*type) : VFW_E_WRONG_STATE;
    }
    return E_INVALIDARG;
}

HRESULT MuxFilter::AddConsumer(std::uint32_t track, std::uint64_t key, const wchar_t* name, REFERENCE_TIME,
                               REFERENCE_TIME, REFERENCE_TIME*) {
    const LiveIndex::History history = m_index.AddConsumer(track, key, name);
    if (!QZ_LOG_ENABLED(5)) return S_OK;
    QZReport(5,
             L"AddConsumer '%s' %s, %d samples\n               firstSampleTime: %s (%d bytes)\n                "
             L"lastSampleTime: %s",
             name != nullptr ? name : L"", (L"Input_" + std::to_wstring(track)).c_str(),
             static_cast<int>(history.samples), qz_DSFilters::FormatTime(history.firstStart).c_str(),
             static_cast<int>(history.firstSize), qz_DSFilters::FormatTime(history.lastStart).c_str());
    return S_OK;
}

HRESULT MuxFilter::GetSamples(std::uint32_t, std::uint64_t key, std::vector<LiveSampleInfo>* samples,
                              std::uint32_t timeoutMs, HANDLE abortEvent) {
    QZCheckCondition(samples != nullptr, E_POINTER);
    return m_index.GetSamples(key, *samples, timeoutMs, abortEvent);
}

// IMPEG4Mux

HRESULT MuxFilter::CheckSettingsAreOpen() const {
    QZCheckCondition(m_inputPins.empty() || (m_inputPins.front() == nullptr) || !m_inputPins.front()->IsConnected(),
                     E_UNEXPECTED);
    return S_OK;
}

HRESULT MuxFilter::SetMoveMoovToFront(BOOL moveToFront) {
    const CAutoLock lock(&m_lock);
    if (const HRESULT hr = CheckSettingsAreOpen(); FAILED(hr)) return hr;
    m_settings.moveMoovToFront = moveToFront != FALSE;
    return S_OK;
}

HRESULT MuxFilter::AddMetadata(std::uint32_t fourcc, const wchar_t* text) {
    const CAutoLock lock(&m_lock);
    if (const HRESULT hr = CheckSettingsAreOpen(); FAILED(hr)) return hr;
    QZCheckCondition(text != nullptr, E_POINTER);
    try {
        m_settings.AddMetadata(fourcc, win32::ConvertToUtf8(text));
    } catch (const win32::Utf8ConversionException&) {
        return E_INVALIDARG;
    }
    return S_OK;
}

HRESULT MuxFilter::SetSoftware(const wchar_t* text) { return AddMetadata(kSoftwareItem, text); }
HRESULT MuxFilter::SetSecondSoftware(const wchar_t* text) { return AddMetadata(kSoftwareItem, text); }
HRESULT MuxFilter::SetDescription(const wchar_t* text) { return AddMetadata(kDescriptionItem, text); }

HRESULT MuxFilter::GetCurrentPosition(REFERENCE_TIME* position) {
    QZCheckCondition(position != nullptr, E_POINTER);
    *position = m_index.Position();
    return S_OK;
}

HRESULT MuxFilter::SetFlag(BOOL flag) {
    m_flag = flag != FALSE;
    return S_OK;
}

// IPerformanceInfoProvider

HRESULT MuxFilter::EnableStatistics() {
    m_statisticsEnabled = true;
    return S_OK;
}

HRESULT MuxFilter::GetWriterName(const wchar_t** name) {
    QZCheckCondition(name != nullptr, E_POINTER);
    *name = L"MP4-Mux";
    return S_OK;
}

MP4MediaMuxInputPin* MuxFilter::ConnectedPin(REFGUID majorType) {
    const auto found = std::ranges::find_if(m_inputPins, [&](const auto& pin) {
        return pin->IsConnected() && pin->TrackMediaType().majortype == majorType;
    });
    return found == m_inputPins.end() ? nullptr : found->get();
}

HRESULT MuxFilter::GetStatistic(REFGUID majorType, qz_ChannelIO::StreamStatistic* statistic) {
    QZCheckCondition(statistic != nullptr, E_POINTER);
    const CAutoLock lock(&m_lock);
    MP4MediaMuxInputPin* const pin = ConnectedPin(majorType);
    *statistic = pin != nullptr ? pin->Statistic().Get() : qz_ChannelIO::StreamStatistic{};
    return S_OK;
}

HRESULT MuxFilter::UpdateTotals(REFGUID majorType) {
    const CAutoLock lock(&m_lock);
    if (MP4MediaMuxInputPin* const pin = ConnectedPin(majorType)) pin->Statistic().UpdateTotals();
    return S_OK;
}

HRESULT MuxFilter::GetSummaries(std::vector<qz_ChannelIO::StreamSummary>* summaries) {
    QZCheckCondition(summaries != nullptr, E_POINTER);
    summaries->clear();
    const CAutoLock lock(&m_lock);
    for (const auto& pin : m_inputPins) {
        if (!pin->IsConnected()) continue;
        const CMediaType& type = pin->TrackMediaType();
        summaries->push_back({pin->TrackIndex(), type.majortype, type.subtype, pin->Statistic().Get()});
    }
    return S_OK;
}

// IMediaSeeking of the output pin

HRESULT MuxFilter::SetPositions(LONGLONG* pCurrent, DWORD dwCurrentFlags, LONGLONG* pStop, DWORD dwStopFlags) {
    if (pCurrent == nullptr && dwCurrentFlags == 0 && pStop != nullptr && dwStopFlags == AM_SEEKING_AbsolutePositioning)
        return SetStopPosition(*pStop);
    return SeekUpstream(pCurrent, dwCurrentFlags, pStop, dwStopFlags);
}

HRESULT MuxFilter::SetStopPosition(REFERENCE_TIME stop) {
    m_stopPosition = stop;
    if (QZ_LOG_ENABLED(3))
        QZReport(3, L"Muxer: Stop position requested: %s, current position: %s", qz_DSFilters::FormatTime(stop).c_str(),
                 qz_DSFilters::FormatTime(m_index.Position()).c_str());
    return S_OK;
}

/// The peers are called without the filter lock: a seek flushes, which stops threads that may be waiting for it.
HRESULT MuxFilter::SeekUpstream(LONGLONG* pCurrent, DWORD dwCurrentFlags, LONGLONG* pStop, DWORD dwStopFlags) {
    const int count = GetPinCount();
    for (int i = 0; i < count; ++i) {
        ComPtr<IPin> peer;
        if (const HRESULT hr = ReopenInput(i, peer); FAILED(hr)) return hr;
        if (!peer) continue;
        ComPtr<IMediaSeeking> seeking;
        QZCheckHRESULT(peer->QueryInterface(IID_IMediaSeeking, seeking.put_void()));
        const HRESULT hr = seeking->SetPositions(pCurrent, dwCurrentFlags, pStop, dwStopFlags);
        if (hr != E_NOTIMPL) QZCheckHRESULT(hr);
    }
    return S_OK;
}

/// Stores the peer of a connected input pin, which is open again from now on.
HRESULT MuxFilter::ReopenInput(int pinNumber, ComPtr<IPin>& peer) {
    const CAutoLock lock(&m_lock);
    CBasePin* const pPin = GetPin(pinNumber);
    QZCheckCondition(pPin != 0, E_UNEXPECTED);
    PIN_DIRECTION direction = PINDIR_OUTPUT;
    QZCheckHRESULT(pPin->QueryDirection(&direction));
    if (!pPin->IsConnected() || direction != PINDIR_INPUT) return S_OK;
    m_recorder->ReopenTrack(static_cast<std::size_t>(pinNumber));
    peer = ComPtr<IPin>(pPin->GetConnected());
    return S_OK;
}

}  // namespace Norvane::MediaKit::Filters
