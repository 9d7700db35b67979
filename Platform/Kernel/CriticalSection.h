// The recursive lock of the platform, with order and waits checked in debug builds.
#pragma once

#include "Platform/Com/Types.h"
#include "Platform/Kernel/Export.h"
#include "Platform/Kernel/ThreadSafety.h"

#include <atomic>

/// Lock ranks: a thread that holds a lock may take locks of a higher rank only. Values between these
/// are for locks that are nested inside one layer.
namespace LockRank {
inline constexpr int Unchecked = 0;      ///< not part of the order
inline constexpr int Filter = 200;       ///< a filter's state lock, shared by its pins
inline constexpr int FilterInner = 300;  ///< locks inside a filter: seeking, live source, index
inline constexpr int Pool = 500;         ///< a sample pool's main lock
inline constexpr int PoolInner = 600;    ///< budget, indexer, consumer map
inline constexpr int Object = 800;       ///< single objects: a sample, an allocator, an event queue
inline constexpr int Kernel = 900;       ///< the kernel's own, innermost
}  // namespace LockRank

/// A recursive mutex with a rank. Debug builds of the kernel (no NDEBUG) abort with the names of both
/// locks when a thread takes a lock whose rank is not higher than that of a lock it holds. Exceptions:
/// the state locks of two filters (LockRank::Filter), which are taken in the direction of the stream;
/// a lock that the thread holds already; TryLock, which cannot deadlock; locks of rank Unchecked.
class MK_CAPABILITY("mutex") PLATFORM_KERNEL_API CCritSec {
public:
    /// `name` is a literal, or outlives the lock.
    explicit CCritSec(const char* name = "", int rank = LockRank::Unchecked) noexcept : m_name(name), m_rank(rank) {}
    CCritSec(const CCritSec&) = delete;
    CCritSec& operator=(const CCritSec&) = delete;

    void Lock() MK_ACQUIRE();
    void Unlock() MK_RELEASE();
    bool TryLock() MK_TRY_ACQUIRE(true);

    const char* Name() const noexcept { return m_name; }
    int Rank() const noexcept { return m_rank; }

private:
    void Acquire() noexcept;
    bool TryAcquire() noexcept;
    void Give() noexcept;

    std::atomic<int> m_state{0};    ///< 0 free, 1 held, 2 held and threads sleep until it is released
    std::atomic<DWORD> m_owner{0};  ///< thread id of the owner
    int m_depth = 0;                ///< further acquisitions by the owner; used by the owner only
    const char* const m_name;
    const int m_rank;
};

/// Locks a CCritSec for a scope.
class MK_SCOPED_CAPABILITY CAutoLock {
public:
    explicit CAutoLock(CCritSec* lock) MK_ACQUIRE(lock) : m_pLock(lock) { m_pLock->Lock(); }
    ~CAutoLock() MK_RELEASE() { m_pLock->Unlock(); }
    CAutoLock(const CAutoLock&) = delete;
    CAutoLock& operator=(const CAutoLock&) = delete;

private:
    CCritSec* const m_pLock;
};

/// Permits waits in this scope while the thread holds locks, for the few places where the published
/// base classes do so (a request to a worker thread, its exit). `reason` states why that cannot
/// deadlock; it is for the reader and visible in a debugger.
class PLATFORM_KERNEL_API AllowWaitWithLocks {
public:
    explicit AllowWaitWithLocks(const char* reason) noexcept;
    ~AllowWaitWithLocks();
    AllowWaitWithLocks(const AllowWaitWithLocks&) = delete;
    AllowWaitWithLocks& operator=(const AllowWaitWithLocks&) = delete;

private:
    const char* const m_previous;
};

/// Called before blocking: debug builds abort when this thread holds a CCritSec outside the scope of
/// an AllowWaitWithLocks. `what` names the wait in the message.
PLATFORM_KERNEL_API void AssertMayWait(const char* what) noexcept;

/// Whether this build checks the order of locks and waits.
PLATFORM_KERNEL_API bool LockChecksEnabled() noexcept;
