// All NAL units of a buffer that holds whole ones.
#pragma once

#include "VideoIO/MPEGUtil/StartCode.h"

#include <cstdint>
#include <span>

namespace qz_MPEGUtil {

/// Goes from unit to unit, of whatever type. A unit ends as the scanners end it: a zero in front of the next start
/// code belongs to that code, and so do up to three at the end of the data.
class AnnexBWalker {
public:
    explicit AnnexBWalker(std::span<const std::uint8_t> data)
        : m_next(FindStartCode(data.data(), data.data() + data.size())), m_end(data.data() + data.size()) {}

    /// False when there is no further unit. Never gives an empty one.
    bool next(std::span<const std::uint8_t>& unit) {
        while (m_next != m_end) {
            const std::uint8_t* begin = m_next + 3;
            m_next = FindStartCode(begin, m_end);
            const std::uint8_t* end = m_next;
            for (int zeros = m_next == m_end ? 3 : 1; zeros > 0 && end != begin && end[-1] == 0; --zeros) {
                --end;
            }
            if (begin != end) {
                unit = {begin, end};
                return true;
            }
        }
        return false;
    }

private:
    const std::uint8_t* m_next;  // the start code of the next unit
    const std::uint8_t* m_end;
};

}  // namespace qz_MPEGUtil
