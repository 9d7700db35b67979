// IMediaSeeking of a source that knows its duration, in units of 100 ns only.
#pragma once

#include "Platform/DirectShow/IMediaSeeking.h"
#include "Platform/DirectShow/Uuids.h"
#include "Platform/Kernel/CriticalSection.h"

/// Fields are read and written under *m_pLock; ChangeStart, ChangeStop and ChangeRate are called after they changed,
/// without the lock, since they wait for the streams' threads.
class CSourceSeeking : public CUnknown, public IMediaSeeking {
public:
    CSourceSeeking(const char* pName, IUnknown* pUnk, HRESULT* phr, CCritSec* pLock);

    DECLARE_IUNKNOWN
    /// IMediaSeeking.
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

    HRESULT GetCapabilities(DWORD* pCapabilities) override;
    HRESULT CheckCapabilities(DWORD* pCapabilities) override;
    HRESULT IsFormatSupported(const GUID* pFormat) override;
    HRESULT QueryPreferredFormat(GUID* pFormat) override;
    HRESULT GetTimeFormat(GUID* pFormat) override;
    HRESULT IsUsingTimeFormat(const GUID* pFormat) override;
    HRESULT SetTimeFormat(const GUID* pFormat) override;
    HRESULT GetDuration(LONGLONG* pDuration) override;
    HRESULT GetStopPosition(LONGLONG* pStop) override;
    /// E_NOTIMPL: a source does not know what is being shown.
    HRESULT GetCurrentPosition(LONGLONG* pCurrent) override;
    HRESULT ConvertTimeFormat(LONGLONG* pTarget, const GUID* pTargetFormat, LONGLONG Source,
                              const GUID* pSourceFormat) override;
    /// Calls ChangeStart when a start was given, else ChangeStop when a stop was. The start may be absolute or
    /// relative, the stop also incremental; E_INVALIDARG otherwise. What would leave the range ends up at its end.
    HRESULT SetPositions(LONGLONG* pCurrent, DWORD CurrentFlags, LONGLONG* pStop, DWORD StopFlags) override;
    HRESULT GetPositions(LONGLONG* pCurrent, LONGLONG* pStop) override;
    HRESULT GetAvailable(LONGLONG* pEarliest, LONGLONG* pLatest) override;
    HRESULT SetRate(double dRate) override;
    HRESULT GetRate(double* pdRate) override;
    HRESULT GetPreroll(LONGLONG* pPreroll) override;

protected:
    virtual HRESULT ChangeStart() = 0;
    virtual HRESULT ChangeStop() = 0;
    virtual HRESULT ChangeRate() = 0;

    /// Half the range, so that sums with it do not overflow.
    static constexpr LONGLONG kUnknownDuration = 0x7FFFFFFFFFFFFFFF / 2;

    REFERENCE_TIME m_rtDuration = kUnknownDuration;
    REFERENCE_TIME m_rtStart = 0;
    REFERENCE_TIME m_rtStop = kUnknownDuration;
    double m_dRateSeeking = 1.0;
    DWORD m_dwSeekingCaps = AM_SEEKING_CanSeekForwards | AM_SEEKING_CanSeekBackwards | AM_SEEKING_CanSeekAbsolute |
                            AM_SEEKING_CanGetStopPos | AM_SEEKING_CanGetDuration;
    CCritSec* const m_pLock;
};
