// Takes the NAL unit header off a parameter set in a DataBuffer and parses it.
#pragma once

#include "VideoIO/MPEGUtil/H264SequenceParameterSet.h"
#include "VideoIO/MPEGUtil/H26xSyntaxReader.h"

#include <array>
#include <cstdint>

namespace qz_MPEGUtil {

/// Works on a buffer of the caller's, which must outlive it. One thread at a time.
class H264PayloadParser {
public:
    H264PayloadParser(DataBuffer& buffer, const GUID& subtype) : m_reader(buffer), m_sps(subtype) {}

    /// Forgets what was parsed and where in a byte the reader stood, for a buffer with new content.
    void Reset();

    /// Parses the sequence parameter set NAL unit that begins at the buffer's read pointer, without a
    /// start code. QZ_E_MORE_DATA leaves the read pointer where it was: add bytes and call again.
    /// E_UNEXPECTED for another NAL unit.
    HRESULT ParseSPS();

    bool HasIdentifiedMediaType() const { return m_sps.HasIdentifiedMediaType(); }
    /// E_UNEXPECTED before a complete parse.
    HRESULT GetIdentifiedMediaType(CMediaType& type) const;

    const H264SequenceParameterSet& SequenceParameterSet() const { return m_sps; }

protected:
    H26xSyntaxReader m_reader;
    H264SequenceParameterSet m_sps;
    // For parsers of further NAL units that derive from this one.
    H264PictureParameterSet m_pps;
    std::array<std::uint32_t, 3> m_counters{};

private:
    HRESULT ReadNalHeader();
};

}  // namespace qz_MPEGUtil
