#include "Platform/Kernel/CriticalSection.h"

#include "Platform/Kernel/Thread.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace {

thread_local const char* t_waitReason = nullptr;

void PauseProcessor() {
#if defined(__x86_64__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
}

}  // namespace

AllowWaitWithLocks::AllowWaitWithLocks(const char* reason) noexcept : m_previous(std::exchange(t_waitReason, reason)) {}

AllowWaitWithLocks::~AllowWaitWithLocks() { t_waitReason = m_previous; }

/// Spins for some microseconds before sleeping: the streams of a graph contend for a filter's lock often and release
/// it sooner than a thread can be put to sleep and woken.
void CCritSec::Acquire() noexcept {
    constexpr int kTries = 64;
    for (int i = 0; i < kTries; ++i) {
        if (TryAcquire()) return;
        for (int pause = 0; pause < 8; ++pause) PauseProcessor();
    }
    // State 2 makes the next owner's release wake a thread; at worst one wake is superfluous.
    while (m_state.exchange(2, std::memory_order_acquire) != 0) m_state.wait(2, std::memory_order_relaxed);
    m_owner.store(GetCurrentThreadId(), std::memory_order_relaxed);
}

bool CCritSec::TryAcquire() noexcept {
    const DWORD self = GetCurrentThreadId();
    if (m_owner.load(std::memory_order_relaxed) == self) {
        ++m_depth;
        return true;
    }
    int free = 0;
    if (!m_state.compare_exchange_strong(free, 1, std::memory_order_acquire, std::memory_order_relaxed)) return false;
    m_owner.store(self, std::memory_order_relaxed);
    return true;
}

void CCritSec::Give() noexcept {
    if (m_depth > 0) {
        --m_depth;
        return;
    }
    m_owner.store(0, std::memory_order_relaxed);
    if (m_state.exchange(0, std::memory_order_release) == 2) m_state.notify_one();
}

#ifdef NDEBUG

void CCritSec::Lock() { Acquire(); }
void CCritSec::Unlock() { Give(); }
bool CCritSec::TryLock() { return TryAcquire(); }
void AssertMayWait(const char*) noexcept {}
bool LockChecksEnabled() noexcept { return false; }

#else

namespace {

/// The locks that a thread holds in order of acquisition, one entry for each acquisition. Without a destructor, so
/// that locks can still be taken while the thread's other local objects are destroyed.
struct HeldLocks {
    static constexpr int kCapacity = 64;
    const CCritSec* locks[kCapacity];
    int count;

    bool Has(const CCritSec* lock) const {
        for (int i = 0; i < count; ++i)
            if (locks[i] == lock) return true;
        return false;
    }
};
thread_local HeldLocks t_held{};

[[noreturn]] void Fail(const char* text) {
    std::fputs(text, stderr);
    for (int i = 0; i < t_held.count; ++i)
        std::fprintf(stderr, "  held: \"%s\" (rank %d)\n", t_held.locks[i]->Name(), t_held.locks[i]->Rank());
    std::abort();
}

/// Whether `lock` may be taken by a thread that holds `held`.
bool MayFollow(const CCritSec& lock, const CCritSec& held) {
    return held.Rank() < lock.Rank() || (held.Rank() == LockRank::Filter && lock.Rank() == LockRank::Filter);
}

void CheckOrder(const CCritSec& lock) {
    if (lock.Rank() == LockRank::Unchecked || t_held.Has(&lock)) return;
    for (int i = 0; i < t_held.count; ++i) {
        if (MayFollow(lock, *t_held.locks[i])) continue;
        char text[256];
        std::snprintf(text, sizeof text, "Lock order broken: taking \"%s\" (rank %d) after \"%s\" (rank %d)\n",
                      lock.Name(), lock.Rank(), t_held.locks[i]->Name(), t_held.locks[i]->Rank());
        Fail(text);
    }
}

void Push(const CCritSec* lock) {
    if (t_held.count == HeldLocks::kCapacity) Fail("One thread holds too many locks\n");
    t_held.locks[t_held.count++] = lock;
}

void Pop(const CCritSec* lock) {
    for (int i = t_held.count - 1; i >= 0; --i) {
        if (t_held.locks[i] != lock) continue;
        for (--t_held.count; i < t_held.count; ++i) t_held.locks[i] = t_held.locks[i + 1];
        return;
    }
    char text[256];
    std::snprintf(text, sizeof text, "Unlocking \"%s\", which this thread does not hold\n", lock->Name());
    Fail(text);
}

}  // namespace

void CCritSec::Lock() {
    CheckOrder(*this);
    Acquire();
    Push(this);
}

void CCritSec::Unlock() {
    Pop(this);
    Give();
}

bool CCritSec::TryLock() {
    if (!TryAcquire()) return false;
    Push(this);
    return true;
}

void AssertMayWait(const char* what) noexcept {
    if (t_held.count == 0 || t_waitReason != nullptr) return;
    char text[256];
    std::snprintf(text, sizeof text, "%s with a lock held\n", what);
    Fail(text);
}

bool LockChecksEnabled() noexcept { return true; }

#endif
