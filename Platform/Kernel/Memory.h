// Pages from the system, and the task allocator that media types and strings cross interfaces with.
#pragma once

#include "Platform/Com/Types.h"
#include "Platform/Kernel/Export.h"

#include <cstddef>

inline constexpr DWORD MEM_COMMIT = 0x1000;
inline constexpr DWORD MEM_RESERVE = 0x2000;
inline constexpr DWORD MEM_DECOMMIT = 0x4000;
inline constexpr DWORD MEM_RELEASE = 0x8000;
inline constexpr DWORD PAGE_NOACCESS = 0x01;
inline constexpr DWORD PAGE_READONLY = 0x02;
inline constexpr DWORD PAGE_READWRITE = 0x04;

/// Reserves pages (address null; MEM_RESERVE, MEM_COMMIT or both, MEM_COMMIT alone reserves too)
/// or commits pages of an earlier reservation (address inside of it, MEM_COMMIT). Committed pages
/// read as zeros at first. The start of the pages, or null with the last error set:
/// ERROR_NOT_ENOUGH_MEMORY, ERROR_INVALID_ADDRESS, ERROR_INVALID_PARAMETER.
PLATFORM_KERNEL_API void* VirtualAlloc(void* address, std::size_t size, DWORD type, DWORD protect) noexcept;

/// MEM_RELEASE gives back a whole reservation by its start, with size 0; MEM_DECOMMIT gives back
/// the pages of a range (size 0: all) and keeps the addresses. False with the last error set.
PLATFORM_KERNEL_API BOOL VirtualFree(void* address, std::size_t size, DWORD type) noexcept;

/// Null when there is no memory. A block may be freed in another module than allocated it.
PLATFORM_KERNEL_API void* CoTaskMemAlloc(std::size_t size) noexcept;
PLATFORM_KERNEL_API void* CoTaskMemRealloc(void* block, std::size_t size) noexcept;
PLATFORM_KERNEL_API void CoTaskMemFree(void* block) noexcept;
