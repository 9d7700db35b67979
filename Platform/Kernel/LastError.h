// The thread's last system error, and what the system's own error numbers become.
#pragma once

#include "Platform/Com/Results.h"
#include "Platform/Kernel/Export.h"

inline constexpr DWORD ERROR_INVALID_FUNCTION = 1;
inline constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;
inline constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr DWORD ERROR_WRITE_PROTECT = 19;
inline constexpr DWORD ERROR_SEEK = 25;
inline constexpr DWORD ERROR_GEN_FAILURE = 31;
inline constexpr DWORD ERROR_LOCK_VIOLATION = 33;
inline constexpr DWORD ERROR_NOT_SUPPORTED = 50;
inline constexpr DWORD ERROR_FILE_EXISTS = 80;
inline constexpr DWORD ERROR_BROKEN_PIPE = 109;
inline constexpr DWORD ERROR_CALL_NOT_IMPLEMENTED = 120;
inline constexpr DWORD ERROR_INVALID_NAME = 123;
inline constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
inline constexpr DWORD ERROR_PROC_NOT_FOUND = 127;
inline constexpr DWORD ERROR_NEGATIVE_SEEK = 131;
inline constexpr DWORD ERROR_BUSY = 170;
inline constexpr DWORD ERROR_FILENAME_EXCED_RANGE = 206;
inline constexpr DWORD ERROR_FILE_TOO_LARGE = 223;
inline constexpr DWORD ERROR_INVALID_ADDRESS = 487;
inline constexpr DWORD ERROR_OPERATION_ABORTED = 995;
inline constexpr DWORD ERROR_INVALID_FLAGS = 1004;
inline constexpr DWORD ERROR_IO_DEVICE = 1117;

PLATFORM_KERNEL_API DWORD GetLastError() noexcept;
PLATFORM_KERNEL_API void SetLastError(DWORD error) noexcept;

/// The system error number for an `errno` value; 0 for 0, ERROR_GEN_FAILURE for one without a counterpart.
PLATFORM_KERNEL_API DWORD ErrorFromErrno(int error) noexcept;
/// Keeps the counterpart of `error` as the last error and hands it back.
PLATFORM_KERNEL_API DWORD SetLastErrorFromErrno(int error) noexcept;
