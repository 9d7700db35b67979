// The graph's event queue: filters put in, the host takes out.
#pragma once

#include "Platform/DirectShow/IMediaEvent.h"
#include "Platform/DirectShow/IMediaEventSink.h"
#include "Platform/Graph/Topology.h"
#include "Platform/Kernel/CriticalSection.h"
#include "Platform/Kernel/Event.h"

#include <deque>
#include <set>

/// A part of the graph object, whose identity and count it shares. Any thread; the lock is the queue's own and no
/// other is taken inside.
class GraphEvents final : public CUnknown, public CDispatch<IMediaEvent>, public IMediaEventSink {
public:
    explicit GraphEvents(IUnknown* graph) : CUnknown(graph) {}
    ~GraphEvents() override;

    DECLARE_IUNKNOWN

    HRESULT GetEventHandle(OAEVENT* hEvent) override;
    HRESULT GetEvent(LONG* lEventCode, LONG_PTR* lParam1, LONG_PTR* lParam2, LONG msTimeout) override;
    HRESULT WaitForCompletion(LONG msTimeout, LONG* pEvCode) override;
    HRESULT CancelDefaultHandling(LONG lEvCode) override;
    HRESULT RestoreDefaultHandling(LONG lEvCode) override;
    HRESULT FreeEventParams(LONG lEvCode, LONG_PTR lParam1, LONG_PTR lParam2) override;

    HRESULT Notify(LONG EventCode, LONG_PTR EventParam1, LONG_PTR EventParam2) override;

    /// The graph is about to start, or to start over at another position: completion waits for these filters anew,
    /// and what is queued of an earlier completion is dropped.
    void Expect(const topology::FilterList& renderers);
    /// WaitForCompletion begins only while running; a pause leaves it waiting, a stop ends it.
    void SetState(FILTER_STATE state);

private:
    struct Event {
        LONG code;
        LONG_PTR param1;
        LONG_PTR param2;
    };

    /// Whether that was the last renderer to complete. A sender that does not say who it is counts for any.
    bool CompletesAll(LONG_PTR sender) MK_REQUIRES(m_lock);
    void Free(const std::deque<Event>& events) MK_EXCLUDES(m_lock);
    void Queue(const Event& event) MK_REQUIRES(m_lock);

    CCritSec m_lock{"graph events", LockRank::Object};
    std::deque<Event> m_queue MK_GUARDED_BY(m_lock);
    std::set<LONG_PTR> m_incomplete MK_GUARDED_BY(m_lock);  ///< renderers that have not completed, by address
    bool m_showEachCompletion MK_GUARDED_BY(m_lock) = false;
    bool m_running MK_GUARDED_BY(m_lock) = false;
    LONG m_completion MK_GUARDED_BY(m_lock) = 0;  ///< the event that ended the graph's work
    CAMEvent m_waiting{true};                     ///< the queue is not empty
    CAMEvent m_completed{true};                   ///< m_completion is set
};
