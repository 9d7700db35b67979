// Listens to the log of the filters: what a recording loses, and what is wrong with a file, is told there and nowhere
// else.
#pragma once

#include "Logging/LogSink.h"
#include "Platform/Kernel/CriticalSection.h"
#include "Platform/Kernel/ThreadSafety.h"
#include "Tools/mediakit/messages.h"

#include <atomic>
#include <string>
#include <vector>

namespace mediakit_tool {

/// The log's sink while it lives. Shows reports up to the wanted level, and keeps the first error of the
/// filters that write the file: a multiplexer gives up a sample whose write failed, and an index that cannot
/// be written, without a word to the host. It also keeps what the filters that read a file have to say of it.
/// Reports come on any thread.
class LogWatch {
public:
    /// Levels up to which notes are kept: those of errors, and those at which a reader tells what it finds.
    static constexpr int kErrors = 1;
    static constexpr int kFindings = 3;
    /// A report of a filter that reads.
    struct Note {
        int level;
        std::string text;
    };

    /// `level` is what to show: 0 nothing to 5 everything; notes are kept up to the level `keep`.
    LogWatch(Messages& messages, int level, int keep = kFindings);
    ~LogWatch();
    LogWatch(const LogWatch&) = delete;
    LogWatch& operator=(const LogWatch&) = delete;

    /// Errors of the writing side count from here on; notes are kept no longer, since they cost their text for each
    /// sample.
    void Arm();
    /// An error of the writing side came since then.
    bool Failed() const { return m_failed; }
    /// Its reason in words; empty without one.
    std::string Reason() const;

    /// In the order in which they came; a file can make the reader say more than is kept.
    std::vector<Note> Notes() const;
    /// Of the notes those that can be why a file or a track is not played.
    std::vector<std::string> Complaints() const;
    /// What the system said when the file was last read in vain; empty when it was not asked in vain.
    std::string ReadError() const;

private:
    static constexpr std::size_t kMostNotes = 200;

    void KeepNote(const Note& note) MK_EXCLUDES(m_lock);
    void Take(const qz_log::record& record);

    Messages& m_messages;
    const int m_level;
    const int m_keep;
    std::atomic<bool> m_armed{false};
    std::atomic<bool> m_failed{false};
    mutable CCritSec m_lock{"LogWatch"};
    std::string m_reason MK_GUARDED_BY(m_lock);
    std::vector<Note> m_notes MK_GUARDED_BY(m_lock);
    std::vector<std::string> m_complaints MK_GUARDED_BY(m_lock);
    std::string m_readError MK_GUARDED_BY(m_lock);
};

}  // namespace mediakit_tool
