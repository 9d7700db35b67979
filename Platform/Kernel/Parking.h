// Where a waiting thread sleeps, and the small lock of an event. Inside the kernel only.
#pragma once

#include "Platform/Kernel/ThreadSafety.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

/// A lock of one word, for a few instructions at a time. Not a CCritSec: 64 events may have to be
/// locked together, and no other lock is ever taken inside.
class MK_CAPABILITY("mutex") WordLock {
public:
    void Lock() MK_ACQUIRE() {
        int expected = kFree;
        if (m_word.compare_exchange_strong(expected, kHeld, std::memory_order_acquire)) return;
        while (m_word.exchange(kContended, std::memory_order_acquire) != kFree)
            m_word.wait(kContended, std::memory_order_relaxed);
    }
    void Unlock() MK_RELEASE() {
        if (m_word.exchange(kFree, std::memory_order_release) == kContended) m_word.notify_one();
    }

private:
    static constexpr int kFree = 0;
    static constexpr int kHeld = 1;
    static constexpr int kContended = 2;
    std::atomic<int> m_word{kFree};
};

using Deadline = std::chrono::steady_clock::time_point;

/// One thread sleeps here until another unparks it; an unpark that comes first is not lost.
class ParkingPlace {
public:
    /// The last access of the caller to this object: the sleeper may be gone right after.
    void Unpark() {
        std::lock_guard lock(m_mutex);
        m_unparked = true;
        m_condition.notify_one();
    }
    /// False when the deadline (null: never) came first. Takes the unpark.
    bool Park(const Deadline* deadline) {
        std::unique_lock lock(m_mutex);
        const auto unparked = [this] { return m_unparked; };
        if (deadline == nullptr)
            m_condition.wait(lock, unparked);
        else if (!m_condition.wait_until(lock, *deadline, unparked))
            return false;
        m_unparked = false;
        return true;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_condition;
    bool m_unparked = false;
};
