// What opening a file finds out about it, for the log and for IReadingReport.
#pragma once

#include "MediaKit/IReadingReport.h"

#include <cstddef>
#include <type_traits>
#include <vector>

namespace Norvane::MediaKit::Filters::details {

/// Collects the findings of one connection. Like the log it drops a finding for which there is no memory. No lock: the
/// filter's connection lock guards it.
class ReadingFindings {
public:
    using Severity = ReadingFinding::Severity;

    /// A file can give rise to any number of findings; beyond this many only an excluding one is kept, in place of the
    /// last.
    static constexpr std::size_t kMostFindings = 200;

    /// A format of the log, with the place in the source that the log shows.
    struct Message {
        constexpr Message(const wchar_t* format_, const char* path_ = __builtin_FILE(), int line_ = __builtin_LINE())
            : format(format_), path(path_), line(line_) {}

        const wchar_t* format;
        const char* path;
        int line;
    };

    /// Logs and records an oddity that keeps nothing from being played.
    template <class... Args>
    void Report(Severity severity, const Message& message, Args... args) noexcept {
        Format({.severity = severity, .excludes = false, .logged = true}, message, args...);
    }
    /// Logs and records why the file, a track or a part of it is not played.
    template <class... Args>
    void ReportExclusion(Severity severity, const Message& message, Args... args) noexcept {
        Format({.severity = severity, .excludes = true, .logged = true}, message, args...);
    }
    /// Records an exclusion of which the log has a failed check, or nothing.
    template <class... Args>
    void RecordExclusion(const Message& message, Args... args) noexcept {
        Format({.severity = Severity::Warning, .excludes = true, .logged = false}, message, args...);
    }

    const std::vector<ReadingFinding>& Findings() const { return m_findings; }
    /// Exclusions so far, those that were not kept among them.
    std::size_t ExclusionCount() const { return m_exclusions; }
    void Clear();

private:
    struct Kind {
        Severity severity;
        bool excludes;
        bool logged;
    };

    template <class... Args>
    void Format(Kind kind, const Message& message, Args... args) noexcept {
        static_assert((std::is_scalar_v<Args> && ...), "a finding takes numbers and pointers to text");
        Add(kind, message, args...);
    }
    void Add(Kind kind, Message message, ...) noexcept;

    std::vector<ReadingFinding> m_findings;
    std::size_t m_exclusions = 0;
};

}  // namespace Norvane::MediaKit::Filters::details
