#include "Logging/Format.h"

#include "Platform/Kernel/Text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>
#include <utility>

namespace qz_log {

namespace {

enum class Length { None, Char, Short, Long, LongLong, Pointer, LongDouble };

/// One conversion: %[flags][width][.precision][length]type.
struct Directive {
    std::string flags;
    int width = 0;
    int precision = -1;
    Length length = Length::None;
    wchar_t type = L'\0';

    bool left_aligned() const { return flags.find('-') != flags.npos; }
};

/// Longest first, so that a name is not taken for its beginning.
constexpr struct {
    std::wstring_view name;
    Length length;
} kLengths[] = {
    {L"I64", Length::LongLong}, {L"I32", Length::None},  {L"ll", Length::LongLong}, {L"hh", Length::Char},
    {L"h", Length::Short},      {L"l", Length::Long},    {L"w", Length::Long},      {L"j", Length::LongLong},
    {L"z", Length::Pointer},    {L"t", Length::Pointer}, {L"I", Length::Pointer},   {L"L", Length::LongDouble},
};

/// The arguments; a struct, because a va_list may be an array and would decay.
struct Arguments {
    std::va_list list;
};

class Formatter {
public:
    Formatter(std::wstring_view format, Arguments& arguments) : m_rest(format), m_arguments(arguments) {}

    std::wstring run() {
        while (!m_rest.empty()) {
            const std::size_t percent = std::min(m_rest.find(L'%'), m_rest.size());
            m_result += m_rest.substr(0, percent);
            m_rest.remove_prefix(percent);
            if (!m_rest.empty()) convert();
        }
        return std::move(m_result);
    }

private:
    void convert() {
        const std::wstring_view from = m_rest;
        m_rest.remove_prefix(1);
        const Directive directive = parse();
        if (!apply(directive)) m_result += from.substr(0, from.size() - m_rest.size());
    }

    Directive parse() {
        Directive d;
        while (!m_rest.empty() && std::wstring_view(L"-+ #0").find(m_rest.front()) != m_rest.npos)
            d.flags += static_cast<char>(take());
        d.width = number();
        if (d.width < 0) {  // only from an argument
            d.flags += '-';
            d.width = -d.width;
        }
        if (!m_rest.empty() && m_rest.front() == L'.') {
            take();
            d.precision = number();
        }
        for (const auto& [name, length] : kLengths) {
            if (!m_rest.starts_with(name)) continue;
            m_rest.remove_prefix(name.size());
            d.length = length;
            break;
        }
        if (!m_rest.empty()) d.type = take();
        return d;
    }

    wchar_t take() {
        const wchar_t c = m_rest.front();
        m_rest.remove_prefix(1);
        return c;
    }

    int number() {
        if (!m_rest.empty() && m_rest.front() == L'*') {
            take();
            return std::clamp(va_arg(m_arguments.list, int), -kMaxExtent, kMaxExtent);
        }
        int value = 0;
        while (!m_rest.empty() && m_rest.front() >= L'0' && m_rest.front() <= L'9')
            value = std::min(value * 10 + static_cast<int>(take() - L'0'), kMaxExtent);
        return value;
    }

    bool apply(const Directive& d) {
        switch (d.type) {
            case L'd':
            case L'i': formatted(d, "lld", signed_argument(d.length)); return true;
            case L'u': formatted(d, "llu", unsigned_argument(d.length)); return true;
            case L'x': formatted(d, "llx", unsigned_argument(d.length)); return true;
            case L'X': formatted(d, "llX", unsigned_argument(d.length)); return true;
            case L'o': formatted(d, "llo", unsigned_argument(d.length)); return true;
            case L'e':
            case L'E':
            case L'f':
            case L'F':
            case L'g':
            case L'G':
            case L'a':
            case L'A': floating(d); return true;
            case L'p': pointer(d); return true;
            case L's': text(d, d.length == Length::Short); return true;
            case L'S': text(d, d.length != Length::Long); return true;
            case L'c': character(d, d.length == Length::Short); return true;
            case L'C': character(d, d.length != Length::Long); return true;
            case L'%': m_result += L'%'; return true;
            default: return false;
        }
    }

    long long signed_argument(Length length) {
        switch (length) {
            case Length::LongLong: return va_arg(m_arguments.list, std::int64_t);
            case Length::Pointer: return va_arg(m_arguments.list, std::ptrdiff_t);
            case Length::Short: return static_cast<std::int16_t>(va_arg(m_arguments.list, int));
            case Length::Char: return static_cast<std::int8_t>(va_arg(m_arguments.list, int));
            default: return va_arg(m_arguments.list, std::int32_t);  // a LONG has 32 bits
        }
    }

    unsigned long long unsigned_argument(Length length) {
        switch (length) {
            case Length::LongLong: return va_arg(m_arguments.list, std::uint64_t);
            case Length::Pointer: return va_arg(m_arguments.list, std::size_t);
            case Length::Short: return static_cast<std::uint16_t>(va_arg(m_arguments.list, int));
            case Length::Char: return static_cast<std::uint8_t>(va_arg(m_arguments.list, int));
            default: return va_arg(m_arguments.list, std::uint32_t);
        }
    }

    void floating(const Directive& d) {
        if (d.length == Length::LongDouble) {
            const char type[] = {'L', static_cast<char>(d.type), '\0'};
            formatted(d, type, va_arg(m_arguments.list, long double));
        } else {
            const char type[] = {static_cast<char>(d.type), '\0'};
            formatted(d, type, va_arg(m_arguments.list, double));
        }
    }

    /// All digits of an address, without a prefix.
    void pointer(Directive d) {
        d.precision = 2 * static_cast<int>(sizeof(void*));
        formatted(d, "llX",
                  static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(va_arg(m_arguments.list, void*))));
    }

    template <class Value>
    void formatted(const Directive& d, const char* type, Value value) {
        const std::string format = "%" + d.flags + "*.*" + type;
        const int length = std::snprintf(nullptr, 0, format.c_str(), d.width, d.precision, value);
        if (length < 0) return;
        std::string digits(static_cast<std::size_t>(length) + 1, '\0');
        std::snprintf(digits.data(), digits.size(), format.c_str(), d.width, d.precision, value);
        digits.pop_back();
        m_result.append(digits.begin(), digits.end());
    }

    void text(const Directive& d, bool narrow) {
        // With a precision the text need not be terminated.
        const std::size_t limit = d.precision < 0 ? SIZE_MAX : static_cast<std::size_t>(d.precision);
        if (narrow) {
            const char* s = va_arg(m_arguments.list, const char*);
            if (s == nullptr) s = "(null)";
            padded(d, win32::WidenForDisplay({s, bounded_length(s, limit)}));
        } else {
            const wchar_t* s = va_arg(m_arguments.list, const wchar_t*);
            if (s == nullptr) s = L"(null)";
            padded(d, {s, bounded_length(s, limit)});
        }
    }

    template <class Char>
    static std::size_t bounded_length(const Char* s, std::size_t limit) {
        std::size_t length = 0;
        while (length < limit && s[length] != Char{}) ++length;
        return length;
    }

    void character(const Directive& d, bool narrow) {
        const int value = va_arg(m_arguments.list, int);
        const wchar_t c =
            narrow ? static_cast<wchar_t>(static_cast<unsigned char>(value)) : static_cast<wchar_t>(value);
        padded(d, {&c, 1});
    }

    void padded(const Directive& d, std::wstring_view content) {
        const auto width = static_cast<std::size_t>(d.width);
        const std::size_t padding = width > content.size() ? width - content.size() : 0;
        if (!d.left_aligned()) m_result.append(padding, L' ');
        m_result += content;
        if (d.left_aligned()) m_result.append(padding, L' ');
    }

    /// Widths and precisions end here: a wrong argument must not fill the memory.
    static constexpr int kMaxExtent = 65536;

    std::wstring_view m_rest;
    Arguments& m_arguments;
    std::wstring m_result;
};

}  // namespace

std::wstring format_message(const wchar_t* format, std::va_list arguments) {
    Arguments copy;
    va_copy(copy.list, arguments);
    std::wstring message = Formatter(format, copy).run();
    va_end(copy.list);
    return message;
}

}  // namespace qz_log
