// The events behind the handles. Inside the kernel only.
//
// Events live in slots that are never given back to the system: a stale handle finds a slot whose
// generation has moved on. Locks: a slot's, several in the order of their addresses; the table's lock
// (for making and recycling) is never held together with a slot's.
#pragma once

#include "Platform/Com/Types.h"
#include "Platform/Kernel/CriticalSection.h"
#include "Platform/Kernel/Parking.h"

#include <array>
#include <atomic>
#include <cstdint>

struct Waiter;

/// A waiter's place in the list of one event; on the waiting thread's stack, set up by joining the list.
struct WaitNode {
    Waiter* waiter;
    WaitNode* previous;
    WaitNode* next;
    int index;  ///< the event's place in the caller's array
    bool linked;
};

struct EventSlot {
    WordLock lock;
    std::uint32_t index = 0;  ///< constant once the slot was first given out
    bool open MK_GUARDED_BY(lock) = false;
    bool manual MK_GUARDED_BY(lock) = false;
    bool signalled MK_GUARDED_BY(lock) = false;
    std::uintptr_t generation MK_GUARDED_BY(lock) = 0;
    // Waiters in the order of their coming; an auto-reset event goes to the first.
    WaitNode* first MK_GUARDED_BY(lock) = nullptr;
    WaitNode* last MK_GUARDED_BY(lock) = nullptr;
    EventSlot* nextFree = nullptr;  ///< guarded by the table's lock

    bool IsCurrent(std::uintptr_t wanted) const MK_REQUIRES(lock) { return open && generation == wanted; }
    void Link(WaitNode& node) MK_REQUIRES(lock);
    void Unlink(WaitNode& node) MK_REQUIRES(lock);
};

/// What a handle says: a slot and the generation it must have.
struct EventReference {
    EventSlot* slot;
    std::uintptr_t generation;
};

class EventTable {
public:
    /// Never destroyed: threads may still wait while the process ends.
    static EventTable& Instance();

    /// Null when there is no memory or no slot left.
    HANDLE Create(bool manual, bool signalled) noexcept MK_EXCLUDES(m_lock);
    /// The slot that the handle names; null for a handle never given out.
    EventReference Find(HANDLE handle) const noexcept;
    /// Takes back a slot that is closed and whose last waiter has left; its lock is not held.
    void Recycle(EventSlot& slot) noexcept MK_EXCLUDES(m_lock);

private:
    static constexpr std::size_t kChunk = 256;
    static constexpr std::size_t kChunks = 4096;
    using Chunk = std::array<EventSlot, kChunk>;

    EventSlot* TakeFree() noexcept MK_EXCLUDES(m_lock);

    CCritSec m_lock{"event table", LockRank::Kernel};
    std::array<std::atomic<Chunk*>, kChunks> m_chunks{};
    EventSlot* m_free MK_GUARDED_BY(m_lock) = nullptr;
    std::uint32_t m_used MK_GUARDED_BY(m_lock) = 0;  ///< slots that were ever given out
};
