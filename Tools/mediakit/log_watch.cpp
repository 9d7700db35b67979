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

bool IsWriter(std::string_view path) {
    return std::any_of(std::begin(kWriters), std::end(kWriters),
                       [path](std::string_view writer) { return path.substr(0, writer.size()) == writer; });
}

/// The message, with the failure code in it (0x8...) in words where it has one.
std::string Explain(const std::string& message) {
    const std::size_t at = message.find("0x8");
    if (at == std::string::npos) return message;
    const auto code = static_cast<HRESULT>(std::strtoul(message.c_str() + at, nullptr, 16));
    return ResultText(code);
}

}  // namespace

LogWatch::LogWatch(Messages& messages, int level) : m_messages(messages), m_level(level) {
    qz_log::set_report_level(std::max(level, kErrorLevel));
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

void LogWatch::Take(const qz_log::record& record) {
    const std::string message = win32::NarrowForDisplay(record.message);
    if (record.level <= kErrorLevel && m_armed && IsWriter(record.path)) {
        CAutoLock lock(&m_lock);
        if (!m_failed) m_reason = Explain(message);
        m_failed = true;
    }
    if (record.level > m_level) return;
    m_messages.Line("[" + std::to_string(record.level) + "] " + std::string(record.path) + ":" +
                    std::to_string(record.line) + ": " + message);
}

}  // namespace mediakit_tool
