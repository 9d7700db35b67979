// Streams, tracks and inputs for the tests of authoring.
#pragma once

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
    FakeInput(std::uint32_t index, const CMediaType& type)
        : m_index(index), m_type(type), m_name(L"Input_" + std::to_wstring(index)) {}

    bool connected = true;
    bool getsHandler = true;  ///< at its first sample
    int drained = 0;          ///< times that it was signalled

    bool IsTrackConnected() const override { return connected; }
    std::uint32_t TrackIndex() const override { return m_index; }
    const wchar_t* TrackName() const override { return m_name.c_str(); }
    const CMediaType& TrackMediaType() const override { return m_type; }
    MovieTrack& Track() override { return m_track; }
    void SignalEndOfTrack() override {}
    void SignalDrained() override { ++drained; }
    void ResetEndOfTrack() override {}

private:
    const std::uint32_t m_index;
    const CMediaType m_type;
    const std::wstring m_name;
    MovieTrack m_track;
};

}  // namespace Norvane::MediaKit::Filters::testdata
