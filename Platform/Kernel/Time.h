// Calendar dates and spelled-out durations.
#pragma once

#include "Platform/Com/Types.h"
#include "Platform/Kernel/Export.h"

struct SYSTEMTIME {
    WORD wYear;
    WORD wMonth;      ///< 1 to 12
    WORD wDayOfWeek;  ///< 0 is Sunday; not read by the functions here
    WORD wDay;        ///< 1 to 31
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};

/// The date as days since 1899-12-30, the time of day as the fraction (before that day the fraction
/// counts away from zero: -1.25 is 6 o'clock on the day before). Years 100 to 9999; false when a
/// field is out of range. Milliseconds are not part of the result.
PLATFORM_KERNEL_API BOOL SystemTimeToVariantTime(const SYSTEMTIME* time, double* date) noexcept;

/// Spells a duration, " 1 hr 2 min 3 sec", in at most `digits` significant digits of hours, minutes
/// and seconds; the rest of the digits are zeros and units of zero are left out. Milliseconds round
/// to the nearest second. Stores at most `capacity` units with the terminator; the number of units
/// stored without it.
PLATFORM_KERNEL_API int StrFromTimeIntervalW(wchar_t* text, UINT capacity, DWORD milliseconds, int digits) noexcept;
