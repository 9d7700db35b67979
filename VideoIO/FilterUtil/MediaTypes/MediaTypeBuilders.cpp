#include "VideoIO/FilterUtil/MediaTypes/MediaTypeBuilders.h"

#include "Logging/Checks.h"
#include "Platform/DirectShow/WaveFormatTags.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace qz_DSFilters {

namespace {

struct PictureFormat {
    GUID subtype;
    WORD bitCount;
    DWORD compression;
};

/// A subtype of a four-character code, with that code as its compression.
constexpr PictureFormat SameCode(const GUID& subtype, WORD bitCount) { return {subtype, bitCount, subtype.Data1}; }

constexpr PictureFormat PictureFormats[] = {
    SameCode(MEDIASUBTYPE_UYVY, 16),
    SameCode(MEDIASUBTYPE_YUY2, 16),
    SameCode(QZ_MEDIASUBTYPE_HDYC, 16),
    SameCode(MEDIASUBTYPE_YV12, 12),
    SameCode(MEDIASUBTYPE_NV12, 12),
    SameCode(MEDIASUBTYPE_Y411, 12),
    SameCode(MEDIASUBTYPE_IYUV, 12),
    SameCode(MEDIASUBTYPE_I420, 12),
    SameCode(MEDIASUBTYPE_YVU9, 9),
    SameCode(MEDIASUBTYPE_BYRG, 8),
    SameCode(MEDIASUBTYPE_BYGB, 8),
    SameCode(MEDIASUBTYPE_BYGR, 8),
    SameCode(MEDIASUBTYPE_BYBG, 8),
    SameCode(MEDIASUBTYPE_Y800, 8),
    {MEDIASUBTYPE_RGB24, 24, BI_RGB},
    {MEDIASUBTYPE_RGB32, 32, BI_RGB},
    {MEDIASUBTYPE_ARGB32, 32, BI_RGB},
    {MEDIASUBTYPE_RGB8, 8, BI_RGB},
    {MEDIASUBTYPE_RGB555, 16, BI_RGB},
    {MEDIASUBTYPE_RGB565, 16, BI_RGB},
    {MEDIASUBTYPE_dvsd, 0, MEDIATYPE_Interleaved.Data1},  // "iavs"
    SameCode(MEDIASUBTYPE_MJPG, 0),
};

/// Depth and compression code; both 0 for a subtype that is not in the table.
PictureFormat FindPictureFormat(const GUID& subtype) {
    const auto* found = std::find_if(std::begin(PictureFormats), std::end(PictureFormats),
                                     [&](const PictureFormat& format) { return format.subtype == subtype; });
    return found != std::end(PictureFormats) ? *found : PictureFormat{subtype, 0, BI_RGB};
}

std::uint64_t WithoutSign(LONG value) {
    const std::int64_t wide = value;
    return static_cast<std::uint64_t>(wide < 0 ? -wide : wide);
}

/// A zeroed block of header and extra bytes; null when there is no memory for it.
BYTE* AllocateFormat(CMediaType& type, std::uint64_t headerSize, std::uint64_t extraSize) {
    const std::uint64_t size = headerSize + extraSize;
    if (size > std::numeric_limits<ULONG>::max()) return nullptr;
    BYTE* format = type.AllocFormatBuffer(static_cast<ULONG>(size));
    if (format != nullptr) std::memset(format, 0, static_cast<std::size_t>(size));
    return format;
}

void CopyExtra(BYTE* target, const BYTE* extraData, DWORD extraSize) {
    if (extraData != nullptr && extraSize != 0) std::memcpy(target, extraData, extraSize);
}

void StartAudio(CMediaType& type, WORD formatTag, DWORD sampleSize) {
    type = CMediaType();
    type.majortype = MEDIATYPE_Audio;
    type.subtype = subtype_of(formatTag);
    type.formattype = FORMAT_WaveFormatEx;
    type.bFixedSizeSamples = TRUE;
    type.lSampleSize = sampleSize;
}

RECT PictureRect(const SIZE& size) {
    const auto height = std::min<std::uint64_t>(WithoutSign(size.cy), std::numeric_limits<LONG>::max());
    return {0, 0, size.cx, static_cast<LONG>(height)};
}

struct VideoProperties {
    const SIZE& size;
    const SIZE& aspectRatio;
    DWORD bitRate;
    REFERENCE_TIME avgTimePerFrame;
    DWORD interlaceFlags;
};

void FillHeader(VIDEOINFOHEADER2& header, const VideoProperties& video) {
    header.rcSource = PictureRect(video.size);
    header.rcTarget = header.rcSource;
    header.dwBitRate = video.bitRate;
    header.AvgTimePerFrame = video.avgTimePerFrame;
    header.dwInterlaceFlags = video.interlaceFlags;
    header.dwPictAspectRatioX = static_cast<DWORD>(video.aspectRatio.cx);
    header.dwPictAspectRatioY = static_cast<DWORD>(video.aspectRatio.cy);
    header.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    header.bmiHeader.biWidth = video.size.cx;
    header.bmiHeader.biHeight = video.size.cy;
    header.bmiHeader.biPlanes = 1;
}

constexpr std::size_t LengthBytes = 2;  // in front of each parameter set

HRESULT BuildLengthPrefixedMediaType(const GUID& subtype, const VideoProperties& video, DWORD profile, DWORD level,
                                     const ParameterSets& parameterSets, DWORD naluPrefixLength, CMediaType& type) {
    type = CMediaType();
    std::uint64_t headerSize = 0;
    for (const auto& parameterSet : parameterSets) {
        QZCheckCondition(parameterSet.size() <= 0xFFFF, E_INVALIDARG);
        headerSize += LengthBytes + parameterSet.size();
    }
    type.majortype = MEDIATYPE_Video;
    type.subtype = subtype;
    type.bTemporalCompression = TRUE;
    type.formattype = FORMAT_MPEG2Video;
    BYTE* pFormat = AllocateFormat(type, sizeof(MPEG2VIDEOINFO), headerSize);
    QZCheckCondition(pFormat != 0, E_OUTOFMEMORY);

    auto& info = *reinterpret_cast<MPEG2VIDEOINFO*>(pFormat);
    FillHeader(info.hdr, video);
    info.cbSequenceHeader = static_cast<DWORD>(headerSize);
    info.dwProfile = profile;
    info.dwLevel = level;
    info.dwFlags = naluPrefixLength;

    BYTE* cursor = pFormat + offsetof(MPEG2VIDEOINFO, dwSequenceHeader);
    for (const auto& parameterSet : parameterSets) {
        *cursor++ = static_cast<BYTE>(parameterSet.size() >> 8);
        *cursor++ = static_cast<BYTE>(parameterSet.size());
        cursor = std::copy(parameterSet.begin(), parameterSet.end(), cursor);
    }
    return S_OK;
}

}  // namespace

HRESULT BuildPCMMediaType(WORD formatTag, WORD nbrOfChannels, DWORD samplesPerSecond, WORD nbrOfBitsPerSample,
                          DWORD avgBytesPerSecond, const BYTE* extraData, DWORD extraSize, CMediaType& type) {
    const DWORD sampleSize = DWORD{nbrOfChannels} * nbrOfBitsPerSample / 8;
    StartAudio(type, formatTag, sampleSize);
    QZCheckCondition((nbrOfBitsPerSample % 8) == 0, E_INVALIDARG);
    QZCheckCondition(nbrOfChannels <= 2, E_INVALIDARG);
    QZCheckCondition(nbrOfBitsPerSample <= 32, E_INVALIDARG);

    auto* pwfex = reinterpret_cast<WAVEFORMATEX*>(AllocateFormat(type, sizeof(WAVEFORMATEX), extraSize));
    QZCheckCondition(pwfex != 0, E_OUTOFMEMORY);
    pwfex->wFormatTag = formatTag;
    pwfex->nChannels = nbrOfChannels;
    pwfex->nSamplesPerSec = samplesPerSecond;
    pwfex->nAvgBytesPerSec = avgBytesPerSecond;
    pwfex->nBlockAlign = static_cast<WORD>(sampleSize);
    pwfex->wBitsPerSample = nbrOfBitsPerSample;
    pwfex->cbSize = static_cast<WORD>(extraSize);
    CopyExtra(type.pbFormat + sizeof(WAVEFORMATEX), extraData, extraSize);
    return S_OK;
}

HRESULT BuildExtensibleMediaType(WORD formatTag, WORD nbrOfChannels, DWORD samplesPerSecond, WORD nbrOfBitsPerSample,
                                 DWORD channelMask, const BYTE* extraData, DWORD extraSize, CMediaType& type) {
    const DWORD sampleSize = DWORD{nbrOfChannels} * (nbrOfBitsPerSample / 8u);
    StartAudio(type, formatTag, sampleSize);

    auto* pwfex =
        reinterpret_cast<WAVEFORMATEXTENSIBLE*>(AllocateFormat(type, sizeof(WAVEFORMATEXTENSIBLE), extraSize));
    QZCheckCondition(pwfex != 0, E_OUTOFMEMORY);
    WAVEFORMATEX& format = pwfex->Format;
    format.wFormatTag = WAVE_FORMAT_EXTENSIBLE;
    format.nChannels = nbrOfChannels;
    format.nSamplesPerSec = samplesPerSecond;
    format.nBlockAlign = static_cast<WORD>(sampleSize);
    format.nAvgBytesPerSec = format.nBlockAlign * samplesPerSecond;
    format.wBitsPerSample = nbrOfBitsPerSample;
    format.cbSize = static_cast<WORD>(sizeof(WAVEFORMATEXTENSIBLE) - sizeof(WAVEFORMATEX) + extraSize);
    pwfex->Samples.wValidBitsPerSample = nbrOfBitsPerSample;
    pwfex->dwChannelMask = channelMask;
    pwfex->SubFormat = type.subtype;
    CopyExtra(type.pbFormat + sizeof(WAVEFORMATEXTENSIBLE), extraData, extraSize);
    return S_OK;
}

HRESULT BuildVideoInfo2MediaType(const SIZE& size, const SIZE& aspectRatio, DWORD bitRate, const GUID& subtype,
                                 REFERENCE_TIME avgTimePerFrame, DWORD interlaceFlags, const BYTE* extraData,
                                 DWORD extraSize, CMediaType& type) {
    type = CMediaType();
    QZCheckCondition(avgTimePerFrame > 0, E_INVALIDARG);

    type.majortype = MEDIATYPE_Video;
    type.subtype = subtype;
    type.formattype = FORMAT_VideoInfo2;
    auto* pVideoInfo = reinterpret_cast<VIDEOINFOHEADER2*>(AllocateFormat(type, sizeof(VIDEOINFOHEADER2), extraSize));
    QZCheckCondition(pVideoInfo != 0, E_OUTOFMEMORY);
    FillHeader(*pVideoInfo, {size, aspectRatio, bitRate, avgTimePerFrame, interlaceFlags});

    BITMAPINFOHEADER& bitmap = pVideoInfo->bmiHeader;
    const PictureFormat picture = FindPictureFormat(subtype);
    bitmap.biBitCount = picture.bitCount;
    bitmap.biCompression = picture.compression;
    bitmap.biSizeImage = GetBitmapSize(bitmap);

    type.bFixedSizeSamples = TRUE;
    type.bTemporalCompression = subtype == MEDIASUBTYPE_H264 ? TRUE : FALSE;
    type.lSampleSize = bitmap.biSizeImage;
    CopyExtra(type.pbFormat + sizeof(VIDEOINFOHEADER2), extraData, extraSize);
    return S_OK;
}

HRESULT BuildAVC1MediaType(const SIZE& size, const SIZE& aspectRatio, DWORD interlaceFlags,
                           REFERENCE_TIME avgTimePerFrame, DWORD bitRate, DWORD profile, DWORD level,
                           const ParameterSets& parameterSets, DWORD naluPrefixLength, CMediaType& type) {
    return BuildLengthPrefixedMediaType(MEDIASUBTYPE_AVC1,
                                        {size, aspectRatio, bitRate, avgTimePerFrame, interlaceFlags}, profile, level,
                                        parameterSets, naluPrefixLength, type);
}

HRESULT BuildHVC1MediaType(const SIZE& size, const SIZE& aspectRatio, DWORD interlaceFlags,
                           REFERENCE_TIME avgTimePerFrame, DWORD bitRate, DWORD profile, DWORD level,
                           const ParameterSets& parameterSets, DWORD naluPrefixLength, CMediaType& type) {
    return BuildLengthPrefixedMediaType(MEDIASUBTYPE_HVC1,
                                        {size, aspectRatio, bitRate, avgTimePerFrame, interlaceFlags}, profile, level,
                                        parameterSets, naluPrefixLength, type);
}

DWORD GetBitmapSize(const BITMAPINFOHEADER& header) {
    const std::uint64_t rowBytes = (WithoutSign(header.biWidth) * header.biBitCount + 31) / 32 * 4;
    const std::uint64_t height = WithoutSign(header.biHeight);
    constexpr std::uint64_t limit = std::numeric_limits<DWORD>::max();
    if (height != 0 && rowBytes > limit / height) return static_cast<DWORD>(limit);
    return static_cast<DWORD>(rowBytes * height);
}

DWORD GetBitMask(DWORD bitCount) {
    static constexpr DWORD masks[] = {0, 1, 3, 3, 15, 15, 63, 63, 255};
    return bitCount < std::size(masks) ? masks[bitCount] : 0;
}

}  // namespace qz_DSFilters
