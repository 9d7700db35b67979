// The log's own wide printf: the same on systems whose wchar_t, long and %s differ.
#pragma once

#include "Logging/Export.h"

#include <cstdarg>
#include <string>

namespace qz_log {

/// Formats as told in qz_log.h. A conversion that is none comes out as it stands; a null string is "(null)".
QZ_LOGGING_API std::wstring format_message(const wchar_t* format, std::va_list arguments);

}  // namespace qz_log
