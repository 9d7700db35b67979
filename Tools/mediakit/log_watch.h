// Listens to the log of the filters: what a recording loses is told there and nowhere else.
#pragma once

#include <atomic>
#include <string>

#include "Logging/LogSink.h"
#include "Platform/Kernel/CriticalSection.h"
#include "Platform/Kernel/ThreadSafety.h"
#include "Tools/mediakit/messages.h"

namespace mediakit_tool {

/// The log's sink while it lives. Shows reports up to the wanted level, and keeps the first error of the
/// filters that write the file: a multiplexer gives up a sample whose write failed, and an index that cannot
/// be written, without a word to the host. Reports come on any thread.
class LogWatch {
public:
    /// `level` is what to show: 0 nothing to 5 everything.
    LogWatch(Messages& messages, int level);
    ~LogWatch();
    LogWatch(const LogWatch&) = delete;
    LogWatch& operator=(const LogWatch&) = delete;

    /// Errors count from here on.
    void Arm() { m_armed = true; }
    /// An error of the writing side came since then.
    bool Failed() const { return m_failed; }
    /// Its reason in words; empty without one.
    std::string Reason() const;

private:
    void Take(const qz_log::record& record);

    Messages& m_messages;
    const int m_level;
    std::atomic<bool> m_armed{false};
    std::atomic<bool> m_failed{false};
    mutable CCritSec m_lock{"LogWatch"};
    std::string m_reason GUARDED_BY(m_lock);
};

}  // namespace mediakit_tool
