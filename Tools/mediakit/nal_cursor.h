// Walks over the NAL units of an Annex B stream as it is read.
#pragma once

#include "Tools/mediakit/stream_window.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

namespace mediakit_tool {

/// Stands on one NAL unit. Every byte is searched for a start code once, also over many reads. All
/// offsets are in the window, from its first unread byte.
class NalCursor {
public:
    /// Longest run of unread bytes in which no access unit ends; beyond it the stream is damaged.
    static constexpr std::size_t kLargestRun = 64 * 1024 * 1024;

    explicit NalCursor(StreamWindow& window) : m_window(window) {}

    /// Drops everything up to the next start code, from the front of the window or, with `skipCurrent`,
    /// from where the search has come to. False when none comes. *dropped is the number of bytes, but for
    /// runs of zeros, which may stand in front of a start code.
    bool Restart(bool skipCurrent, std::uint64_t* dropped);

    /// Offset of the start code (with its zero byte, if it has four).
    std::size_t Code() const { return m_code; }
    /// The unit without start code, or its first bytes: at least `size` of them unless it is shorter.
    /// Valid until the window moves.
    std::span<const std::uint8_t> Peek(std::size_t size);
    /// The whole unit, without the zero bytes behind it.
    std::span<const std::uint8_t> Whole() { return Peek(kAll); }
    /// Offset behind its last byte.
    std::size_t End();

    /// Steps to the next unit; false when this is the last one.
    bool Advance();
    /// Takes this unit out of the window and steps to the next one; false when there is none.
    bool Cut();
    /// The window lost its first `size` bytes, none of them of this unit.
    void Rebase(std::size_t size);

    /// The unit or what lies before it runs beyond kLargestRun: Restart.
    bool Overlong() const { return m_window.Size() > kLargestRun; }

private:
    static constexpr std::size_t kAll = std::numeric_limits<std::size_t>::max();
    static constexpr std::size_t kNone = kAll;

    void Search(std::size_t wanted);
    void StepTo(std::size_t code);

    StreamWindow& m_window;
    std::size_t m_code = 0;
    std::size_t m_start = 0;     ///< first byte of the unit
    std::size_t m_scan = 0;      ///< no start code begins in front of this and behind m_start
    std::size_t m_next = kNone;  ///< the 00 00 01 behind the unit
};

}  // namespace mediakit_tool
