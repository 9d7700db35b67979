// Choices of recording a track that go beyond what the multiplexer does by default.
#pragma once

#include "Platform/Com/Unknown.h"

namespace Norvane::MediaKit::Filters {

/// All off, or 0, by default.
struct RecordingOptions {
    /// Write H.265 units of type 0 (TRAIL_N, pictures that no other refers to) too. Off: they are lost, since the unit
    /// scanner takes type 0 for "no unit".
    bool keepEveryH265Unit = false;
    /// Every H.265 random access picture (unit types 16 to 21 of ITU-T H.265, table 7-1) is a sync sample. Off: type 19
    /// alone is.
    bool everyRandomAccessPictureIsSync = false;
    /// Ticks a second in which the track counts its times; 0 takes them from the media type, for video one or a few
    /// ticks a frame. A copy with its source's timescale has exactly its source's times. A track still changes to 90000
    /// when two of its pictures start on one tick.
    DWORD timescale = 0;
    /// Keep the start time of the track's first sample, by the edit list: an empty edit for a later start, an edit that
    /// begins after 0 for an earlier one (decoder delay of audio). Off: a track whose samples come in presentation
    /// order begins at 0. This option and the next one also take the duration of the last sample from its stop time,
    /// and write that of an only sample, which players need. Off: the media type gives the last duration (a frame of
    /// video, one tick of sound), and an only sample has none.
    bool keepStartTime = false;
    /// The media time of a video sample begins at its decode time, which counts from the same zero as its start time
    /// and may precede it; the track keeps these, and starts with the first. Off: decode times follow from the order of
    /// the start times.
    bool mediaTimesAreDecodeTimes = false;
};

/// Offered by the input pins of a multiplexer. Any thread; takes the filter lock.
struct IRecordingPolicy : IUnknown {
    /// Takes effect at the next run's first sample. VFW_E_WRONG_STATE after the first sample of a run, until it stops.
    virtual HRESULT SetOptions(const RecordingOptions* options) = 0;
    virtual HRESULT GetOptions(RecordingOptions* options) = 0;

protected:
    ~IRecordingPolicy() = default;
};

inline constexpr IID IID_IRecordingPolicy = make_guid("7C0B5E0A-3F52-4D9C-9F0B-6A1E5C8D2B47");

}  // namespace Norvane::MediaKit::Filters

template <>
inline constexpr IID uuid_of<Norvane::MediaKit::Filters::IRecordingPolicy> =
    Norvane::MediaKit::Filters::IID_IRecordingPolicy;
