#include "Platform/Graph/GraphEvents.h"

#include <algorithm>
#include <chrono>
#include <new>

namespace {

using Clock = std::chrono::steady_clock;

/// The platform's time-outs of the host's side: -1 has no end.
DWORD ToWait(LONG milliseconds) { return milliseconds < 0 ? INFINITE : static_cast<DWORD>(milliseconds); }

/// What is left of a time-out that began at `start`.
DWORD Left(DWORD milliseconds, Clock::time_point start) {
    if (milliseconds == INFINITE) return INFINITE;
    const auto passed = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
    return passed >= milliseconds ? 0 : milliseconds - static_cast<DWORD>(passed);
}

bool EndsTheWork(LONG code) { return code == EC_COMPLETE || code == EC_ERRORABORT || code == EC_USERABORT; }

LONG_PTR ToParameter(IBaseFilter* filter) { return reinterpret_cast<LONG_PTR>(filter); }

}  // namespace

GraphEvents::~GraphEvents() {
    std::deque<Event> unread;
    {
        CAutoLock lock(&m_lock);
        unread.swap(m_queue);
    }
    Free(unread);
}

/// With no lock held: the last reference to a filter may go.
void GraphEvents::Free(const std::deque<Event>& events) {
    for (const Event& e : events) FreeEventParams(e.code, e.param1, e.param2);
}

HRESULT GraphEvents::GetEventHandle(OAEVENT* hEvent) {
    if (hEvent == nullptr) return E_POINTER;
    *hEvent = reinterpret_cast<OAEVENT>(static_cast<HANDLE>(m_waiting));
    return S_OK;
}

HRESULT GraphEvents::GetEvent(LONG* lEventCode, LONG_PTR* lParam1, LONG_PTR* lParam2, LONG msTimeout) {
    if (lEventCode == nullptr || lParam1 == nullptr || lParam2 == nullptr) return E_POINTER;
    *lEventCode = 0;
    const auto start = Clock::now();
    // Another thread of the host may take the event that this one was woken for.
    while (m_waiting.Wait(Left(ToWait(msTimeout), start))) {
        CAutoLock lock(&m_lock);
        if (m_queue.empty()) continue;
        const Event event = m_queue.front();
        m_queue.pop_front();
        if (m_queue.empty()) m_waiting.Reset();
        *lEventCode = event.code;
        *lParam1 = event.param1;
        *lParam2 = event.param2;
        return S_OK;
    }
    return E_ABORT;
}

HRESULT GraphEvents::WaitForCompletion(LONG msTimeout, LONG* pEvCode) {
    if (pEvCode == nullptr) return E_POINTER;
    *pEvCode = 0;
    {
        CAutoLock lock(&m_lock);
        if (!m_running) return VFW_E_WRONG_STATE;
    }
    if (!m_completed.Wait(ToWait(msTimeout))) return E_ABORT;
    CAutoLock lock(&m_lock);
    *pEvCode = m_completion;
    return m_completion != 0 ? S_OK : VFW_E_WRONG_STATE;
}

HRESULT GraphEvents::CancelDefaultHandling(LONG lEvCode) {
    if (lEvCode != EC_COMPLETE) return S_FALSE;  // all others go to the host untouched anyway
    CAutoLock lock(&m_lock);
    m_showEachCompletion = true;
    return S_OK;
}

HRESULT GraphEvents::RestoreDefaultHandling(LONG lEvCode) {
    if (lEvCode != EC_COMPLETE) return S_FALSE;
    CAutoLock lock(&m_lock);
    m_showEachCompletion = false;
    return S_OK;
}

HRESULT GraphEvents::FreeEventParams(LONG lEvCode, LONG_PTR, LONG_PTR lParam2) {
    if (lEvCode == EC_COMPLETE && lParam2 != 0) reinterpret_cast<IBaseFilter*>(lParam2)->Release();
    return S_OK;
}

HRESULT GraphEvents::Notify(LONG EventCode, LONG_PTR EventParam1, LONG_PTR EventParam2) {
    CAutoLock lock(&m_lock);
    const bool ends = EventCode == EC_COMPLETE ? CompletesAll(EventParam2) : EndsTheWork(EventCode);
    try {
        if (EventCode != EC_COMPLETE)
            Queue({EventCode, EventParam1, EventParam2});
        else if (m_showEachCompletion)
            Queue({EventCode, EventParam1, EventParam2});
        else if (ends)
            Queue({EC_COMPLETE, S_OK, 0});
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    if (ends && m_completion == 0) {
        m_completion = EventCode;
        m_completed.Set();
    }
    return S_OK;
}

bool GraphEvents::CompletesAll(LONG_PTR sender) {
    if (m_incomplete.empty()) return false;
    const auto it = sender != 0 ? m_incomplete.find(sender) : m_incomplete.begin();
    if (it == m_incomplete.end()) return false;
    m_incomplete.erase(it);
    return m_incomplete.empty();
}

void GraphEvents::Queue(const Event& event) {
    m_queue.push_back(event);
    // The host gives it back with FreeEventParams.
    if (event.code == EC_COMPLETE && event.param2 != 0) reinterpret_cast<IBaseFilter*>(event.param2)->AddRef();
    m_waiting.Set();
}

void GraphEvents::Expect(const topology::FilterList& renderers) {
    std::deque<Event> dropped;
    {
        CAutoLock lock(&m_lock);
        m_incomplete.clear();
        for (const topology::FilterPtr& renderer : renderers) m_incomplete.insert(ToParameter(renderer.get()));
        const auto kept =
            std::stable_partition(m_queue.begin(), m_queue.end(), [](const Event& e) { return e.code != EC_COMPLETE; });
        dropped.assign(kept, m_queue.end());
        m_queue.erase(kept, m_queue.end());
        if (m_queue.empty()) m_waiting.Reset();
        m_completion = 0;
        m_completed.Reset();
    }
    Free(dropped);
}

void GraphEvents::SetState(FILTER_STATE state) {
    CAutoLock lock(&m_lock);
    m_running = state == State_Running;
    if (state == State_Stopped) m_completed.Set();  // the end can no longer come
}
