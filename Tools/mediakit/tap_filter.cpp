#include "Tools/mediakit/tap_filter.h"

#include "Platform/Kernel/Event.h"

namespace mediakit_tool {

namespace {

// Of the host's own; nothing is registered under it.
constexpr CLSID kTap = make_guid("8C5E0B7A-42D9-4B0F-9E61-D3C7A8F2154B");

}  // namespace

TapFilter::TapFilter(SampleConsumer& consumer, HANDLE endEvent, HRESULT* phr)
    : CBaseFilter("Tap", nullptr, &m_lock, kTap, phr), m_pin(*this, m_lock, consumer, endEvent, phr) {}

TapPin::TapPin(TapFilter& filter, CCritSec& lock, SampleConsumer& consumer, HANDLE endEvent, HRESULT* phr)
    : CBaseInputPin("Tap", &filter, &lock, phr, L"Input"), m_consumer(consumer), m_endEvent(endEvent) {}

HRESULT TapPin::Active() {
    m_ended = false;
    return CBaseInputPin::Active();
}

HRESULT TapPin::EndFlush() {
    // Upstream's thread stands still now. Before, it may have answered the flush with an end of its stream.
    m_ended = false;
    return CBaseInputPin::EndFlush();
}

HRESULT TapPin::Receive(IMediaSample* pSample) {
    if (m_ended) return S_FALSE;
    HRESULT hr = CBaseInputPin::Receive(pSample);
    if (hr == S_OK && (hr = m_consumer.Take(*pSample)) != S_OK) NoteEnd();
    return hr;
}

HRESULT TapPin::EndOfStream() {
    if (m_ended || IsFlushing()) return S_OK;
    m_consumer.End();
    NoteEnd();
    return m_pFilter->NotifyEvent(EC_COMPLETE, S_OK, 0);
}

void TapPin::NoteEnd() {
    m_ended = true;
    SetEvent(m_endEvent);
}

}  // namespace mediakit_tool
