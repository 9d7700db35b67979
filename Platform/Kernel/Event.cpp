#include "Platform/Kernel/Event.h"

#include "Platform/Kernel/CriticalSection.h"
#include "Platform/Kernel/EventTable.h"
#include "Platform/Kernel/LastError.h"

#include <algorithm>
#include <span>

/// A thread that waits for one of its events or for all of them; on that thread's stack. It leaves only after each
/// of its nodes is off its event's list, so that whoever holds an event's lock may use the waiters on its list.
struct Waiter {
    static constexpr int kWaiting = -1;
    static constexpr int kTimedOut = -2;

    explicit Waiter(bool waitAll) : all(waitAll) {}

    const bool all;
    ParkingPlace place;
    /// For one event: the index of the event that ended the wait. Whoever moves it from kWaiting unparks.
    std::atomic<int> outcome{kWaiting};
    Waiter* nextWoken = nullptr;

    bool Claim(int result) {
        int expected = kWaiting;
        return outcome.compare_exchange_strong(expected, result, std::memory_order_acq_rel);
    }
};

namespace {

DWORD WaitFailed(DWORD error) {
    SetLastError(error);
    return WAIT_FAILED;
}

BOOL InvalidHandle() {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
}

/// Gives the signal to the waiters it satisfies. Those that wait for one event are taken off the list and
/// chained, to be unparked without the lock; those that wait for all are made to look again.
Waiter* TakeSatisfied(EventSlot& slot) MK_REQUIRES(slot.lock) {
    Waiter* woken = nullptr;
    WaitNode* next = nullptr;
    for (WaitNode* node = slot.first; node != nullptr && slot.signalled; node = next) {
        next = node->next;
        Waiter& waiter = *node->waiter;
        if (waiter.all) {
            waiter.place.Unpark();
        } else if (waiter.Claim(node->index)) {
            slot.Unlink(*node);
            slot.signalled = slot.manual;
            waiter.nextWoken = woken;
            woken = &waiter;
        }
    }
    return woken;
}

/// Takes a node off its event's list, if it is still there; a closed event goes with its last waiter.
void Leave(EventSlot& slot, WaitNode& node) {
    slot.lock.Lock();
    const bool abandoned = node.linked && (slot.Unlink(node), slot.first == nullptr && !slot.open);
    slot.lock.Unlock();
    if (abandoned) EventTable::Instance().Recycle(slot);
}

/// The events of one wait. The arrays are filled as far as there are events: a wait is too frequent to clear them.
class WaitSet {
public:
    /// False for a handle that was never given out, or for one that stands twice where all are waited for.
    DWORD Resolve(std::span<const HANDLE> handles, bool waitAll) {
        m_count = handles.size();
        for (std::size_t i = 0; i < m_count; ++i) {
            m_events[i] = EventTable::Instance().Find(handles[i]);
            if (m_events[i].slot == nullptr) return ERROR_INVALID_HANDLE;
            m_order[i] = m_events[i].slot;
        }
        EventSlot** const end = m_order + m_count;
        std::sort(m_order, end);
        m_distinct = static_cast<std::size_t>(std::unique(m_order, end) - m_order);
        return waitAll && m_distinct != m_count ? ERROR_INVALID_PARAMETER : NO_ERROR;
    }

    void LockAll() MK_NO_THREAD_SAFETY_ANALYSIS {
        for (std::size_t i = 0; i < m_distinct; ++i) m_order[i]->lock.Lock();
    }
    void UnlockAll() MK_NO_THREAD_SAFETY_ANALYSIS {
        for (std::size_t i = m_distinct; i-- > 0;) m_order[i]->lock.Unlock();
    }

    // With all locked:

    bool AllCurrent() const MK_NO_THREAD_SAFETY_ANALYSIS {
        return std::all_of(m_events, m_events + m_count, [](const EventReference& e) MK_NO_THREAD_SAFETY_ANALYSIS {
            return e.slot->IsCurrent(e.generation);
        });
    }
    /// Takes the signal of the first set event, or of all; WAIT_TIMEOUT when there is not what is waited for.
    DWORD Take(bool waitAll) MK_NO_THREAD_SAFETY_ANALYSIS {
        std::size_t set = 0;
        for (; set < m_count; ++set)
            if (m_events[set].slot->signalled != waitAll) break;
        if ((set == m_count) != waitAll) return WAIT_TIMEOUT;
        if (!waitAll) {
            Consume(*m_events[set].slot);
            return WAIT_OBJECT_0 + static_cast<DWORD>(set);
        }
        for (std::size_t i = 0; i < m_count; ++i) Consume(*m_events[i].slot);
        return WAIT_OBJECT_0;
    }
    void Join(Waiter& waiter) MK_NO_THREAD_SAFETY_ANALYSIS {
        for (std::size_t i = 0; i < m_count; ++i) {
            m_nodes[i] = {&waiter, nullptr, nullptr, static_cast<int>(i), false};
            m_events[i].slot->Link(m_nodes[i]);
        }
    }

    // With none locked:

    /// `except` is an event that its setter has taken this waiter off already, or negative.
    void LeaveAll(int except) {
        for (std::size_t i = 0; i < m_count; ++i)
            if (static_cast<int>(i) != except) Leave(*m_events[i].slot, m_nodes[i]);
    }

private:
    static void Consume(EventSlot& slot) MK_REQUIRES(slot.lock) { slot.signalled = slot.manual; }

    std::size_t m_count = 0;
    std::size_t m_distinct = 0;
    EventReference m_events[MAXIMUM_WAIT_OBJECTS];  ///< in the caller's order
    EventSlot* m_order[MAXIMUM_WAIT_OBJECTS];       ///< in the order of locking, each once
    WaitNode m_nodes[MAXIMUM_WAIT_OBJECTS];
};

DWORD SleepForOne(WaitSet& set, Waiter& waiter, const Deadline* deadline) {
    // A time-out that comes at the same time as a signal loses; the setter's unpark is then on its way.
    if (!waiter.place.Park(deadline) && !waiter.Claim(Waiter::kTimedOut)) waiter.place.Park(nullptr);
    const int outcome = waiter.outcome.load(std::memory_order_acquire);
    set.LeaveAll(outcome);
    return outcome == Waiter::kTimedOut ? WAIT_TIMEOUT : WAIT_OBJECT_0 + static_cast<DWORD>(outcome);
}

DWORD SleepForAll(WaitSet& set, Waiter& waiter, const Deadline* deadline) {
    for (;;) {
        const bool unparked = waiter.place.Park(deadline);
        set.LockAll();
        const DWORD result = set.Take(true);
        set.UnlockAll();
        if (result == WAIT_TIMEOUT && unparked) continue;
        set.LeaveAll(-1);
        return result;
    }
}

}  // namespace

HANDLE CreateEventExW(const SECURITY_ATTRIBUTES*, const wchar_t* name, DWORD flags, DWORD) noexcept {
    if (name != nullptr) {
        SetLastError(ERROR_NOT_SUPPORTED);
        return nullptr;
    }
    if ((flags & ~(CREATE_EVENT_MANUAL_RESET | CREATE_EVENT_INITIAL_SET)) != 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    const HANDLE handle = EventTable::Instance().Create((flags & CREATE_EVENT_MANUAL_RESET) != 0,
                                                        (flags & CREATE_EVENT_INITIAL_SET) != 0);
    if (handle == nullptr) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return handle;
}

BOOL SetEvent(HANDLE event) noexcept {
    const auto [slot, generation] = EventTable::Instance().Find(event);
    if (slot == nullptr) return InvalidHandle();
    slot->lock.Lock();
    const bool current = slot->IsCurrent(generation);
    if (current) slot->signalled = true;
    Waiter* woken = current ? TakeSatisfied(*slot) : nullptr;
    slot->lock.Unlock();
    while (woken != nullptr) {
        Waiter* next = woken->nextWoken;
        woken->place.Unpark();
        woken = next;
    }
    return current ? TRUE : InvalidHandle();
}

BOOL ResetEvent(HANDLE event) noexcept {
    const auto [slot, generation] = EventTable::Instance().Find(event);
    if (slot == nullptr) return InvalidHandle();
    slot->lock.Lock();
    const bool current = slot->IsCurrent(generation);
    if (current) slot->signalled = false;
    slot->lock.Unlock();
    return current ? TRUE : InvalidHandle();
}

BOOL CloseHandle(HANDLE handle) noexcept {
    const auto [slot, generation] = EventTable::Instance().Find(handle);
    if (slot == nullptr) return InvalidHandle();
    slot->lock.Lock();
    const bool current = slot->IsCurrent(generation);
    if (current) slot->open = false;
    const bool abandoned = current && slot->first == nullptr;
    slot->lock.Unlock();
    if (abandoned) EventTable::Instance().Recycle(*slot);
    return current ? TRUE : InvalidHandle();
}

DWORD WaitForSingleObject(HANDLE event, DWORD milliseconds) noexcept {
    return WaitForMultipleObjects(1, &event, FALSE, milliseconds);
}

DWORD WaitForMultipleObjects(DWORD count, const HANDLE* events, BOOL waitAll, DWORD milliseconds) noexcept {
    if (count == 0 || count > MAXIMUM_WAIT_OBJECTS || events == nullptr) return WaitFailed(ERROR_INVALID_PARAMETER);
    if (milliseconds != 0) AssertMayWait("Waiting for events");
    const bool all = waitAll != FALSE;
    WaitSet set;
    if (const DWORD error = set.Resolve({events, count}, all); error != NO_ERROR) return WaitFailed(error);

    set.LockAll();
    if (!set.AllCurrent()) {
        set.UnlockAll();
        return WaitFailed(ERROR_INVALID_HANDLE);
    }
    const DWORD now = set.Take(all);
    if (now != WAIT_TIMEOUT || milliseconds == 0) {
        set.UnlockAll();
        return now;
    }
    Waiter waiter(all);
    set.Join(waiter);
    set.UnlockAll();

    const Deadline deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    const Deadline* const until = milliseconds == INFINITE ? nullptr : &deadline;
    return all ? SleepForAll(set, waiter, until) : SleepForOne(set, waiter, until);
}

CAMEvent::CAMEvent(bool manualReset, HRESULT* phr) noexcept
    : m_hEvent(CreateEventExW(nullptr, nullptr, manualReset ? CREATE_EVENT_MANUAL_RESET : 0, EVENT_ALL_ACCESS)) {
    if (m_hEvent == nullptr && phr != nullptr) *phr = E_OUTOFMEMORY;
}

CAMEvent::~CAMEvent() {
    if (m_hEvent != nullptr) CloseHandle(m_hEvent);
}
