// The graph's default clock: the system's steady one.
#pragma once

#include "Platform/Com/Unknown.h"
#include "Platform/DirectShow/IReferenceClock.h"
#include "Platform/Kernel/CriticalSection.h"
#include "Platform/Kernel/Event.h"
#include "Platform/Kernel/Thread.h"

#include <vector>

/// A thread runs only while something is advised; it sleeps until the next advice is due. Advices are signalled to
/// the nearest millisecond behind their time, never before it. The semaphore of a periodic advice is an event here:
/// periods that nobody waited for do not add up. After Unadvise returns, the advice's event is not touched.
class CSystemClock final : public CUnknown, public IReferenceClock {
public:
    explicit CSystemClock(IUnknown* outer = nullptr) : CUnknown(outer) {}
    ~CSystemClock() override;

    DECLARE_IUNKNOWN
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

    HRESULT GetTime(REFERENCE_TIME* pTime) override;
    HRESULT AdviseTime(REFERENCE_TIME baseTime, REFERENCE_TIME streamTime, HEVENT hEvent,
                       DWORD_PTR* pdwAdviseCookie) override;
    HRESULT AdvisePeriodic(REFERENCE_TIME startTime, REFERENCE_TIME periodTime, HSEMAPHORE hSemaphore,
                           DWORD_PTR* pdwAdviseCookie) override;
    HRESULT Unadvise(DWORD_PTR dwAdviseCookie) override;

    /// Whether the thread runs, for whoever watches what an idle graph costs.
    bool IsThreadRunning();

private:
    struct Advice {
        DWORD_PTR cookie;
        REFERENCE_TIME due;
        REFERENCE_TIME period;  ///< 0 for once
        HANDLE event;
    };

    HRESULT Advise(REFERENCE_TIME due, REFERENCE_TIME period, HANDLE event, DWORD_PTR* cookie) MK_EXCLUDES(m_lock);
    HRESULT StartThread() MK_REQUIRES(m_lock);
    void Run();
    /// Signals what is due and stores how long to sleep (milliseconds); false when no advice is left.
    bool SignalDue(DWORD* sleep) MK_EXCLUDES(m_lock);

    CCritSec m_lock{"system clock", LockRank::Object};
    CAMEvent m_changed;  ///< the advices are not what the thread saw
    Thread m_thread MK_GUARDED_BY(m_lock);
    bool m_running MK_GUARDED_BY(m_lock) = false;  ///< the thread will look at the advices again
    REFERENCE_TIME m_lastTime MK_GUARDED_BY(m_lock) = -1;
    DWORD_PTR m_nextCookie MK_GUARDED_BY(m_lock) = 1;
    std::vector<Advice> m_advices MK_GUARDED_BY(m_lock);
};

/// Stores a new clock with a reference.
HRESULT CreateSystemClock(IReferenceClock** ppClock);
