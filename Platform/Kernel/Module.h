// Shared libraries loaded at run time.
#pragma once

#include "Platform/Com/Types.h"
#include "Platform/Kernel/Export.h"

using HMODULE = void*;
using FARPROC = void (*)();

/// Loads a library by path or name. A bare name "x.dll" stands for this system's "libx.so" when
/// there is no file of the first name. Null with ERROR_MOD_NOT_FOUND as the last error.
PLATFORM_KERNEL_API HMODULE LoadLibraryW(const wchar_t* name) noexcept;
/// The address of an exported function; null with ERROR_PROC_NOT_FOUND.
PLATFORM_KERNEL_API FARPROC GetProcAddress(HMODULE module, const char* name) noexcept;
PLATFORM_KERNEL_API BOOL FreeLibrary(HMODULE module) noexcept;
