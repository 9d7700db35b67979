// Finding the start codes of ISO/IEC 14496-10 Annex B and ISO/IEC 23008-2 Annex B at memory speed.
#pragma once

#include <cstdint>

namespace qz_MPEGUtil {

/// The first of the three bytes 00 00 01 that come first in [begin, end), or `end` when there are none. Reads
/// nothing outside the range. Uses the vector unit that the processor has.
const std::uint8_t* FindStartCode(const std::uint8_t* begin, const std::uint8_t* end);

/// The same without vector instructions: what other processors get, and what the tests compare with.
const std::uint8_t* FindStartCodePlain(const std::uint8_t* begin, const std::uint8_t* end);

}  // namespace qz_MPEGUtil
