#include "Tools/mediakit/nal_cursor.h"

#include "VideoIO/MPEGUtil/StartCode.h"

#include <algorithm>

namespace mediakit_tool {

namespace {

constexpr std::size_t kCodeSize = 3;

}  // namespace

bool NalCursor::Restart(bool skipCurrent, std::uint64_t* dropped) {
    *dropped = 0;
    if (!skipCurrent) m_scan = m_start = 0;
    m_next = kNone;
    for (;;) {
        const auto bytes = m_window.Bytes();
        const std::uint8_t* const end = bytes.data() + bytes.size();
        const std::uint8_t* const code = bytes.empty() ? end : qz_MPEGUtil::FindStartCode(bytes.data() + m_scan, end);
        const bool found = code != end;
        // A start code, of four bytes perhaps, may be cut in two by the end of what is there.
        const std::size_t keep = found || m_window.AtEnd() ? 0 : std::min(bytes.size(), kCodeSize);
        std::size_t drop = static_cast<std::size_t>(code - bytes.data()) - keep;
        if (found && drop > 0 && bytes[drop - 1] == 0) --drop;
        const auto gone = bytes.first(drop);
        if (std::any_of(gone.begin(), gone.end(), [](std::uint8_t byte) { return byte != 0; })) *dropped += drop;
        m_window.Drop(drop);
        m_scan = m_start = 0;
        if (found) {
            StepTo(static_cast<std::size_t>(code - bytes.data()) - drop);
            return true;
        }
        if (!m_window.Fill() && keep == 0) return false;
    }
}

/// Finds the start code behind the unit, or at least looks through `wanted` bytes of it.
void NalCursor::Search(std::size_t wanted) {
    while (m_next == kNone) {
        const auto bytes = m_window.Bytes();
        const std::uint8_t* const end = bytes.data() + bytes.size();
        const std::uint8_t* const code = qz_MPEGUtil::FindStartCode(bytes.data() + m_scan, end);
        if (code != end) {
            m_next = static_cast<std::size_t>(code - bytes.data());
            return;
        }
        m_scan = std::max(m_start, bytes.size() - std::min(bytes.size(), kCodeSize - 1));
        if (bytes.size() - m_start >= wanted || Overlong() || !m_window.Fill()) return;
    }
}

std::size_t NalCursor::End() {
    Search(kAll);
    const auto bytes = m_window.Bytes();
    std::size_t end = m_next != kNone ? m_next : bytes.size();
    while (end > m_start && bytes[end - 1] == 0) --end;
    return end;
}

std::span<const std::uint8_t> NalCursor::Peek(std::size_t size) {
    Search(size);
    const std::size_t there = m_window.Size() - m_start;
    const std::size_t known = m_next != kNone || size > there ? End() - m_start : there;
    return m_window.Bytes().subspan(m_start, std::min(size, known));
}

void NalCursor::StepTo(std::size_t code) {
    m_start = code + kCodeSize;
    m_code = code > 0 && m_window.Bytes()[code - 1] == 0 ? code - 1 : code;
    m_scan = m_start;
    m_next = kNone;
}

bool NalCursor::Advance() {
    Search(kAll);
    if (m_next == kNone) return false;
    StepTo(m_next);
    return true;
}

bool NalCursor::Cut() {
    const std::size_t code = m_code;
    const bool more = Advance();
    const std::size_t size = (more ? m_code : m_window.Size()) - code;
    m_window.Cut(code, size);
    if (more) {
        m_code -= size;
        m_start -= size;
        m_scan -= size;
    }
    return more;
}

void NalCursor::Rebase(std::size_t size) {
    m_code -= size;
    m_start -= size;
    m_scan -= size;
    if (m_next != kNone) m_next -= size;
}

}  // namespace mediakit_tool
