// Text in large pieces: for lists of millions of lines.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <string_view>

namespace mediakit_tool {

/// Collects text and hands it on when there is enough. One thread at a time.
class TextOutput {
public:
    /// The file outlives the object.
    explicit TextOutput(std::FILE* file) : m_file(file) {}
    ~TextOutput() { Flush(); }
    TextOutput(const TextOutput&) = delete;
    TextOutput& operator=(const TextOutput&) = delete;

    void Text(std::string_view text);
    /// Blanks stand in front of what is narrower.
    void Padded(std::string_view text, std::size_t width);
    void Number(std::int64_t value);
    void Number(std::int64_t value, std::size_t width);
    /// 8 digits.
    void Hexadecimal(std::uint32_t value);
    /// A time in 100 ns as seconds, all digits: "-1.0400000".
    void Seconds(std::int64_t time, std::size_t width);

    /// False when something could not be written.
    bool Flush();
    bool Failed() const { return m_failed; }

private:
    std::FILE* const m_file;
    std::array<char, 64 * 1024> m_buffer;
    std::size_t m_used = 0;
    bool m_failed = false;
};

}  // namespace mediakit_tool
