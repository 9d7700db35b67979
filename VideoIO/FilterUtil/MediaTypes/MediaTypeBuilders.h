// Media types made from their properties. Each builder empties the out type first and answers S_OK, E_INVALIDARG for
// properties that the format cannot tell, or E_OUTOFMEMORY. After a failure the out type is not to be used.
#pragma once

#include "Platform/DirectShow/MediaType.h"

#include <cstddef>
#include <vector>

namespace qz_DSFilters {

/// One parameter set each, without start code or length.
using ParameterSets = std::vector<std::vector<BYTE>>;

/// Audio with a WAVEFORMATEX: at most 2 channels, whole bytes a sample, at most 32 bits. The subtype is the format
/// tag's. Extra data (may be null) follow the header.
HRESULT BuildPCMMediaType(WORD formatTag, WORD nbrOfChannels, DWORD samplesPerSecond, WORD nbrOfBitsPerSample,
                          DWORD avgBytesPerSecond, const BYTE* extraData, DWORD extraSize, CMediaType& type);

/// Audio with a WAVEFORMATEXTENSIBLE, for any number of channels; the mask tells which they are.
HRESULT BuildExtensibleMediaType(WORD formatTag, WORD nbrOfChannels, DWORD samplesPerSecond, WORD nbrOfBitsPerSample,
                                 DWORD channelMask, const BYTE* extraData, DWORD extraSize, CMediaType& type);

/// Video with a VIDEOINFOHEADER2. Bit rate in bits a second, time per frame in 100 ns and above 0. Depth and
/// compression code follow from an uncompressed subtype and are 0 for others. Extra data follow the header.
HRESULT BuildVideoInfo2MediaType(const SIZE& size, const SIZE& aspectRatio, DWORD bitRate, const GUID& subtype,
                                 REFERENCE_TIME avgTimePerFrame, DWORD interlaceFlags, const BYTE* extraData,
                                 DWORD extraSize, CMediaType& type);

/// H.264 video with length-prefixed NAL units and an MPEG2VIDEOINFO. The sequence header holds each parameter set
/// behind a 2-byte big-endian length; naluPrefixLength is the length of the prefixes in the samples, in bytes.
HRESULT BuildAVC1MediaType(const SIZE& size, const SIZE& aspectRatio, DWORD interlaceFlags,
                           REFERENCE_TIME avgTimePerFrame, DWORD bitRate, DWORD profile, DWORD level,
                           const ParameterSets& parameterSets, DWORD naluPrefixLength, CMediaType& type);

/// The same for H.265; the parameter sets are VPS, SPS and PPS.
HRESULT BuildHVC1MediaType(const SIZE& size, const SIZE& aspectRatio, DWORD interlaceFlags,
                           REFERENCE_TIME avgTimePerFrame, DWORD bitRate, DWORD profile, DWORD level,
                           const ParameterSets& parameterSets, DWORD naluPrefixLength, CMediaType& type);

/// Bytes of an uncompressed picture: rows padded to 4 bytes, times the height without its sign.
DWORD GetBitmapSize(const BITMAPINFOHEADER& header);

/// The channel mask for a number of channels (1 to 8) in their usual places, 0 for other numbers.
DWORD GetBitMask(DWORD bitCount);

}  // namespace qz_DSFilters
