// Properties read out of whatever format block a media type has. Results: S_OK; E_INVALIDARG when the block is absent
// or too short; E_NOTIMPL when a block of that kind does not tell the property. The out value is set on success alone.
#pragma once

#include "Platform/DirectShow/MediaType.h"

namespace qz_DSFilters {

/// Pixels. The height keeps its sign (negative: top row first).
HRESULT GetVideoSize(const AM_MEDIA_TYPE& type, SIZE& size);
/// Of the picture, not of a pixel.
HRESULT GetAspectRatio(const AM_MEDIA_TYPE& type, SIZE& aspectRatio);
/// 100 ns; for audio the duration of one sample. E_FAIL for a sample rate of 0.
HRESULT GetAvgTimePerFrame(const AM_MEDIA_TYPE& type, REFERENCE_TIME& avgTimePerFrame);
/// Bits a second; 0 for a byte stream.
HRESULT GetBitRate(const AM_MEDIA_TYPE& type, DWORD& bitRate);
/// Bytes of one picture, or of one audio sample over all channels. For compressed video the mean at its bit rate.
HRESULT GetFrameSize(const AM_MEDIA_TYPE& type, DWORD& frameSize);
/// AMINTERLACE_ flags.
HRESULT GetInterlaceFlags(const AM_MEDIA_TYPE& type, DWORD& interlaceFlags);
/// The part of the picture that is shown.
HRESULT GetSource(const AM_MEDIA_TYPE& type, RECT& source);

}  // namespace qz_DSFilters
