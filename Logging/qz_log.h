// The log's entry points. Category is always 0; levels are 1 error, 2 warning, 3 information, 5 trace.
//
// A message is built only after get_report_level(0) reached its level (the check forms and QZReport do
// that): a quiet log costs one relaxed load. All functions may be called from any thread, none throws. The
// reporting functions answer whether the report reached the sink; nobody needs to look.
//
// Paths are narrow and name the source file from the root of the sources. Formats are wide and in printf form:
// %s a wide string, %S and %hs a narrow one in UTF-8, %c a wide character, %C and %hc a narrow one; %d %i %u %x %X %o
// 32 bits, with or without l; %I64d %I64u %lld %llu 64 bits; %zu %Iu pointer-sized; %f %e %g %a, %p, %%; flags, width,
// precision and * as usual.
#pragma once

#include "Logging/Export.h"
#include "Platform/Com/Types.h"

namespace qz_log {

/// The level up to which reports are wanted.
QZ_LOGGING_API int get_report_level(unsigned category) noexcept;

/// A fixed message.
QZ_LOGGING_API bool _reportW0(unsigned category, int level, const char* path, int line,
                              const wchar_t* message) noexcept;
/// A formatted message.
QZ_LOGGING_API bool _reportW(unsigned category, int level, const char* path, int line, const wchar_t* format,
                             ...) noexcept;
/// A failed condition: prefix and condition text.
QZ_LOGGING_API bool _report_condW0(unsigned category, int level, const char* path, int line, const wchar_t* condition,
                                   const wchar_t* prefix) noexcept;
/// A failed result: prefix and code.
QZ_LOGGING_API bool _report_errW0(unsigned category, int level, const char* path, int line, LONG code,
                                  const wchar_t* prefix) noexcept;
/// A failed condition with the last system error.
QZ_LOGGING_API bool _report_err_condW0(unsigned category, int level, const char* path, int line, LONG code,
                                       const wchar_t* condition, const wchar_t* prefix) noexcept;

/// The name under which a thread's reports appear, until it is reset. `name` is UTF-8 and copied.
QZ_LOGGING_API bool set_thread_name(DWORD thread_id, const char* name) noexcept;
QZ_LOGGING_API bool reset_thread_name(DWORD thread_id) noexcept;

}  // namespace qz_log
