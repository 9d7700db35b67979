// Choices of a recording that go beyond what the multiplexer does by itself.
#pragma once

#include "Platform/Com/Unknown.h"

namespace Norvane::MediaKit::Filters {

/// Offered by the input pins of a multiplexer. All choices are off at first. They are set before the
/// pin's first sample and refused afterwards with VFW_E_WRONG_STATE. Any thread; the filter lock is
/// taken.
struct IRecordingPolicy : IUnknown {
    /// Non-zero: H.265 units of type 0 (TRAIL_N, pictures that no other refers to) are written too.
    /// Without it they are lost, since the unit scanner takes type 0 for "no unit".
    virtual HRESULT SetKeepEveryUnit(BOOL keep) = 0;
    /// Non-zero: every H.265 random access picture (unit types 16 to 21 of ITU-T H.265 table 7-1) is a
    /// sync sample, not only type 19.
    virtual HRESULT SetEveryRandomAccessPictureIsSync(BOOL sync) = 0;
    /// The track counts its times in so many units a second; 0 takes them from the media type, for video one or a few
    /// units a frame. A copy that has its source's timescale has its times as they were. A track still goes over to
    /// 90000 when two of its pictures start within one unit.
    virtual HRESULT SetTimescale(DWORD unitsPerSecond) = 0;
    /// Non-zero: the start time of the track's first sample is kept, by its edit list: a later start by an empty edit,
    /// an earlier one (decoder delay of audio) by an edit that begins behind it. Without it a track whose samples come
    /// in presentation order begins at 0. This choice and the next one also keep the duration of the last sample, which
    /// is its stop time minus its start time, and tell that of an only sample, which players need. Without them the
    /// media type gives the last duration (a frame of video, one unit of sound), and an only sample has none.
    virtual HRESULT SetKeepStartTime(BOOL keep) = 0;
    /// Non-zero: the media time of a video sample begins at its decode time, which counts from the same zero as its
    /// start time and may lie before it; the track keeps these, and starts with the first. Without it, decode times are
    /// worked out from the order of the start times.
    virtual HRESULT SetMediaTimesAreDecodeTimes(BOOL are) = 0;

protected:
    ~IRecordingPolicy() = default;
};

inline constexpr IID IID_IRecordingPolicy = make_guid("7C0B5E0A-3F52-4D9C-9F0B-6A1E5C8D2B47");

}  // namespace Norvane::MediaKit::Filters

template <>
inline constexpr IID uuid_of<Norvane::MediaKit::Filters::IRecordingPolicy> =
    Norvane::MediaKit::Filters::IID_IRecordingPolicy;
