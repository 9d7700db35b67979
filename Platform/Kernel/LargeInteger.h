// 64-bit numbers in the wrappers that some of the platform's operations take them in.
#pragma once

#include "Platform/Com/Types.h"

struct LARGE_INTEGER {
    LONGLONG QuadPart;
};

struct ULARGE_INTEGER {
    ULONGLONG QuadPart;
};

/// Universal time in units of 100 ns since 1601-01-01, in two halves.
struct FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
    friend bool operator==(const FILETIME&, const FILETIME&) = default;
};

constexpr std::uint64_t FileTimeToUInt64(const FILETIME& time) {
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}
constexpr FILETIME FileTimeFromUInt64(std::uint64_t value) {
    return {static_cast<DWORD>(value), static_cast<DWORD>(value >> 32)};
}

static_assert(sizeof(LARGE_INTEGER) == 8 && sizeof(ULARGE_INTEGER) == 8 && sizeof(FILETIME) == 8);
