// The check forms: test, report at level 1, and return or go on. Each argument is evaluated once, a code
// only when the test failed.
//
//   QZCheckHRESULT(pin->Connect(peer, nullptr));         // a negative result is reported and returned
//   QZLogHRESULT(stream->Commit(STGC_DEFAULT));          // is reported, the function goes on
//   QZCheckCondition(ppFilter != nullptr, E_POINTER);    // a false condition is reported, the code returned
//   CheckLastErrorCondition(::VirtualFree(p, 0, MEM_RELEASE));  // the same with the last error as the result
//   QZReport(3, L"Ignored track %s", name);              // a message of one's own
#pragma once

#include "Logging/qz_log.h"
#include "Platform/Com/Results.h"
#include "Platform/Kernel/LastError.h"

#include <type_traits>

namespace qz_log {

/// The message's arguments travel through a C argument list: only scalars may.
template <class... Args>
void report_checked(int level, const char* path, int line, const wchar_t* format, Args... args) noexcept {
    static_assert((std::is_scalar_v<Args> && ...), "a report takes numbers and pointers to text");
    if constexpr (sizeof...(Args) == 0)
        _reportW0(0, level, path, line, format);
    else
        _reportW(0, level, path, line, format, args...);
}

}  // namespace qz_log

#define QZ_LOG_ENABLED(level) (qz_log::get_report_level(0) >= (level))

/// A text as it stands, or a format with its arguments.
#define QZReport(level, ...)                                                                         \
    do {                                                                                             \
        if (QZ_LOG_ENABLED(level)) qz_log::report_checked((level), __FILE__, __LINE__, __VA_ARGS__); \
    } while (false)

#define QZCheckHRESULT(expr)                                                                           \
    do {                                                                                               \
        const HRESULT qzCheckedResult = (expr);                                                        \
        if (qzCheckedResult < 0) {                                                                     \
            if (QZ_LOG_ENABLED(1))                                                                     \
                qz_log::_report_errW0(0, 1, __FILE__, __LINE__, qzCheckedResult, L"QZCheckHRESULT: "); \
            return qzCheckedResult;                                                                    \
        }                                                                                              \
    } while (false)

#define QZLogHRESULT(expr)                                                                      \
    do {                                                                                        \
        const HRESULT qzLoggedResult = (expr);                                                  \
        if (qzLoggedResult < 0 && QZ_LOG_ENABLED(1))                                            \
            qz_log::_report_errW0(0, 1, __FILE__, __LINE__, qzLoggedResult, L"QZLogHRESULT: "); \
    } while (false)

#define QZCheckCondition(cond, code)                                                                                   \
    do {                                                                                                               \
        if (!(cond)) {                                                                                                 \
            if (QZ_LOG_ENABLED(1)) qz_log::_report_condW0(0, 1, __FILE__, __LINE__, L"" #cond, L"QZCheckCondition: "); \
            return (code);                                                                                             \
        }                                                                                                              \
    } while (false)

#define CheckLastErrorCondition(cond)                                                                           \
    do {                                                                                                        \
        if (!(cond)) {                                                                                          \
            const DWORD qzLastError = ::GetLastError();                                                         \
            if (QZ_LOG_ENABLED(1))                                                                              \
                qz_log::_report_err_condW0(0, 1, __FILE__, __LINE__, static_cast<LONG>(qzLastError), L"" #cond, \
                                           L"CheckLastErrorCondition: ");                                       \
            return HRESULT_FROM_WIN32(qzLastError);                                                             \
        }                                                                                                       \
    } while (false)
