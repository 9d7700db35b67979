#include "Tools/mediakit/track_consumer.h"

namespace mediakit_tool {

HRESULT TrackConsumer::Take(IMediaSample& sample) {
    BYTE* data = nullptr;
    if (const HRESULT hr = sample.GetPointer(&data); FAILED(hr)) return hr;
    const auto size = static_cast<std::size_t>(sample.GetActualDataLength());
    const auto result = m_writer.Write({data, size}, sample.IsSyncPoint() == S_OK, m_output);
    if (result == TrackWriter::Result::Failed) return E_FAIL;
    if (result == TrackWriter::Result::Damaged && m_damaged++ == 0)
        m_messages.Warning(m_name + ": sample " + std::to_string(m_samples) + ": " + m_writer.Damage());
    LONGLONG start = 0, end = 0;
    if (sample.GetMediaTime(&start, &end) == S_OK) m_position = start;
    m_bytes += size;
    ++m_samples;
    return S_OK;
}

}  // namespace mediakit_tool
