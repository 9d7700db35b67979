// The sequence parameter set of an H.264 stream and the media type that follows from it.
#pragma once

#include "Platform/DirectShow/MediaType.h"
#include "VideoIO/MPEGUtil/H264ParameterSets.h"
#include "VideoIO/MPEGUtil/H26xSyntaxReader.h"

namespace qz_MPEGUtil {

/// All fields of the syntax are kept; the media type uses some of them. One thread at a time.
class H264SequenceParameterSet : public H264SequenceSyntax {
public:
    /// The subtype of the identified media type: MEDIASUBTYPE_AVC1 or MEDIASUBTYPE_H264.
    explicit H264SequenceParameterSet(const GUID& subtype) : m_subtype(subtype) {}

    /// Forgets all fields and the identified media type; subtype and input media type stay.
    void Reset();

    /// A media type already known for the stream, which tells the frame duration when the set does not.
    void SetInputMediaType(const CMediaType& type) { m_inputMediaType = type; }

    /// Reads the payload behind the NAL unit header. QZ_E_MORE_DATA, not logged, when the buffer ends
    /// first: the caller restores the reader's position and tries again with more. QZ_E_BAD_DATA for
    /// values that no stream may have. The flag has no effect.
    HRESULT Parse(H26xSyntaxReader& reader, int flag = 1);

    bool HasIdentifiedMediaType() const { return m_identifiedMediaType.IsValid(); }
    /// A type with an MPEG2VIDEOINFO whose sequence header is the set in Annex B form. E_UNEXPECTED
    /// before a complete parse.
    HRESULT GetIdentifiedMediaType(CMediaType& type) const;

private:
    struct Span {
        const BYTE* first;
        std::size_t before;  // bytes that the buffer holds in front of it
        std::size_t size;
    };

    HRESULT BuildMediaType(const Span& payload);
    REFERENCE_TIME AvgTimePerFrame() const;
    DWORD BitRate() const;
    HRESULT GetPictureAspectRatio(std::int64_t width, std::int64_t height, SIZE& pictAspectRatio) const;

    CMediaType m_inputMediaType;
    CMediaType m_identifiedMediaType;
    std::uint32_t m_frameTimeFactor = 2;  // ticks a frame
    GUID m_subtype;
};

}  // namespace qz_MPEGUtil
