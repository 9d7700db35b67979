#include "Tools/mediakit/log_watch.h"

#include "Platform/Kernel/Text.h"
#include "Tools/mediakit/system_error.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace mediakit_tool {

namespace {

/// Where the filters that write a recording are.
constexpr std::string_view kWriters[] = {
    "VideoIO/StreamFilters/Authoring/",
    "VideoIO/StreamFilters/Container/",
    "VideoIO/StreamFilters/Multiplexer/",
    "VideoIO/StreamFilters/SharedFile/SharedFileSink",
};

/// Where the file source is, whose reads fail with what the system says.
constexpr std::string_view kSource[] = {"VideoIO/StreamFilters/SharedFile/SharedFileSource"};

/// Serves both; a write that fails is told by its caller too.
constexpr std::string_view kReadsAndWrites = "VideoIO/StreamFilters/Handlers/MP4ByteStreamHandler";

/// Where those that read a file are.
constexpr std::string_view kReaders[] = {
    "VideoIO/MPEGUtil/",
    "VideoIO/StreamFilters/Container/",
    "VideoIO/StreamFilters/Demultiplexer/",
};

template <std::size_t N>
bool IsUnder(const std::string_view (&folders)[N], std::string_view path) {
    return std::any_of(std::begin(folders), std::end(folders),
                       [path](std::string_view folder) { return path.starts_with(folder); });
}

bool IsWriter(std::string_view path) { return IsUnder(kWriters, path) && !path.starts_with(kReadsAndWrites); }

/// The check forms name code, which says nothing to a user.
bool IsInWords(std::string_view message) { return !message.starts_with("QZ"); }

/// What is only a warning did not stop anything.
bool IsComplaint(const LogWatch::Note& note) {
    if (note.text.find("warning:") != note.text.npos) return false;
    return note.level < LogWatch::kFindings || note.text.starts_with("Unknown ") || note.text.starts_with("Ignored ");
}

/// The message, with the failure code in it (0x8...) in words where it has one.
std::string Explain(const std::string& message) {
    const std::size_t at = message.find("0x8");
    if (at == std::string::npos) return message;
    const auto code = static_cast<HRESULT>(std::strtoul(message.c_str() + at, nullptr, 16));
    return ResultText(code);
}

}  // namespace

LogWatch::LogWatch(Messages& messages, int level, int keep) : m_messages(messages), m_level(level), m_keep(keep) {
    qz_log::set_report_level(std::max({level, keep, kErrors}));
    qz_log::set_sink([this](const qz_log::record& record) { Take(record); });
}

LogWatch::~LogWatch() {
    qz_log::set_report_level(0);
    qz_log::set_sink({});
}

void LogWatch::Arm() {
    m_armed = true;
    qz_log::set_report_level(std::max(m_level, kErrors));
}

std::string LogWatch::Reason() const {
    CAutoLock lock(&m_lock);
    return m_reason;
}

std::vector<LogWatch::Note> LogWatch::Notes() const {
    CAutoLock lock(&m_lock);
    return m_notes;
}

std::vector<std::string> LogWatch::Complaints() const {
    CAutoLock lock(&m_lock);
    return m_complaints;
}

std::string LogWatch::ReadError() const {
    CAutoLock lock(&m_lock);
    return m_readError;
}

void LogWatch::KeepNote(const Note& note) {
    CAutoLock lock(&m_lock);
    if (m_notes.size() < kMostNotes) m_notes.push_back(note);
    if (!IsComplaint(note)) return;
    // The last one tells most.
    if (m_complaints.size() == kMostNotes) m_complaints.pop_back();
    m_complaints.push_back(note.text);
}

void LogWatch::Take(const qz_log::record& record) {
    const std::string message = win32::NarrowForDisplay(record.message);
    if (record.level <= kErrors && m_armed && IsWriter(record.path)) {
        CAutoLock lock(&m_lock);
        if (!m_failed) m_reason = Explain(message);
        m_failed = true;
    }
    if (record.level <= m_keep && IsUnder(kReaders, record.path) && IsInWords(message))
        KeepNote({record.level, message});
    if (record.level <= kErrors && IsUnder(kSource, record.path)) {
        CAutoLock lock(&m_lock);
        m_readError = Explain(message);
    }
    if (record.level > m_level) return;
    m_messages.Line("[" + std::to_string(record.level) + "] " + std::string(record.path) + ":" +
                    std::to_string(record.line) + ": " + message);
}

}  // namespace mediakit_tool
