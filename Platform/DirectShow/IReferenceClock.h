// The clock that a graph runs by.
#pragma once

#include "Platform/Com/Unknown.h"

/// Handles of an event and a semaphore, as numbers.
using HEVENT = DWORD_PTR;
using HSEMAPHORE = DWORD_PTR;

/// Any thread; the clock takes its own lock. Times in 100 ns on the clock's own scale, which never runs backwards.
struct IReferenceClock : IUnknown {
    /// Stores the present time. S_OK; S_FALSE when it has not moved since the last call; E_POINTER.
    virtual HRESULT GetTime(REFERENCE_TIME* pTime) = 0;
    /// Signals hEvent once when baseTime + streamTime is reached. The event stays the caller's and must live until it
    /// was signalled or the advice is taken back. Stores the cookie for Unadvise.
    virtual HRESULT AdviseTime(REFERENCE_TIME baseTime, REFERENCE_TIME streamTime, HEVENT hEvent,
                               DWORD_PTR* pdwAdviseCookie) = 0;
    /// Releases hSemaphore at startTime and then each periodTime.
    virtual HRESULT AdvisePeriodic(REFERENCE_TIME startTime, REFERENCE_TIME periodTime, HSEMAPHORE hSemaphore,
                                   DWORD_PTR* pdwAdviseCookie) = 0;
    /// Takes an advice back. S_OK, or S_FALSE when it is not known (any more).
    virtual HRESULT Unadvise(DWORD_PTR dwAdviseCookie) = 0;

protected:
    ~IReferenceClock() = default;
};

inline constexpr IID IID_IReferenceClock = make_guid("56A86897-0AD4-11CE-B03A-0020AF0BA770");
template <>
inline constexpr IID uuid_of<IReferenceClock> = IID_IReferenceClock;
