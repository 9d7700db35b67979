// The two codings themselves, over a wide unit of 16 or 32 bits. Inside the kernel only.
#pragma once

#include <cstddef>
#include <cstdint>

namespace utf {

inline constexpr char32_t kInvalid = 0xFFFFFFFF;
inline constexpr char32_t kReplacement = 0xFFFD;

constexpr bool is_surrogate(char32_t c) { return c >= 0xD800 && c <= 0xDFFF; }
constexpr bool is_scalar(char32_t c) { return c <= 0x10FFFF && !is_surrogate(c); }

/// The code point at `p`, which moves behind it; kInvalid for a value that is none, one unit on.
template <class Unit>
constexpr char32_t decode_wide(const Unit*& p, const Unit* end) {
    static_assert(sizeof(Unit) == 2 || sizeof(Unit) == 4);
    if constexpr (sizeof(Unit) == 4) {
        const auto c = static_cast<char32_t>(*p++);
        return is_scalar(c) ? c : kInvalid;
    } else {
        const auto first = static_cast<char16_t>(*p++);
        if (!is_surrogate(first)) return first;
        if (first >= 0xDC00 || p == end) return kInvalid;
        const auto second = static_cast<char16_t>(*p);
        if (second < 0xDC00 || second > 0xDFFF) return kInvalid;
        ++p;
        return 0x10000 + ((static_cast<char32_t>(first) - 0xD800) << 10) + (second - 0xDC00);
    }
}

/// The same for UTF-8. An invalid sequence is as long as its valid beginning (Unicode 15, 3.9, D93b), one byte
/// at least.
constexpr char32_t decode_utf8(const char*& p, const char* end) {
    const auto first = static_cast<std::uint8_t>(*p++);
    if (first < 0x80) return first;
    if (first < 0xC2 || first > 0xF4) return kInvalid;
    const int more = first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
    // The first continuation byte is narrower where overlong forms, surrogates or large values would begin.
    std::uint8_t low = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    std::uint8_t high = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    char32_t c = first & (0x3F >> more);
    for (int i = 0; i < more; ++i, low = 0x80, high = 0xBF) {
        if (p == end) return kInvalid;
        const auto next = static_cast<std::uint8_t>(*p);
        if (next < low || next > high) return kInvalid;
        c = c << 6 | (next & 0x3F);
        ++p;
    }
    return c;
}

/// The units of a code point in `out` (room for 2); their number.
template <class Unit>
constexpr int encode_wide(char32_t c, Unit* out) {
    if (sizeof(Unit) == 4 || c < 0x10000) {
        out[0] = static_cast<Unit>(c);
        return 1;
    }
    out[0] = static_cast<Unit>(0xD800 + ((c - 0x10000) >> 10));
    out[1] = static_cast<Unit>(0xDC00 + ((c - 0x10000) & 0x3FF));
    return 2;
}

/// The bytes of a code point in `out` (room for 4); their number.
constexpr int encode_utf8(char32_t c, char* out) {
    if (c < 0x80) {
        out[0] = static_cast<char>(c);
        return 1;
    }
    const int more = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    constexpr int kLead[] = {0, 0xC0, 0xE0, 0xF0};
    out[0] = static_cast<char>(kLead[more] | static_cast<int>(c >> (6 * more)));
    for (int i = 1; i <= more; ++i) out[i] = static_cast<char>(0x80 | (c >> (6 * (more - i)) & 0x3F));
    return more + 1;
}

template <class Unit>
constexpr char32_t decode(const Unit*& p, const Unit* end) {
    if constexpr (sizeof(Unit) == 1)
        return decode_utf8(p, end);
    else
        return decode_wide(p, end);
}

template <class Unit>
constexpr int encode(char32_t c, Unit* out) {
    if constexpr (sizeof(Unit) == 1)
        return encode_utf8(c, out);
    else
        return encode_wide(c, out);
}

enum class result { ok, invalid, no_room };

/// Converts [p, end) and counts the units of the result in *needed. With `out` null it only counts. With
/// `strict` invalid text ends the conversion, otherwise it becomes U+FFFD.
template <class From, class To>
constexpr result convert(const From* p, const From* end, bool strict, To* out, std::size_t capacity,
                         std::size_t* needed) {
    *needed = 0;
    while (p != end) {
        char32_t c = decode(p, end);
        if (c == kInvalid) {
            if (strict) return result::invalid;
            c = kReplacement;
        }
        To units[4] = {};
        const int count = encode(c, units);
        if (out != nullptr) {
            if (capacity - *needed < static_cast<std::size_t>(count)) return result::no_room;
            for (int i = 0; i < count; ++i) out[*needed + static_cast<std::size_t>(i)] = units[i];
        }
        *needed += static_cast<std::size_t>(count);
    }
    return result::ok;
}

}  // namespace utf
