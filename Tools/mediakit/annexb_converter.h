// H.264 and H.265 out of MP4 samples as Annex B byte streams (ISO/IEC 14496-15 to 14496-10 and 23008-2, Annex B).
#pragma once

#include "Platform/DirectShow/MediaType.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace mediakit_tool {

/// A converted sample: its parts, one behind the other, each of whole units with start codes. They lie in the sample
/// and in the converter and stay until either changes.
struct AnnexBSample {
    std::span<const std::uint8_t> delimiter;      ///< the access unit delimiter, which has to stay in front
    std::span<const std::uint8_t> parameterSets;  ///< put in; empty when the sample needs none
    std::span<const std::uint8_t> units;          ///< the rest of the sample
    bool broken = false;  ///< a unit reaches past the sample's end: it and what follows are left out

    std::size_t size() const { return delimiter.size() + parameterSets.size() + units.size(); }
};

/// Start codes for the length prefixes of `AVC1` and `HVC1` samples, and the stream's parameter sets in front of each
/// sync sample that lacks a kind of them, and of the first sample. One thread.
class AnnexBConverter {
public:
    /// Takes the parameter sets and the length of the prefixes out of the media type. False for another type, for one
    /// without a whole MPEG2VIDEOINFO, and for prefixes that are not 1, 2 or 4 bytes long.
    bool Open(const AM_MEDIA_TYPE& type);

    /// Prefixes of 4 bytes are overwritten where they lie; samples with shorter ones are copied.
    AnnexBSample Convert(std::span<std::uint8_t> sample, bool sync);

    /// The stream's own, with start codes; may be empty.
    const std::vector<std::uint8_t>& ParameterSets() const { return m_sets; }

private:
    std::uint32_t KindOf(std::uint8_t firstByte) const;
    bool IsDelimiter(std::uint8_t firstByte) const;

    std::vector<std::uint8_t> m_sets;
    std::uint32_t m_kinds = 0;  ///< of parameter sets that the stream has, a bit each
    std::size_t m_lengthSize = 0;
    bool m_hevc = false;
    bool m_first = true;
    std::vector<std::uint8_t> m_copy;
};

}  // namespace mediakit_tool
