#include "Platform/Kernel/Text.h"

#include "Platform/Kernel/LastError.h"
#include "Platform/Kernel/Utf.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>

namespace {

template <class To, class From>
std::basic_string<To> Converted(std::basic_string_view<From> text, bool strict = true) {
    std::basic_string<To> out(4 * text.size() + 1, To{});
    std::size_t needed = 0;
    const auto result = utf::convert(text.data(), text.data() + text.size(), strict, out.data(), out.size(), &needed);
    if (result != utf::result::ok) return {To('?')};
    out.resize(needed);
    return out;
}

struct Pair {
    std::u32string_view text;
    std::u16string_view utf16;
    std::string_view utf8;
};
const Pair kPairs[] = {
    {U"\x7F", u"\x7F", "\x7F"},
    {U"\x80", u"\x80", "\xC2\x80"},
    {U"\x7FF", u"\x7FF", "\xDF\xBF"},
    {U"\x800", u"\x800", "\xE0\xA0\x80"},
    {U"\xD7FF\xE000", u"\xD7FF\xE000", "\xED\x9F\xBF\xEE\x80\x80"},
    {U"\xFFFF", u"\xFFFF", "\xEF\xBF\xBF"},
    {U"\x10000", u"\xD800\xDC00", "\xF0\x90\x80\x80"},
    {U"a\x1F3AC z", u"a\xD83C\xDFAC z", "a\xF0\x9F\x8E\xAC z"},
    {U"\x10FFFF", u"\xDBFF\xDFFF", "\xF4\x8F\xBF\xBF"},
};

TEST(TextTest, ConvertsTheEdgesOfEveryLengthForBothWidths) {
    for (const Pair& pair : kPairs) {
        SCOPED_TRACE(testing::PrintToString(pair.utf8));
        EXPECT_EQ(Converted<char>(pair.text), pair.utf8);
        EXPECT_EQ(Converted<char>(pair.utf16), pair.utf8);
        EXPECT_EQ(Converted<char32_t>(pair.utf8), pair.text);
        EXPECT_EQ(Converted<char16_t>(pair.utf8), pair.utf16);
    }
}

TEST(TextTest, RefusesWhatIsNoTextAndReplacesItWhenLenient) {
    using namespace std::string_view_literals;
    const struct {
        std::string_view bytes;
        std::u32string_view lenient;
    } narrow[] = {
        {"\x80", U"\xFFFD"},            // a continuation without a beginning
        {"\xC0\xAF", U"\xFFFD\xFFFD"},  // overlong forms of '/'
        {"\xE0\x80\xAF", U"\xFFFD\xFFFD\xFFFD"},
        {"\xF0\x80\x80\xAF", U"\xFFFD\xFFFD\xFFFD\xFFFD"},
        {"\xED\xA0\x80", U"\xFFFD\xFFFD\xFFFD"},            // a surrogate
        {"\xF4\x90\x80\x80", U"\xFFFD\xFFFD\xFFFD\xFFFD"},  // above U+10FFFF
        {"\xF8\x88\x80\x80\x80", U"\xFFFD\xFFFD\xFFFD\xFFFD\xFFFD"},
        {"\xE2\x82", U"\xFFFD"},    // cut off at the end
        {"\xE2\x82z", U"\xFFFDz"},  // and by another character
        {"a\xFFz", U"a\xFFFDz"},
    };
    for (const auto& c : narrow) {
        SCOPED_TRACE(testing::PrintToString(c.bytes));
        EXPECT_EQ(Converted<char32_t>(c.bytes), U"?");
        EXPECT_EQ(Converted<char32_t>(c.bytes, false), c.lenient);
    }
    const char16_t utf16[][2] = {{0xD800, u'z'}, {0xDC00, u'z'}, {u'z', 0xDBFF}, {0xDC00, 0xD800}};
    for (const auto& units : utf16) {
        EXPECT_EQ(Converted<char>(std::u16string_view(units, 2)), "?");
        EXPECT_NE(Converted<char>(std::u16string_view(units, 2), false).find("\xEF\xBF\xBD"), std::string::npos);
    }
    for (const char32_t value : {0xD800u, 0xDFFFu, 0x110000u, 0xFFFFFFFFu})
        EXPECT_EQ(Converted<char>(std::u32string_view(reinterpret_cast<const char32_t*>(&value), 1)), "?");
}

TEST(TextTest, ThePlatformCallsMeasureConvertAndSayWhyNot) {
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, L"\xE9x", 2, nullptr, 0, nullptr, nullptr), 3);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, L"\xE9x", -1, nullptr, 0, nullptr, nullptr), 4) << "with terminator";
    char text[8];
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, L"\xE9", -1, text, sizeof text, nullptr, nullptr), 3);
    EXPECT_STREQ(text, "\xC3\xA9");

    const auto fails = [](int result) { return result == 0 ? GetLastError() : 0; };
    EXPECT_EQ(fails(WideCharToMultiByte(CP_UTF8, 0, L"\xE9x", 2, text, 2, nullptr, nullptr)),
              ERROR_INSUFFICIENT_BUFFER);
    wchar_t wide[8];
    EXPECT_EQ(fails(MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, "\xFF", 1, wide, 8)),
              ERROR_NO_UNICODE_TRANSLATION);
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "\xFF", 1, wide, 8), 1);
    EXPECT_EQ(wide[0], L'\xFFFD');
    EXPECT_EQ(fails(MultiByteToWideChar(1252, 0, "x", 1, wide, 8)), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(fails(MultiByteToWideChar(CP_UTF8, 0, "x", 0, wide, 8)), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(fails(MultiByteToWideChar(CP_UTF8, WC_ERR_INVALID_CHARS, "x", 1, wide, 8)), ERROR_INVALID_FLAGS);
}

/// A view of a length that no memory has: it must be refused before the first unit is read.
template <class Unit>
std::basic_string_view<Unit> TooLong() {
    static const Unit unit{};
    return {&unit, std::size_t{INT_MAX} + 1};
}

TEST(TextTest, TheConversionsThrowWithMessageErrorAndDirection) {
    EXPECT_EQ(win32::ConvertToUtf8(L"K\xF6ln"), "K\xC3\xB6ln");
    EXPECT_EQ(win32::ConvertFromUtf8("K\xC3\xB6ln"), L"K\xF6ln");
    SetLastError(4711);
    EXPECT_EQ(win32::ConvertToUtf8(L""), "");
    EXPECT_EQ(win32::ConvertFromUtf8(""), L"");
    EXPECT_EQ(GetLastError(), 4711u) << "nothing to convert, no call of the system";

    const wchar_t lone[] = {L'a', static_cast<wchar_t>(0xD800), L'b', 0};
    try {
        win32::ConvertToUtf8(lone);
        FAIL();
    } catch (const win32::Utf8ConversionException& e) {
        EXPECT_STREQ(e.what(), "Invalid UTF-16 sequence found in input string.");
        EXPECT_EQ(e.GetErrorCode(), 1113u);
        EXPECT_EQ(e.GetDirection(), 1u);
    }
    try {
        win32::ConvertFromUtf8("a\xC0\xAF");
        FAIL();
    } catch (const win32::Utf8ConversionException& e) {
        EXPECT_STREQ(e.what(), "Invalid UTF-8 sequence found in input string.");
        EXPECT_EQ(e.GetErrorCode(), 1113u);
        EXPECT_EQ(e.GetDirection(), 0u);
    }
    try {
        win32::ConvertToUtf8(TooLong<wchar_t>());
        FAIL();
    } catch (const std::overflow_error& e) {
        EXPECT_STREQ(e.what(), "Input string too long: size_t-length doesn't fit into int.");
    }
    EXPECT_THROW(win32::ConvertFromUtf8(TooLong<char>()), std::overflow_error);
    EXPECT_EQ(win32::WidenForDisplay("\xC3("), L"\xFFFD(");
    EXPECT_EQ(win32::NarrowForDisplay(lone),
              "a\xEF\xBF\xBD"
              "b");
}

}  // namespace
