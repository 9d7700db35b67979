// The 128-bit identifiers of interfaces, classes and media types.
#pragma once

#include "Platform/Com/Types.h"

#include <cstring>
#include <functional>
#include <string>

struct GUID {
    DWORD Data1;
    WORD Data2;
    WORD Data3;
    BYTE Data4[8];

    friend bool operator==(const GUID&, const GUID&) = default;
};
static_assert(sizeof(GUID) == 16);

using IID = GUID;
using CLSID = GUID;
using REFGUID = const GUID&;
using REFIID = const IID&;
using REFCLSID = const CLSID&;

inline constexpr GUID GUID_NULL{};

namespace guid_detail {

constexpr unsigned hex_digit(char c) {
    if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
    if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A' + 10);
    if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a' + 10);
    throw "not a hexadecimal digit";
}

constexpr std::uint64_t hex(const char* text, int digits) {
    std::uint64_t value = 0;
    for (int i = 0; i < digits; ++i) value = value << 4 | hex_digit(text[i]);
    return value;
}

}  // namespace guid_detail

/// The identifier written as "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX"; a misspelt one does not compile.
consteval GUID make_guid(const char (&text)[37]) {
    using guid_detail::hex;
    for (int dash : {8, 13, 18, 23})
        if (text[dash] != '-') throw "a dash is missing";
    GUID guid{static_cast<DWORD>(hex(text, 8)),
              static_cast<WORD>(hex(text + 9, 4)),
              static_cast<WORD>(hex(text + 14, 4)),
              {}};
    for (int i = 0; i < 2; ++i) guid.Data4[i] = static_cast<BYTE>(hex(text + 19 + 2 * i, 2));
    for (int i = 0; i < 6; ++i) guid.Data4[2 + i] = static_cast<BYTE>(hex(text + 24 + 2 * i, 2));
    return guid;
}

/// "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" in capital digits, the platform's text form.
std::wstring StringFromGUID(REFGUID guid);

/// The identifier of an interface: each interface header specialises it beside its IID_ constant.
template <class Interface>
inline constexpr IID uuid_of = GUID_NULL;

template <>
struct std::hash<GUID> {
    std::size_t operator()(REFGUID guid) const noexcept {
        std::uint64_t halves[2];
        std::memcpy(halves, &guid, sizeof halves);
        return static_cast<std::size_t>(halves[0] * 0x9E3779B97F4A7C15u ^ halves[1]);
    }
};
