// Clocks.
#pragma once

#include "Platform/Com/Types.h"
#include "Platform/Kernel/Export.h"
#include "Platform/Kernel/LargeInteger.h"

/// A count that never goes back, at QueryPerformanceFrequency counts a second; always true.
PLATFORM_KERNEL_API BOOL QueryPerformanceCounter(LARGE_INTEGER* count) noexcept;
/// 10,000,000: the count is in units of 100 ns.
PLATFORM_KERNEL_API BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency) noexcept;

/// Universal time in units of 100 ns since 1601-01-01.
PLATFORM_KERNEL_API void GetSystemTimeAsFileTime(FILETIME* time) noexcept;
