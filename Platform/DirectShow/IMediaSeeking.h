// Positions in a stream.
#pragma once

#include "Platform/Com/Unknown.h"

/// Flags of SetPositions: one of the four positionings for each value, and modifiers.
enum AM_SEEKING_SEEKING_FLAGS : DWORD {
    AM_SEEKING_NoPositioning = 0,
    AM_SEEKING_AbsolutePositioning = 1,
    AM_SEEKING_RelativePositioning = 2,
    AM_SEEKING_IncrementalPositioning = 3,
    AM_SEEKING_PositioningBitsMask = 3,
    AM_SEEKING_SeekToKeyFrame = 4,
    AM_SEEKING_ReturnTime = 8,
    AM_SEEKING_Segment = 0x10,
    AM_SEEKING_NoFlush = 0x20,
};

enum AM_SEEKING_SEEKING_CAPABILITIES : DWORD {
    AM_SEEKING_CanSeekAbsolute = 0x1,
    AM_SEEKING_CanSeekForwards = 0x2,
    AM_SEEKING_CanSeekBackwards = 0x4,
    AM_SEEKING_CanGetCurrentPos = 0x8,
    AM_SEEKING_CanGetStopPos = 0x10,
    AM_SEEKING_CanGetDuration = 0x20,
    AM_SEEKING_CanPlayBackwards = 0x40,
    AM_SEEKING_CanDoSegments = 0x80,
    AM_SEEKING_Source = 0x100,
};

/// Called on the host's thread; the object takes its own lock. Times in the current time format, 100 ns unless
/// SetTimeFormat chose another.
struct IMediaSeeking : IUnknown {
    virtual HRESULT GetCapabilities(DWORD* pCapabilities) = 0;
    /// S_OK when all of *pCapabilities are there, S_FALSE when some are missing.
    virtual HRESULT CheckCapabilities(DWORD* pCapabilities) = 0;
    /// S_OK or S_FALSE.
    virtual HRESULT IsFormatSupported(const GUID* pFormat) = 0;
    virtual HRESULT QueryPreferredFormat(GUID* pFormat) = 0;
    virtual HRESULT GetTimeFormat(GUID* pFormat) = 0;
    /// S_OK or S_FALSE.
    virtual HRESULT IsUsingTimeFormat(const GUID* pFormat) = 0;
    /// VFW_E_WRONG_STATE unless stopped.
    virtual HRESULT SetTimeFormat(const GUID* pFormat) = 0;
    virtual HRESULT GetDuration(LONGLONG* pDuration) = 0;
    virtual HRESULT GetStopPosition(LONGLONG* pStop) = 0;
    virtual HRESULT GetCurrentPosition(LONGLONG* pCurrent) = 0;
    /// A null format is the current one.
    virtual HRESULT ConvertTimeFormat(LONGLONG* pTarget, const GUID* pTargetFormat, LONGLONG Source,
                                      const GUID* pSourceFormat) = 0;
    /// Sets current and stop position as their flags say; with AM_SEEKING_ReturnTime stores what they came to.
    virtual HRESULT SetPositions(LONGLONG* pCurrent, DWORD dwCurrentFlags, LONGLONG* pStop, DWORD dwStopFlags) = 0;
    /// Either may be null.
    virtual HRESULT GetPositions(LONGLONG* pCurrent, LONGLONG* pStop) = 0;
    /// Stores the range that can be sought to; either may be null.
    virtual HRESULT GetAvailable(LONGLONG* pEarliest, LONGLONG* pLatest) = 0;
    /// 1.0 is natural speed.
    virtual HRESULT SetRate(double dRate) = 0;
    virtual HRESULT GetRate(double* pdRate) = 0;
    virtual HRESULT GetPreroll(LONGLONG* pllPreroll) = 0;

protected:
    ~IMediaSeeking() = default;
};

inline constexpr IID IID_IMediaSeeking = make_guid("36B73880-C2C8-11CF-8B46-00805F6CEF60");
template <>
inline constexpr IID uuid_of<IMediaSeeking> = IID_IMediaSeeking;
