#include "Platform/Graph/CSystemClock.h"

#include "Platform/Com/ComPtr.h"
#include "Platform/Kernel/Clock.h"

#include <algorithm>
#include <limits>
#include <new>

namespace {

constexpr REFERENCE_TIME kUnitsPerMillisecond = 10'000;

REFERENCE_TIME Now() {
    LARGE_INTEGER count;
    QueryPerformanceCounter(&count);
    return count.QuadPart;  // in units of 100 ns already
}

HANDLE ToHandle(DWORD_PTR value) { return reinterpret_cast<HANDLE>(value); }

}  // namespace

CSystemClock::~CSystemClock() {
    {
        CAutoLock lock(&m_lock);
        m_advices.clear();
        m_changed.Set();
    }
    AllowWaitWithLocks reason("the clock's thread takes no lock but the clock's own, which is free");
    const auto join = [this]() MK_NO_THREAD_SAFETY_ANALYSIS { m_thread.Join(); };
    join();
}

HRESULT CSystemClock::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IReferenceClock) return GetInterface<IReferenceClock>(this, ppv);
    return CUnknown::NonDelegatingQueryInterface(riid, ppv);
}

HRESULT CSystemClock::GetTime(REFERENCE_TIME* pTime) {
    if (pTime == nullptr) return E_POINTER;
    CAutoLock lock(&m_lock);
    *pTime = Now();
    const bool moved = *pTime != m_lastTime;
    m_lastTime = *pTime;
    return moved ? S_OK : S_FALSE;
}

HRESULT CSystemClock::AdviseTime(REFERENCE_TIME baseTime, REFERENCE_TIME streamTime, HEVENT hEvent,
                                 DWORD_PTR* pdwAdviseCookie) {
    if (baseTime < 0 || streamTime > std::numeric_limits<REFERENCE_TIME>::max() - baseTime) return E_INVALIDARG;
    return Advise(baseTime + streamTime, 0, ToHandle(hEvent), pdwAdviseCookie);
}

HRESULT CSystemClock::AdvisePeriodic(REFERENCE_TIME startTime, REFERENCE_TIME periodTime, HSEMAPHORE hSemaphore,
                                     DWORD_PTR* pdwAdviseCookie) {
    if (startTime < 0 || periodTime <= 0) return E_INVALIDARG;
    return Advise(startTime, periodTime, ToHandle(hSemaphore), pdwAdviseCookie);
}

HRESULT CSystemClock::Advise(REFERENCE_TIME due, REFERENCE_TIME period, HANDLE event, DWORD_PTR* cookie) {
    if (cookie == nullptr) return E_POINTER;
    if (event == nullptr) return E_INVALIDARG;
    *cookie = 0;
    CAutoLock lock(&m_lock);
    try {
        m_advices.push_back({m_nextCookie, due, period, event});
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    if (const HRESULT hr = StartThread(); FAILED(hr)) {
        m_advices.pop_back();
        return hr;
    }
    *cookie = m_nextCookie++;
    return S_OK;
}

HRESULT CSystemClock::StartThread() {
    m_changed.Set();
    if (m_running) return S_OK;
    AllowWaitWithLocks reason("the former thread has seen the last of the lock and is returning");
    m_thread.Join();
    m_running = m_thread.Start([this] { Run(); }, "clock");
    return m_running ? S_OK : E_OUTOFMEMORY;
}

HRESULT CSystemClock::Unadvise(DWORD_PTR dwAdviseCookie) {
    CAutoLock lock(&m_lock);
    const bool known = std::erase_if(m_advices, [=](const Advice& a) { return a.cookie == dwAdviseCookie; }) != 0;
    if (known) m_changed.Set();
    return known ? S_OK : S_FALSE;
}

bool CSystemClock::IsThreadRunning() {
    CAutoLock lock(&m_lock);
    return m_running;
}

void CSystemClock::Run() {
    DWORD sleep = 0;
    while (SignalDue(&sleep)) m_changed.Wait(sleep);
}

bool CSystemClock::SignalDue(DWORD* sleep) {
    CAutoLock lock(&m_lock);
    const REFERENCE_TIME now = Now();
    for (Advice& advice : m_advices) {
        if (advice.due > now) continue;
        SetEvent(advice.event);
        // What was slept through is one signal.
        if (advice.period > 0) advice.due += ((now - advice.due) / advice.period + 1) * advice.period;
    }
    std::erase_if(m_advices, [now](const Advice& a) { return a.due <= now; });
    m_running = !m_advices.empty();
    if (!m_running) return false;

    const auto next = std::min_element(m_advices.begin(), m_advices.end(),
                                       [](const Advice& a, const Advice& b) { return a.due < b.due; });
    const REFERENCE_TIME left = (next->due - now + kUnitsPerMillisecond - 1) / kUnitsPerMillisecond;
    *sleep = static_cast<DWORD>(std::min<REFERENCE_TIME>(left, INFINITE - 1));
    return true;
}

HRESULT CreateSystemClock(IReferenceClock** ppClock) {
    if (ppClock == nullptr) return E_POINTER;
    *ppClock = new (std::nothrow) CSystemClock;
    if (*ppClock == nullptr) return E_OUTOFMEMORY;
    (*ppClock)->AddRef();
    return S_OK;
}
