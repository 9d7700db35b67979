// Streams, tracks and inputs for the tests of authoring.
#pragma once

#include "Testing/Kit/heap_sample.h"
#include "VideoIO/StreamFilters/Authoring/TrackInput.h"

#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace Norvane::MediaKit::Filters::testdata {

/// Video whose type has no entry in `stsd`, so that expected files can be written down without one.
inline CMediaType VideoType(REFERENCE_TIME frameTime = 400000, LONG width = 64, LONG height = 48) {
    CMediaType type(&MEDIATYPE_Video);
    type.subtype = MEDIASUBTYPE_DIVX;
    type.formattype = FORMAT_VideoInfo;
    VIDEOINFOHEADER format{};
    format.AvgTimePerFrame = frameTime;
    format.bmiHeader.biWidth = width;
    format.bmiHeader.biHeight = height;
    type.SetFormat(reinterpret_cast<const BYTE*>(&format), sizeof format);
    return type;
}

inline CMediaType AudioType(DWORD samplesPerSecond = 48000) {
    CMediaType type(&MEDIATYPE_Audio);
    type.subtype = MEDIASUBTYPE_MP3;
    type.formattype = FORMAT_WaveFormatEx;
    WAVEFORMATEX format{};
    format.nChannels = 2;
    format.nSamplesPerSec = samplesPerSecond;
    type.SetFormat(reinterpret_cast<const BYTE*>(&format), sizeof format);
    return type;
}

/// A pin as authoring sees it.
class FakeInput final : public TrackInput {
public:
    FakeInput(std::uint32_t index, const CMediaType& type) : m_index(index), m_type(type) {
        m_name = L"Input_" + std::to_wstring(index);
    }

    bool connected = true;
    bool getsHandler = true;  ///< at its first sample

    bool IsTrackConnected() const override { return connected; }
    std::uint32_t TrackIndex() const override { return m_index; }
    const wchar_t* TrackName() const override { return m_name.c_str(); }
    const CMediaType& TrackMediaType() const override { return m_type; }
    MovieTrack& Track() override { return m_track; }
    InputState& State() override { return m_state; }

    /// Queues a sample as a pin would.
    void Add(REFERENCE_TIME start, REFERENCE_TIME duration, std::vector<BYTE> bytes, bool sync = true) {
        if (m_type.majortype == MEDIATYPE_Video) m_track.NoteVideoArrival(start);
        if (m_state.firstStart == MinTime) m_state.firstStart = start;
        if (getsHandler && !m_track.handler) m_track.handler = std::make_unique<details::byte_stream_handler>(m_type);
        const auto sample = mediakit_test::heap_sample::create(std::move(bytes), start, start + duration, sync);
        m_state.queue.Push(start - m_state.firstStart, sample.get());
        ++m_state.received;
    }

private:
    const std::uint32_t m_index;
    const CMediaType m_type;
    std::wstring m_name;
    MovieTrack m_track;
    InputState m_state;
};

}  // namespace Norvane::MediaKit::Filters::testdata
