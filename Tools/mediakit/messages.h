// What the program says while it works: messages on standard error, and a status line under them
// on a terminal.
#pragma once

#include "Platform/Kernel/CriticalSection.h"
#include "Platform/Kernel/ThreadSafety.h"

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace mediakit_tool {

/// Any thread. A message takes the status line away; the next status brings it back.
class Messages {
public:
    /// `quiet`: errors only. `out` is standard error, or another file for tests.
    explicit Messages(bool quiet = false, std::FILE* out = stderr) : m_quiet(quiet), m_out(out) {}

    /// "mediakit: TEXT"
    void Error(std::string_view text);
    /// "mediakit: warning: TEXT"; kept for the summary.
    void Warning(std::string_view text);
    /// A line of its own, without a prefix.
    void Line(std::string_view text);
    /// Replaces the status line; `columns` is what the terminal has room for.
    void Status(std::string_view text, int columns);
    void EndStatus();

    std::vector<std::string> Warnings() const;

private:
    void Print(std::string_view prefix, std::string_view text) MK_REQUIRES(m_lock);

    const bool m_quiet;
    std::FILE* const m_out;
    mutable CCritSec m_lock{"Messages"};
    bool m_statusShown MK_GUARDED_BY(m_lock) = false;
    std::vector<std::string> m_warnings MK_GUARDED_BY(m_lock);
};

/// Warnings about one input: of each kind the first is shown, the rest are counted.
class StreamReport {
public:
    enum class Kind { Damage, Start, Rate, Change, Order, Count };

    StreamReport(Messages& messages, std::string name) : m_messages(messages), m_name(std::move(name)) {}

    const std::string& Name() const { return m_name; }
    /// "NAME: TEXT"
    void Warn(Kind kind, std::string_view text);
    /// "NAME: byte POSITION: TEXT"
    void Warn(Kind kind, unsigned long long position, std::string_view text);
    unsigned long long Count(Kind kind) const { return m_counts[static_cast<int>(kind)]; }

private:
    Messages& m_messages;
    const std::string m_name;
    unsigned long long m_counts[static_cast<int>(Kind::Count)] = {};  // of the reading thread
};

}  // namespace mediakit_tool
