// The lock that makes host threads take turns in a graph.
#pragma once

#include "Platform/Kernel/ThreadSafety.h"

#include <mutex>

/// Recursive: a filter may come back to its graph inside a call of the graph. Not a CCritSec, because it is held
/// while filters change state and wait for their worker threads; that is safe as long as those threads leave it alone,
/// which CFilterGraph.h asks of them. It comes before all other locks.
class CAPABILITY("mutex") GraphLock {
public:
    void Lock() ACQUIRE() { m_mutex.lock(); }
    void Unlock() RELEASE() { m_mutex.unlock(); }

private:
    std::recursive_mutex m_mutex;
};

class SCOPED_CAPABILITY GraphAutoLock {
public:
    explicit GraphAutoLock(GraphLock& lock) ACQUIRE(lock) : m_lock(lock) { m_lock.Lock(); }
    ~GraphAutoLock() RELEASE() { m_lock.Unlock(); }
    GraphAutoLock(const GraphAutoLock&) = delete;
    GraphAutoLock& operator=(const GraphAutoLock&) = delete;

private:
    GraphLock& m_lock;
};
