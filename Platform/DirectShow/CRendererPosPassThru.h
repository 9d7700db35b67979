// Positions of a renderer: where it is, it knows itself; the rest is upstream's.
#pragma once

#include "Platform/DirectShow/CPosPassThru.h"
#include "Platform/Kernel/CriticalSection.h"

struct IMediaSample;

/// The renderer registers the times of each sample that it takes, on its streaming thread.
class CRendererPosPassThru : public CPosPassThru {
public:
    CRendererPosPassThru(const char* pName, IUnknown* pUnk, HRESULT* phr, IPin* pPin);

    /// Keeps the sample's times. 100 ns.
    HRESULT RegisterMediaTime(IMediaSample* pMediaSample);
    HRESULT RegisterMediaTime(LONGLONG StartTime, LONGLONG EndTime);
    /// No sample is registered any more.
    HRESULT ResetMediaTime();
    /// The end of the stream was reached: the position is the stop position. E_FAIL when no sample was registered.
    HRESULT EOS();

    /// E_FAIL when no sample is registered.
    HRESULT GetMediaTime(LONGLONG* pStartTime, LONGLONG* pEndTime) override;

private:
    CCritSec m_PositionLock{"CRendererPosPassThru", LockRank::Object};
    LONGLONG m_StartMedia MK_GUARDED_BY(m_PositionLock) = 0;
    LONGLONG m_EndMedia MK_GUARDED_BY(m_PositionLock) = 0;
    bool m_bReset MK_GUARDED_BY(m_PositionLock) = true;
};
