#include "VideoIO/StreamFilters/Demultiplexer/ReadingFindings.h"

#include "Logging/Format.h"
#include "Logging/qz_log.h"

#include <cstdarg>
#include <new>
#include <utility>

namespace Norvane::MediaKit::Filters::details {

void ReadingFindings::Clear() {
    m_findings.clear();
    m_exclusions = 0;
}

void ReadingFindings::Add(Kind kind, Message message, ...) noexcept {
    const int level = static_cast<int>(kind.severity);
    if (kind.excludes) ++m_exclusions;
    const bool logged = kind.logged && qz_log::get_report_level(0) >= level;
    const bool kept = kind.excludes || m_findings.size() < kMostFindings;
    if (!logged && !kept) return;

    std::va_list arguments;
    va_start(arguments, message);
    try {
        std::wstring text = qz_log::format_message(message.format, arguments);
        if (logged) qz_log::_reportW0(0, level, message.path, message.line, text.c_str());
        if (kept) {
            if (m_findings.size() == kMostFindings) m_findings.pop_back();
            m_findings.push_back({kind.severity, std::move(text), kind.excludes});
        }
    } catch (const std::bad_alloc&) {
        // Opening goes on: a remark about the file is not worth a failure.
    }
    va_end(arguments);
}

}  // namespace Norvane::MediaKit::Filters::details
