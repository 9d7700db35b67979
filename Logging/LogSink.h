// The host's side of the log: how much is reported, and where to.
#pragma once

#include "Logging/Export.h"
#include "Platform/Com/Types.h"

#include <functional>
#include <string_view>

namespace qz_log {

/// One report, valid during the call of the sink.
struct record {
    unsigned category;
    int level;
    std::string_view path;  ///< source file from the root of the sources
    int line;
    DWORD thread_id;
    std::string_view thread_name;  ///< UTF-8; empty for a thread without a name
    std::wstring_view message;
};

/// Takes reports on the thread that reports, with no lock of the log held; two threads may be in it
/// at once. What it throws is swallowed.
using sink = std::function<void(const record&)>;

inline constexpr int default_report_level = 2;

/// Reports above the level are not made; 0 silences the log. In force at once on all threads.
QZ_LOGGING_API void set_report_level(int level) noexcept;
/// Replaces the sink; an empty one brings back the default, which writes one line a report to standard error.
/// The old sink may still be running on other threads when this returns.
QZ_LOGGING_API void set_sink(sink new_sink);

}  // namespace qz_log
