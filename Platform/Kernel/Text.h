// Wide text and UTF-8. A wide unit has 16 bits (UTF-16) or 32 (one code point), as the compiler has it.
#pragma once

#include "Platform/Com/Types.h"
#include "Platform/Kernel/Export.h"

#include <stdexcept>
#include <string>
#include <string_view>

inline constexpr UINT CP_UTF8 = 65001;
inline constexpr DWORD MB_ERR_INVALID_CHARS = 0x08;
inline constexpr DWORD WC_ERR_INVALID_CHARS = 0x80;

/// Converts `length` units (-1: up to and with the terminator) to UTF-8, the only code page known.
/// With a capacity of 0 the result is the room needed. With WC_ERR_INVALID_CHARS invalid text fails,
/// without it becomes U+FFFD. `defaultChar` and `usedDefaultChar` must be null. 0 is failure:
/// ERROR_NO_UNICODE_TRANSLATION, ERROR_INSUFFICIENT_BUFFER, ERROR_INVALID_PARAMETER, ERROR_INVALID_FLAGS.
PLATFORM_KERNEL_API int WideCharToMultiByte(UINT codePage, DWORD flags, const wchar_t* wide, int length, char* text,
                                            int capacity, const char* defaultChar, BOOL* usedDefaultChar) noexcept;
/// The way back, with MB_ERR_INVALID_CHARS. Overlong forms, surrogates and values above U+10FFFF are invalid.
PLATFORM_KERNEL_API int MultiByteToWideChar(UINT codePage, DWORD flags, const char* text, int length, wchar_t* wide,
                                            int capacity) noexcept;

namespace win32 {

/// Invalid text, or a conversion that the system refused.
class PLATFORM_KERNEL_API Utf8ConversionException : public std::runtime_error {
public:
    enum Direction : DWORD { FromUtf8 = 0, ToUtf8 = 1 };

    Utf8ConversionException(const char* message, DWORD error, DWORD direction);
    ~Utf8ConversionException() override;

    /// The system error, ERROR_NO_UNICODE_TRANSLATION for invalid text.
    DWORD GetErrorCode() const noexcept { return m_error; }
    /// 1 to UTF-8, 0 from it.
    DWORD GetDirection() const noexcept { return m_direction; }

private:
    DWORD m_error;
    DWORD m_direction;
};

/// Strict conversions; throw Utf8ConversionException, or std::overflow_error beyond 0x7FFFFFFF units.
PLATFORM_KERNEL_API std::string ConvertToUtf8(std::wstring_view text);
PLATFORM_KERNEL_API std::wstring ConvertFromUtf8(std::string_view text);

/// Lenient conversion for messages: invalid bytes become U+FFFD; throws only when memory is short.
PLATFORM_KERNEL_API std::wstring WidenForDisplay(std::string_view text);
PLATFORM_KERNEL_API std::string NarrowForDisplay(std::wstring_view text);

}  // namespace win32
