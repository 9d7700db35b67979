#include "Platform/Kernel/Text.h"

#include "Platform/Kernel/LastError.h"
#include "Platform/Kernel/Utf.h"

#include <climits>

namespace {

int Fail(DWORD error) {
    SetLastError(error);
    return 0;
}

template <class From, class To>
int Convert(UINT codePage, DWORD flags, DWORD strictFlag, const From* from, int length, To* to, int capacity) {
    if (codePage != CP_UTF8 || from == nullptr || length == 0 || length < -1) return Fail(ERROR_INVALID_PARAMETER);
    if (capacity < 0 || (capacity > 0 && to == nullptr)) return Fail(ERROR_INVALID_PARAMETER);
    if ((flags & ~strictFlag) != 0) return Fail(ERROR_INVALID_FLAGS);

    const std::size_t count = length < 0 ? std::char_traits<From>::length(from) + 1 : static_cast<std::size_t>(length);
    std::size_t needed = 0;
    const auto result = utf::convert(from, from + count, flags != 0, capacity > 0 ? to : nullptr,
                                     static_cast<std::size_t>(capacity), &needed);
    if (result == utf::result::invalid) return Fail(ERROR_NO_UNICODE_TRANSLATION);
    if (result == utf::result::no_room) return Fail(ERROR_INSUFFICIENT_BUFFER);
    if (needed > INT_MAX) return Fail(ERROR_INVALID_PARAMETER);
    return static_cast<int>(needed);
}

template <class From, class To>
std::basic_string<To> Lenient(std::basic_string_view<From> text) {
    std::size_t needed = 0;
    const From* const end = text.data() + text.size();
    utf::convert<From, To>(text.data(), end, false, nullptr, 0, &needed);
    std::basic_string<To> converted(needed, To{});
    utf::convert(text.data(), end, false, converted.data(), needed, &needed);
    return converted;
}

struct Messages {
    const char* invalid;
    const char* sizePass;
    const char* secondPass;
};
constexpr Messages kToUtf8 = {
    "Invalid UTF-16 sequence found in input string.",
    "Cannot get result string length when converting from UTF-16 to UTF-8 (WideCharToMultiByte failed).",
    "Cannot convert from UTF-16 to UTF-8 (WideCharToMultiByte failed)."};
constexpr Messages kFromUtf8 = {
    "Invalid UTF-8 sequence found in input string.",
    "Cannot get result string length when converting from UTF-8 to UTF-16 (MultiByteToWideChar failed).",
    "Cannot convert from UTF-8 to UTF-16 (MultiByteToWideChar failed)."};

[[noreturn]] void Throw(const Messages& messages, const char* otherwise, DWORD direction) {
    const DWORD error = GetLastError();
    throw win32::Utf8ConversionException(error == ERROR_NO_UNICODE_TRANSLATION ? messages.invalid : otherwise, error,
                                         direction);
}

/// `call(length, out, capacity)` is one pass.
template <class To, class From, class Call>
std::basic_string<To> TwoPasses(std::basic_string_view<From> text, const Messages& messages, DWORD direction,
                                Call call) {
    if (text.empty()) return {};
    if (text.size() > INT_MAX) throw std::overflow_error("Input string too long: size_t-length doesn't fit into int.");
    const int length = static_cast<int>(text.size());
    const int needed = call(length, nullptr, 0);
    if (needed == 0) Throw(messages, messages.sizePass, direction);
    std::basic_string<To> converted(static_cast<std::size_t>(needed), To{});
    if (call(length, converted.data(), needed) == 0) Throw(messages, messages.secondPass, direction);
    return converted;
}

}  // namespace

int WideCharToMultiByte(UINT codePage, DWORD flags, const wchar_t* wide, int length, char* text, int capacity,
                        const char* defaultChar, BOOL* usedDefaultChar) noexcept {
    if (defaultChar != nullptr || usedDefaultChar != nullptr) return Fail(ERROR_INVALID_PARAMETER);
    return Convert(codePage, flags, WC_ERR_INVALID_CHARS, wide, length, text, capacity);
}

int MultiByteToWideChar(UINT codePage, DWORD flags, const char* text, int length, wchar_t* wide,
                        int capacity) noexcept {
    return Convert(codePage, flags, MB_ERR_INVALID_CHARS, text, length, wide, capacity);
}

namespace win32 {

Utf8ConversionException::Utf8ConversionException(const char* message, DWORD error, DWORD direction)
    : std::runtime_error(message), m_error(error), m_direction(direction) {}

Utf8ConversionException::~Utf8ConversionException() = default;

std::string ConvertToUtf8(std::wstring_view text) {
    return TwoPasses<char>(text, kToUtf8, Utf8ConversionException::ToUtf8, [&](int length, char* out, int capacity) {
        return WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.data(), length, out, capacity, nullptr, nullptr);
    });
}

std::wstring ConvertFromUtf8(std::string_view text) {
    return TwoPasses<wchar_t>(
        text, kFromUtf8, Utf8ConversionException::FromUtf8, [&](int length, wchar_t* out, int capacity) {
            return MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), length, out, capacity);
        });
}

std::wstring WidenForDisplay(std::string_view text) { return Lenient<char, wchar_t>(text); }
std::string NarrowForDisplay(std::wstring_view text) { return Lenient<wchar_t, char>(text); }

}  // namespace win32
