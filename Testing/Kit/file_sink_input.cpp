#include "Testing/Kit/file_sink_input.h"

namespace mediakit_test {

std::vector<file_sink_input::placed> file_sink_input::placements() const {
    const std::lock_guard lock(m_placements_mutex);
    return m_placements;
}

HRESULT file_sink_input::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (offer_stream && (riid == IID_IStream || riid == IID_ISequentialStream))
        return GetInterface(static_cast<IStream*>(this), ppv);
    return sample_recorder::NonDelegatingQueryInterface(riid, ppv);
}

HRESULT file_sink_input::CompleteConnect(IPin* peer) {
    BOOL raw = TRUE;
    if (const auto scaling = ComPtr<IPin>(peer).query<IAMAsyncReaderTimestampScaling>())
        scaling->GetTimestampMode(&raw);
    m_scaled = raw == FALSE;
    return sample_recorder::CompleteConnect(peer);
}

HRESULT file_sink_input::Receive(IMediaSample* sample) {
    if (const HRESULT hr = sample_recorder::Receive(sample); hr != S_OK) return hr;
    return place(*sample);
}

HRESULT file_sink_input::place(IMediaSample& sample) {
    REFERENCE_TIME start = 0;
    REFERENCE_TIME stop = 0;
    if (const HRESULT hr = sample.GetTime(&start, &stop); FAILED(hr)) return hr;
    const LONGLONG position = m_scaled ? start / 10'000'000 : start;
    const auto length = static_cast<ULONG>(sample.GetActualDataLength());
    BYTE* data = nullptr;
    sample.GetPointer(&data);
    if (const HRESULT hr = m_stream->Seek({position}, STREAM_SEEK_SET, nullptr); FAILED(hr)) return hr;
    if (const HRESULT hr = m_stream->Write(data, length, nullptr); FAILED(hr)) return hr;
    const std::lock_guard lock(m_placements_mutex);
    m_placements.push_back({static_cast<std::uint64_t>(position), length});
    return S_OK;
}

}  // namespace mediakit_test
