// Listens to the log of the filters: what a recording loses, and what is wrong with a file, is told there and nowhere
// else.
#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "Logging/LogSink.h"
#include "Platform/Kernel/CriticalSection.h"
#include "Platform/Kernel/ThreadSafety.h"
#include "Tools/mediakit/messages.h"

namespace mediakit_tool {

/// The log's sink while it lives. Shows reports up to the wanted level, and keeps the first error of the
/// filters that write the file: a multiplexer gives up a sample whose write failed, and an index that cannot
/// be written, without a word to the host. It also keeps what the filters that read a file have to say of it.
/// Reports come on any thread.
class LogWatch {
public:
    /// Levels of what a reader has to say: a file is refused or a track left out at the first two, the third tells
    /// what was found.
    static constexpr int kComplaints = 2;
    static constexpr int kFindings = 3;
    /// A report of a filter that reads.
    struct Note {
        int level;
        std::string text;
    };

    /// `level` is what to show: 0 nothing to 5 everything; notes are kept up to the level `keep`.
    LogWatch(Messages& messages, int level, int keep = 1);
    ~LogWatch();
    LogWatch(const LogWatch&) = delete;
    LogWatch& operator=(const LogWatch&) = delete;

    /// Errors count from here on.
    void Arm() { m_armed = true; }
    /// An error of the writing side came since then.
    bool Failed() const { return m_failed; }
    /// Its reason in words; empty without one.
    std::string Reason() const;

    /// In the order in which they came; a file can make the reader say more than is kept.
    std::vector<Note> Notes() const;
    /// The last note that is a complaint in words; empty without one.
    std::string LastComplaint() const;

private:
    static constexpr std::size_t kMostNotes = 200;

    void KeepNote(const qz_log::record& record, const std::string& message) EXCLUDES(m_lock);
    void Take(const qz_log::record& record);

    Messages& m_messages;
    const int m_level;
    const int m_keep;
    std::atomic<bool> m_armed{false};
    std::atomic<bool> m_failed{false};
    mutable CCritSec m_lock{"LogWatch"};
    std::string m_reason GUARDED_BY(m_lock);
    std::vector<Note> m_notes GUARDED_BY(m_lock);
    std::string m_complaint GUARDED_BY(m_lock);
};

}  // namespace mediakit_tool
