// The lock that makes host threads take turns in a graph.
#pragma once

#include "Platform/Kernel/ThreadSafety.h"

#include <mutex>

/// Recursive: a filter may come back to its graph inside a call of the graph. Not a CCritSec, because it is held
/// while filters change state and wait for their worker threads; that is safe as long as those threads leave it alone,
/// which CFilterGraph.h asks of them. It comes before all other locks.
class MK_CAPABILITY("mutex") GraphLock {
public:
    void Lock() MK_ACQUIRE() { m_mutex.lock(); }
    void Unlock() MK_RELEASE() { m_mutex.unlock(); }

private:
    std::recursive_mutex m_mutex;
};

class MK_SCOPED_CAPABILITY GraphAutoLock {
public:
    explicit GraphAutoLock(GraphLock& lock) MK_ACQUIRE(lock) : m_lock(lock) { m_lock.Lock(); }
    ~GraphAutoLock() MK_RELEASE() { m_lock.Unlock(); }
    GraphAutoLock(const GraphAutoLock&) = delete;
    GraphAutoLock& operator=(const GraphAutoLock&) = delete;

private:
    GraphLock& m_lock;
};
