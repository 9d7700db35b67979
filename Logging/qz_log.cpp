#include "Logging/qz_log.h"

#include "Logging/Format.h"
#include "Logging/LogSink.h"
#include "Platform/Kernel/CriticalSection.h"
#include "Platform/Kernel/Text.h"
#include "Platform/Kernel/Thread.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>

namespace qz_log {

namespace {

std::atomic<int> g_level{default_report_level};

const char* level_name(int level) {
    return level <= 1 ? "error" : level == 2 ? "warning" : level == 3 ? "info" : "trace";
}

/// One line in one write, so that threads do not mix within a line.
void write_to_standard_error(const record& r) {
    std::string line = std::string(level_name(r.level)) + " [";
    line += r.thread_name.empty() ? std::to_string(r.thread_id) : std::string(r.thread_name);
    line.append("] ").append(r.path).append(":").append(std::to_string(r.line)).append(": ");
    line += win32::NarrowForDisplay(r.message);
    // A text from a file must not look like a line of the log's own.
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

/// Where reports go and how threads are called.
class destination {
public:
    /// Never destroyed: threads may report while the process ends.
    static destination& instance() {
        static destination& d = *new destination;
        return d;
    }

    void set_sink(sink new_sink) {
        auto shared = std::make_shared<const sink>(new_sink ? std::move(new_sink) : sink(write_to_standard_error));
        CAutoLock lock(&m_lock);
        m_sink.swap(shared);
    }

    void name_thread(DWORD id, const char* name) {
        CAutoLock lock(&m_lock);
        m_names.insert_or_assign(id, std::string(name));
    }

    void forget_thread(DWORD id) {
        CAutoLock lock(&m_lock);
        m_names.erase(id);
    }

    void report(record r) {
        std::string name;
        std::shared_ptr<const sink> target;
        r.thread_id = GetCurrentThreadId();
        {
            CAutoLock lock(&m_lock);
            if (const auto it = m_names.find(r.thread_id); it != m_names.end()) name = it->second;
            target = m_sink;
        }
        r.thread_name = name;
        (*target)(r);
    }

private:
    CCritSec m_lock{"log", LockRank::Kernel};
    std::shared_ptr<const sink> m_sink MK_GUARDED_BY(m_lock) = std::make_shared<const sink>(write_to_standard_error);
    std::unordered_map<DWORD, std::string> m_names MK_GUARDED_BY(m_lock);
};

/// `build` makes the message; it is called only when the level is wanted.
template <class Build>
bool report(unsigned category, int level, const char* path, int line, Build build) noexcept {
    if (level > get_report_level(category)) return false;
    try {
        const std::wstring message = build();
        destination::instance().report({category, level, path, line, 0, {}, message});
        return true;
    } catch (...) {
        // Out of memory, or a sink that throws: a report is not worth a failure.
        return false;
    }
}

std::wstring hexadecimal(LONG code) {
    wchar_t text[16];
    std::swprintf(text, std::size(text), L"0x%08x", static_cast<unsigned>(code));
    return text;
}

}  // namespace

int get_report_level(unsigned) noexcept { return g_level.load(std::memory_order_relaxed); }

void set_report_level(int level) noexcept { g_level.store(level, std::memory_order_relaxed); }

void set_sink(sink new_sink) { destination::instance().set_sink(std::move(new_sink)); }

bool _reportW0(unsigned category, int level, const char* path, int line, const wchar_t* message) noexcept {
    return report(category, level, path, line, [&] { return std::wstring(message); });
}

bool _reportW(unsigned category, int level, const char* path, int line, const wchar_t* format, ...) noexcept {
    std::va_list arguments;
    va_start(arguments, format);
    const bool reported = report(category, level, path, line, [&] { return format_message(format, arguments); });
    va_end(arguments);
    return reported;
}

bool _report_condW0(unsigned category, int level, const char* path, int line, const wchar_t* condition,
                    const wchar_t* prefix) noexcept {
    return report(category, level, path, line, [&] { return std::wstring(prefix) + condition; });
}

bool _report_errW0(unsigned category, int level, const char* path, int line, LONG code,
                   const wchar_t* prefix) noexcept {
    return report(category, level, path, line, [&] { return prefix + hexadecimal(code); });
}

bool _report_err_condW0(unsigned category, int level, const char* path, int line, LONG code, const wchar_t* condition,
                        const wchar_t* prefix) noexcept {
    return report(category, level, path, line,
                  [&] { return std::wstring(prefix) + condition + L" (system error " + std::to_wstring(code) + L")"; });
}

bool set_thread_name(DWORD thread_id, const char* name) noexcept {
    try {
        destination::instance().name_thread(thread_id, name);
        return true;
    } catch (...) {
        return false;
    }
}

bool reset_thread_name(DWORD thread_id) noexcept {
    destination::instance().forget_thread(thread_id);
    return true;
}

}  // namespace qz_log
