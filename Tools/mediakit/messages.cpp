#include "Tools/mediakit/messages.h"

namespace mediakit_tool {

namespace {

constexpr const char* kEraseLine = "\r\x1b[K";

}  // namespace

void Messages::Print(std::string_view prefix, std::string_view text) {
    std::fprintf(m_out, "%s%.*s%.*s\n", m_statusShown ? kEraseLine : "", static_cast<int>(prefix.size()), prefix.data(),
                 static_cast<int>(text.size()), text.data());
    std::fflush(m_out);
    m_statusShown = false;
}

void Messages::Error(std::string_view text) {
    CAutoLock lock(&m_lock);
    Print("mediakit: ", text);
}

void Messages::Warning(std::string_view text) {
    CAutoLock lock(&m_lock);
    m_warnings.emplace_back(text);
    if (!m_quiet) Print("mediakit: warning: ", text);
}

void Messages::Line(std::string_view text) {
    CAutoLock lock(&m_lock);
    Print("", text);
}

void Messages::Status(std::string_view text, int columns) {
    CAutoLock lock(&m_lock);
    const auto room = static_cast<std::size_t>(columns > 1 ? columns - 1 : 1);
    const std::string_view shown = text.substr(0, room);
    std::fprintf(m_out, "%s%.*s", kEraseLine, static_cast<int>(shown.size()), shown.data());
    std::fflush(m_out);
    m_statusShown = true;
}

void Messages::EndStatus() {
    CAutoLock lock(&m_lock);
    if (m_statusShown) std::fputs(kEraseLine, m_out);
    std::fflush(m_out);
    m_statusShown = false;
}

std::vector<std::string> Messages::Warnings() const {
    CAutoLock lock(&m_lock);
    return m_warnings;
}

void StreamReport::Warn(Kind kind, std::string_view text) {
    if (m_counts[static_cast<int>(kind)]++ == 0) m_messages.Warning(m_name + ": " + std::string(text));
}

void StreamReport::Warn(Kind kind, unsigned long long position, std::string_view text) {
    Warn(kind, "byte " + std::to_string(position) + ": " + std::string(text));
}

}  // namespace mediakit_tool
