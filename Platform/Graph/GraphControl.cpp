// Moving a graph between states.
#include "Platform/Graph/CSystemClock.h"
#include "Platform/Graph/FilterGraph.h"
#include "Platform/Kernel/Event.h"

#include <chrono>
#include <new>

using namespace topology;

namespace {

/// How long StopWhenReady lets filters come by their first data (milliseconds).
constexpr LONG kReadyTimeout = 1000;

/// Keeps the first failure, and else the first qualified success.
void Note(HRESULT& result, HRESULT hr) {
    if (FAILED(result)) return;
    if (FAILED(hr) || result == S_OK) result = hr;
}

}  // namespace

REFERENCE_TIME CFilterGraph::ClockTime() {
    REFERENCE_TIME now = 0;
    m_clock->GetTime(&now);
    return now;
}

HRESULT CFilterGraph::UseClock(IReferenceClock* clock) {
    HRESULT result = S_OK;
    for (const Member& member : m_members) Note(result, member.filter->SetSyncSource(clock));
    m_clock = ComPtr<IReferenceClock>(clock);
    return result;
}

HRESULT CFilterGraph::SetDefaultSyncSource() {
    GraphAutoLock lock(m_lock);
    if (m_state != State_Stopped) return VFW_E_NOT_STOPPED;
    ComPtr<IReferenceClock> clock;
    if (const HRESULT hr = CreateSystemClock(clock.put()); FAILED(hr)) return hr;
    return UseClock(clock.get());
}

HRESULT CFilterGraph::Pause() try {
    GraphAutoLock lock(m_lock);
    if (m_state == State_Paused) return S_OK;
    return PauseFilters();
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT CFilterGraph::PauseFilters() {
    const bool starting = m_state == State_Stopped;
    const FilterList filters = List();
    if (starting) {
        if (!m_clock)
            if (const HRESULT hr = SetDefaultSyncSource(); FAILED(hr)) return hr;
        m_streamTime = 0;
        m_events.Expect(RenderersOf(filters));
    } else {
        m_streamTime = ClockTime() - m_start;
    }
    HRESULT result = S_OK;
    for (const FilterPtr& filter : DownstreamFirst(filters)) {
        const HRESULT hr = filter->Pause();
        Note(result, hr);
        if (FAILED(hr) && starting) {
            StopFilters();
            return hr;
        }
    }
    m_state = State_Paused;
    m_events.SetState(State_Paused);
    return result;
}

HRESULT CFilterGraph::Run() try {
    GraphAutoLock lock(m_lock);
    if (m_state == State_Running) return S_OK;
    HRESULT result = m_state == State_Stopped ? PauseFilters() : S_OK;
    if (SUCCEEDED(result)) Note(result, RunFilters());
    return result;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT CFilterGraph::RunFilters() {
    m_start = ClockTime() - m_streamTime;
    // A short stream may end while its filters are still being run.
    m_events.SetState(State_Running);
    HRESULT result = S_OK;
    for (const FilterPtr& filter : DownstreamFirst(List())) {
        const HRESULT hr = filter->Run(m_start);
        Note(result, hr);
        if (FAILED(hr)) {
            StopFilters();
            return hr;
        }
    }
    m_state = State_Running;
    return result;
}

HRESULT CFilterGraph::Stop() try {
    GraphAutoLock lock(m_lock);
    if (m_state == State_Stopped) return S_OK;
    return StopFilters();
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT CFilterGraph::StopFilters() {
    HRESULT result = S_OK;
    for (const FilterPtr& filter : StopOrder(List())) Note(result, filter->Stop());
    m_state = State_Stopped;
    m_streamTime = 0;
    m_events.SetState(State_Stopped);
    return result;
}

HRESULT CFilterGraph::GetState(LONG msTimeout, OAFilterState* pfs) try {
    if (pfs == nullptr) return E_POINTER;
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    FilterList filters;
    {
        GraphAutoLock lock(m_lock);
        *pfs = m_state;
        filters = List();
    }
    HRESULT result = S_OK;
    for (const FilterPtr& filter : filters) {
        const auto passed = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
        const DWORD left = msTimeout < 0 ? INFINITE : passed >= msTimeout ? 0 : static_cast<DWORD>(msTimeout - passed);
        FILTER_STATE state = State_Stopped;
        const HRESULT hr = filter->GetState(left, &state);
        // A filter that is on its way matters more than one that has nothing to show.
        if (FAILED(hr) || hr == VFW_S_STATE_INTERMEDIATE) return hr;
        Note(result, hr);
    }
    return result;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT CFilterGraph::StopWhenReady() {
    if (const HRESULT hr = Pause(); FAILED(hr)) return hr;
    OAFilterState state = State_Stopped;
    const HRESULT ready = GetState(kReadyTimeout, &state);
    const HRESULT stopped = Stop();
    return FAILED(ready) ? ready : stopped;
}

CFilterGraph::Seekers CFilterGraph::FindSeekers() try {
    GraphAutoLock lock(m_lock);
    Seekers seekers;
    for (const FilterPtr& renderer : RenderersOf(List()))
        if (auto seeking = renderer.query<IMediaSeeking>()) seekers.push_back(std::move(seeking));
    return seekers;
} catch (const std::bad_alloc&) {
    return {};
}

HRESULT CFilterGraph::SeekWhilePaused(const std::function<HRESULT()>& seek) try {
    GraphAutoLock lock(m_lock);
    const bool running = m_state == State_Running;
    if (running)
        if (const HRESULT hr = Pause(); FAILED(hr)) return hr;
    const HRESULT hr = seek();
    if (SUCCEEDED(hr)) {
        m_streamTime = 0;
        m_events.Expect(RenderersOf(List()));
    }
    const HRESULT ran = running ? Run() : S_OK;
    return FAILED(hr) ? hr : FAILED(ran) ? ran : hr;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}
