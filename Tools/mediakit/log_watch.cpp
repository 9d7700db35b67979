#include "Tools/mediakit/log_watch.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "Platform/Kernel/Text.h"
#include "Tools/mediakit/system_error.h"

namespace mediakit_tool {

namespace {

constexpr int kErrorLevel = 1;

/// Where the filters that write a recording are.
constexpr std::string_view kWriters[] = {
    "VideoIO/StreamFilters/Authoring/",
    "VideoIO/StreamFilters/Container/",
    "VideoIO/StreamFilters/Multiplexer/",
    "VideoIO/StreamFilters/SharedFile/",
};

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

/// The check forms name code, which says nothing to a user.
bool IsInWords(std::string_view message) {
    return !message.starts_with("QZ") && !message.starts_with("CheckLastErrorCondition");
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
    qz_log::set_report_level(std::max({level, keep, kErrorLevel}));
    qz_log::set_sink([this](const qz_log::record& record) { Take(record); });
}

LogWatch::~LogWatch() {
    qz_log::set_report_level(0);
    qz_log::set_sink({});
}

std::string LogWatch::Reason() const {
    CAutoLock lock(&m_lock);
    return m_reason;
}

std::vector<LogWatch::Note> LogWatch::Notes() const {
    CAutoLock lock(&m_lock);
    return m_notes;
}

std::string LogWatch::LastComplaint() const {
    CAutoLock lock(&m_lock);
    return m_complaint;
}

void LogWatch::KeepNote(const qz_log::record& record, const std::string& message) {
    CAutoLock lock(&m_lock);
    if (record.level <= kComplaints && IsInWords(message)) m_complaint = message;
    if (m_notes.size() < kMostNotes) m_notes.push_back({record.level, message});
}

void LogWatch::Take(const qz_log::record& record) {
    const std::string message = win32::NarrowForDisplay(record.message);
    if (record.level <= kErrorLevel && m_armed && IsUnder(kWriters, record.path)) {
        CAutoLock lock(&m_lock);
        if (!m_failed) m_reason = Explain(message);
        m_failed = true;
    }
    if (record.level <= m_keep && IsUnder(kReaders, record.path)) KeepNote(record, message);
    if (record.level > m_level) return;
    m_messages.Line("[" + std::to_string(record.level) + "] " + std::string(record.path) + ":" +
                    std::to_string(record.line) + ": " + message);
}

}  // namespace mediakit_tool
