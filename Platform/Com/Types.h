// Scalar types of the platform with their published widths. None of them is `long`,
// which has 64 bits on this system and 32 on others.
#pragma once

#include <cstdint>

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using ULONG = std::uint32_t;
using UINT = std::uint32_t;
using LONG = std::int32_t;
using INT = std::int32_t;
using BOOL = std::int32_t;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using DWORD_PTR = std::uintptr_t;
using UINT_PTR = std::uintptr_t;
using LONG_PTR = std::intptr_t;
using HANDLE = void*;

/// A result: negative is failure, 0 is S_OK, other positive values are qualified successes.
using HRESULT = std::int32_t;

/// A time or duration in units of 100 ns, 10,000,000 to the second.
using REFERENCE_TIME = std::int64_t;

inline constexpr BOOL TRUE = 1;
inline constexpr BOOL FALSE = 0;

struct RECT {
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
    friend bool operator==(const RECT&, const RECT&) = default;
};

struct SIZE {
    LONG cx;
    LONG cy;
    friend bool operator==(const SIZE&, const SIZE&) = default;
};

static_assert(sizeof(RECT) == 16 && sizeof(SIZE) == 8);
