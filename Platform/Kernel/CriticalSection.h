// The recursive lock of the platform, with its order and its waits checked in debug builds.
#pragma once

#include "Platform/Com/Types.h"
#include "Platform/Kernel/Export.h"
#include "Platform/Kernel/ThreadSafety.h"

#include <atomic>

/// The scale on which locks are ranked: a thread that holds a lock takes only locks of the same
/// or a higher rank. Floors put their own locks between these.
namespace LockRank {
inline constexpr int Unchecked = 0;      ///< stands outside of the order
inline constexpr int Graph = 100;        ///< held while the graph calls its filters
inline constexpr int Filter = 200;       ///< a filter's state lock, shared by its pins
inline constexpr int FilterInner = 300;  ///< locks inside a filter: seeking, live source, index
inline constexpr int Pool = 500;         ///< a sample pool's main lock
inline constexpr int PoolInner = 600;    ///< budget, indexer, consumer map
inline constexpr int Object = 800;       ///< single objects: a sample, an allocator, an event queue
inline constexpr int Kernel = 900;       ///< the kernel's own, innermost
}  // namespace LockRank

/// A recursive lock. In debug builds of the kernel (no NDEBUG) a breach of the order ends the
/// process with both locks' names on standard error: locks of one rank are not ordered among
/// themselves (two filters' locks are taken in the direction of the stream), a lock of rank 0 is
/// never checked, and taking a lock again that the thread holds is always allowed.
class MK_CAPABILITY("mutex") PLATFORM_KERNEL_API CCritSec {
public:
    /// `name` must outlive the lock; a literal is meant.
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

    std::atomic<int> m_state{0};    ///< 0 free, 1 held, 2 held and somebody sleeps for it
    std::atomic<DWORD> m_owner{0};  ///< thread id of the holder
    int m_depth = 0;                ///< times taken again; the holder's
    const char* const m_name;
    const int m_rank;
};

/// Holds a lock for a scope.
class MK_SCOPED_CAPABILITY CAutoLock {
public:
    explicit CAutoLock(CCritSec* lock) MK_ACQUIRE(lock) : m_pLock(lock) { m_pLock->Lock(); }
    ~CAutoLock() MK_RELEASE() { m_pLock->Unlock(); }
    CAutoLock(const CAutoLock&) = delete;
    CAutoLock& operator=(const CAutoLock&) = delete;

private:
    CCritSec* const m_pLock;
};

/// Lets the thread wait in this scope although it holds locks, for the few places where the
/// published base classes do so (a worker's request and reply, its exit). `reason` says why no
/// deadlock can come of it; it is for the reader and shows in a debugger.
class PLATFORM_KERNEL_API AllowWaitWithLocks {
public:
    explicit AllowWaitWithLocks(const char* reason) noexcept;
    ~AllowWaitWithLocks();
    AllowWaitWithLocks(const AllowWaitWithLocks&) = delete;
    AllowWaitWithLocks& operator=(const AllowWaitWithLocks&) = delete;

private:
    const char* const m_previous;
};

/// For code that is about to block: in debug builds ends the process when this thread holds a
/// CCritSec and has no exemption. `what` names the wait in the message.
PLATFORM_KERNEL_API void AssertMayWait(const char* what) noexcept;

/// Whether this build checks order and waits.
PLATFORM_KERNEL_API bool LockChecksEnabled() noexcept;
