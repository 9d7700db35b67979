#include "Tools/mediakit/text_output.h"

#include "Tools/mediakit/frame_rate.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace mediakit_tool {

namespace {

constexpr std::size_t kNumberLength = 32;
constexpr std::size_t kFractionDigits = 7;

/// A number in text form on the stack.
struct Digits {
    explicit Digits(std::int64_t value) : end(std::to_chars(text, text + kNumberLength, value).ptr) {}
    std::string_view View() const { return {text, static_cast<std::size_t>(end - text)}; }

    char text[kNumberLength];
    char* end;
};

}  // namespace

void TextOutput::Text(std::string_view text) {
    while (!text.empty()) {
        if (m_used == m_buffer.size()) Flush();
        const std::size_t count = std::min(text.size(), m_buffer.size() - m_used);
        std::memcpy(m_buffer.data() + m_used, text.data(), count);
        m_used += count;
        text.remove_prefix(count);
    }
}

void TextOutput::Padded(std::string_view text, std::size_t width) {
    constexpr std::string_view kBlanks = "                                ";
    if (text.size() < width) Text(kBlanks.substr(0, width - text.size()));
    Text(text);
}

void TextOutput::Number(std::int64_t value) { Text(Digits(value).View()); }

void TextOutput::Number(std::int64_t value, std::size_t width) { Padded(Digits(value).View(), width); }

void TextOutput::Hexadecimal(std::uint32_t value) {
    char text[8];
    for (std::size_t i = 0; i < sizeof text; ++i) text[i] = "0123456789abcdef"[value >> (28 - 4 * i) & 0xF];
    Text({text, sizeof text});
}

void TextOutput::Seconds(std::int64_t time, std::size_t width) {
    char text[kNumberLength];
    char* at = text;
    std::uint64_t units = static_cast<std::uint64_t>(time);
    if (time < 0) {
        *at++ = '-';
        units = 0 - units;
    }
    at = std::to_chars(at, text + kNumberLength, units / static_cast<std::uint64_t>(kUnitsPerSecond)).ptr;
    *at++ = '.';
    std::uint64_t fraction = units % static_cast<std::uint64_t>(kUnitsPerSecond);
    for (std::size_t i = kFractionDigits; i-- > 0; fraction /= 10) at[i] = static_cast<char>('0' + fraction % 10);
    Padded({text, static_cast<std::size_t>(at + kFractionDigits - text)}, width);
}

bool TextOutput::Flush() {
    if (std::fwrite(m_buffer.data(), 1, m_used, m_file) != m_used || std::fflush(m_file) != 0) m_failed = true;
    m_used = 0;
    return !m_failed;
}

}  // namespace mediakit_tool
