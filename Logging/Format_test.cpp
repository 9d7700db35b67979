// The log's printf, as a report sees it.
#include "Logging/LogSink.h"
#include "Logging/qz_log.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <string>

namespace qz_log {
namespace {

template <class... Args>
std::wstring Formatted(const wchar_t* format, Args... args) {
    std::wstring text;
    set_sink([&text](const record& r) { text = r.message; });
    EXPECT_TRUE(_reportW(0, 1, "", 0, format, args...));
    set_sink({});
    return text;
}

TEST(FormatTest, NumbersOfEveryWidth) {
    EXPECT_EQ(Formatted(L"%d %i %u", -1, INT_MIN, UINT_MAX), L"-1 -2147483648 4294967295");
    EXPECT_EQ(Formatted(L"0x%08x %X %#x %o", 0x80040227u, 0xABCDu, 255u, 8u), L"0x80040227 ABCD 0xff 10");
    EXPECT_EQ(Formatted(L"%ld %lu %lx|", std::int32_t{-5}, std::uint32_t{5}, 0xFFFFFFFFu), L"-5 5 ffffffff|")
        << "a long has 32 bits";
    EXPECT_EQ(Formatted(L"%I64d %I64u %I64x", INT64_MIN, UINT64_MAX, UINT64_MAX),
              L"-9223372036854775808 18446744073709551615 ffffffffffffffff");
    EXPECT_EQ(Formatted(L"%lld %llu %I32d", INT64_MAX, UINT64_MAX, -7), L"9223372036854775807 18446744073709551615 -7");
    EXPECT_EQ(Formatted(L"%zu %Iu %td", SIZE_MAX, std::size_t{7}, std::ptrdiff_t{-7}), L"18446744073709551615 7 -7");
    EXPECT_EQ(Formatted(L"%hd %hhu", 0x1FFFF, 0x1FF), L"-1 255");
    EXPECT_EQ(Formatted(L"[%5d|%-5d|%05d|%+d|% d|%.3d|%6.2d]", 42, 42, 42, 42, 42, 7, 7),
              L"[   42|42   |00042|+42| 42|007|    07]");
    EXPECT_EQ(Formatted(L"[%*d|%-*d|%*d|%.*f]", 4, 1, 4, 2, -4, 3, 2, 1.005), L"[   1|2   |3   |1.00]");
    EXPECT_EQ(Formatted(L"%f %.1f %8.3f %g %e %G", 1.5, 0.25, -3.14159, 1e-5, 12345.678, 1e20),
              L"1.500000 0.2   -3.142 1e-05 1.234568e+04 1E+20");
    EXPECT_EQ(Formatted(L"%p", reinterpret_cast<void*>(std::uintptr_t{0xABC})),
              std::wstring(2 * sizeof(void*) - 3, L'0') + L"ABC");
}

TEST(FormatTest, TextWideAndNarrow) {
    EXPECT_EQ(Formatted(L"%s-%s", L"Stre\xE4m", L""), L"Stre\xE4m-");
    EXPECT_EQ(Formatted(L"%S %hs %ls %ws", "K\xC3\xB6ln", "x", L"y", L"z"), L"K\xF6ln x y z");
    EXPECT_EQ(Formatted(L"%s %S", static_cast<const wchar_t*>(nullptr), static_cast<const char*>(nullptr)),
              L"(null) (null)");
    EXPECT_EQ(Formatted(L"[%5s|%-5s|%.2s|%5.1S|%.0s]", L"ab", L"ab", L"abcdef", "xyz", L"abc"),
              L"[   ab|ab   |ab|    x|]");
    EXPECT_EQ(Formatted(L"%c%C%3c|%-3c|", L'\x416', 'n', L'r', L'l'), L"\x416n  r|l  |");
    EXPECT_EQ(Formatted(L"%S", "\xFF"), L"\xFFFD");
    const wchar_t unterminated[] = {L'a', L'b'};
    const char narrow[] = {'c', 'd'};
    EXPECT_EQ(Formatted(L"%.2s%.2S", unterminated, narrow), L"abcd") << "nothing behind the precision is read";
    EXPECT_EQ(Formatted(L"%70000s", L"x").size(), 65536u) << "a width has an end";
}

TEST(FormatTest, WhatIsNoConversionStaysAsItIs) {
    EXPECT_EQ(Formatted(L"100%% %d", 5), L"100% 5");
    EXPECT_EQ(Formatted(L"%"), L"%");
    EXPECT_EQ(Formatted(L"50% y, %-5"), L"50% y, %-5");
    EXPECT_EQ(Formatted(L"%n %I64"), L"%n %I64");
    EXPECT_EQ(Formatted(L""), L"");
}

}  // namespace
}  // namespace qz_log
