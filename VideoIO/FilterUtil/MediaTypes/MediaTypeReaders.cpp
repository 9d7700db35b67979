#include "VideoIO/FilterUtil/MediaTypes/MediaTypeReaders.h"

#include "Logging/Checks.h"
#include "Platform/DirectShow/WaveFormatTags.h"
#include "VideoIO/FilterUtil/MediaTypes/DVFormat.h"
#include "VideoIO/FilterUtil/MediaTypes/FormatBlock.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace qz_DSFilters {

namespace {

/// For format types that do not tell what was asked.
HRESULT NotTold() {
    QZLogHRESULT(E_NOTIMPL);
    return E_NOTIMPL;
}

LONG WithoutSign(LONG value) {
    const std::int64_t wide = value;
    return static_cast<LONG>(std::min<std::int64_t>(wide < 0 ? -wide : wide, std::numeric_limits<LONG>::max()));
}

/// Width and height, 0 by 0 for an empty or senseless rectangle.
SIZE SizeOf(const RECT& rect) {
    const std::int64_t width = std::int64_t{rect.right} - rect.left;
    const std::int64_t height = std::int64_t{rect.bottom} - rect.top;
    constexpr std::int64_t limit = std::numeric_limits<LONG>::max();
    if (width <= 0 || height <= 0 || width > limit || height > limit) return {0, 0};
    return {static_cast<LONG>(width), static_cast<LONG>(height)};
}

/// Bytes of a frame at the bit rate, cut to whole ones. In double precision, since the product of a hostile header's
/// values does not fit 64 bits.
DWORD MeanFrameSize(DWORD bitRate, REFERENCE_TIME avgTimePerFrame) {
    const double bytes = static_cast<double>(bitRate) * static_cast<double>(avgTimePerFrame) / 80000000.0;
    return static_cast<DWORD>(std::clamp(bytes, 0.0, static_cast<double>(std::numeric_limits<DWORD>::max())));
}

constexpr REFERENCE_TIME PALTimePerFrame = 400000;
constexpr REFERENCE_TIME NTSCTimePerFrame = 333667;

}  // namespace

HRESULT GetVideoSize(const AM_MEDIA_TYPE& type, SIZE& size) {
    VideoHeader header;
    const HRESULT found = FindVideoHeader(type, header);
    if (FAILED(found)) return found;
    if (found == S_OK) {
        const SIZE source = header.mpeg ? SizeOf(*header.rcSource) : SIZE{0, 0};
        size = source.cx > 0 ? source : SIZE{header.bmiHeader->biWidth, header.bmiHeader->biHeight};
        return S_OK;
    }
    if (type.formattype == FORMAT_DvInfo) {
        const auto* pDVInfo = FormatBlock<DVINFO>(type);
        QZCheckCondition(pDVInfo != 0, E_INVALIDARG);
        size = {720, IsPAL(*pDVInfo) ? 576 : 480};
        return S_OK;
    }
    return NotTold();
}

HRESULT GetAspectRatio(const AM_MEDIA_TYPE& type, SIZE& aspectRatio) {
    VideoHeader header;
    const HRESULT found = FindVideoHeader(type, header);
    if (FAILED(found)) return found;
    if (found == S_OK) {
        const BITMAPINFOHEADER& bitmap = *header.bmiHeader;
        if (header.header2 != nullptr)
            aspectRatio = {static_cast<LONG>(header.header2->dwPictAspectRatioX),
                           static_cast<LONG>(header.header2->dwPictAspectRatioY)};
        else
            aspectRatio = {bitmap.biWidth, header.mpeg ? bitmap.biHeight : WithoutSign(bitmap.biHeight)};
        return S_OK;
    }
    if (type.formattype == FORMAT_DvInfo) {
        const auto* pDVInfo = FormatBlock<DVINFO>(type);
        QZCheckCondition(pDVInfo != 0, E_INVALIDARG);
        aspectRatio = GetDVAspectRatio(*pDVInfo);
        return S_OK;
    }
    return NotTold();
}

HRESULT GetAvgTimePerFrame(const AM_MEDIA_TYPE& type, REFERENCE_TIME& avgTimePerFrame) {
    VideoHeader header;
    const HRESULT found = FindVideoHeader(type, header);
    if (FAILED(found)) return found;
    if (found == S_OK) {
        avgTimePerFrame = *header.AvgTimePerFrame;
        return S_OK;
    }
    if (type.formattype == FORMAT_DvInfo) {
        const auto* pDVInfo = FormatBlock<DVINFO>(type);
        QZCheckCondition(pDVInfo != 0, E_INVALIDARG);
        avgTimePerFrame = IsPAL(*pDVInfo) ? PALTimePerFrame : NTSCTimePerFrame;
        return S_OK;
    }
    if (type.formattype == FORMAT_WaveFormatEx) {
        const auto* pWaveFormat = FormatBlock<WAVEFORMATEX>(type);
        QZCheckCondition(pWaveFormat != 0, E_INVALIDARG);
        QZCheckCondition(pWaveFormat->nSamplesPerSec > 0, E_FAIL);
        avgTimePerFrame = 10000000 / pWaveFormat->nSamplesPerSec;
        return S_OK;
    }
    if (type.formattype == FORMAT_AnalogVideo) {
        const auto* pVIH = FormatBlock<ANALOGVIDEOINFO>(type);
        QZCheckCondition(pVIH != 0, E_INVALIDARG);
        avgTimePerFrame = pVIH->AvgTimePerFrame;
        return S_OK;
    }
    if (type.formattype == FORMAT_None) {
        QZLogHRESULT(E_UNEXPECTED);
        avgTimePerFrame = PALTimePerFrame;
        return S_OK;
    }
    return NotTold();
}

HRESULT GetBitRate(const AM_MEDIA_TYPE& type, DWORD& bitRate) {
    VideoHeader header;
    const HRESULT found = FindVideoHeader(type, header);
    if (FAILED(found)) return found;
    if (found == S_OK) {
        bitRate = *header.dwBitRate;
        return S_OK;
    }
    if (type.formattype == FORMAT_DvInfo) {
        const auto* pDVInfo = FormatBlock<DVINFO>(type);
        QZCheckCondition(pDVInfo != 0, E_INVALIDARG);
        bitRate = IsPAL(*pDVInfo) ? 28800000 : 28771200;
        return S_OK;
    }
    if (type.formattype == FORMAT_WaveFormatEx) {
        const auto* pWaveFormat = FormatBlock<WAVEFORMATEX>(type);
        QZCheckCondition(pWaveFormat != 0, E_INVALIDARG);
        bitRate = pWaveFormat->nAvgBytesPerSec * 8;
        return S_OK;
    }
    if (type.majortype == MEDIATYPE_Stream) {
        bitRate = 0;
        return S_OK;
    }
    return NotTold();
}

HRESULT GetFrameSize(const AM_MEDIA_TYPE& type, DWORD& frameSize) {
    VideoHeader header;
    const HRESULT found = FindVideoHeader(type, header);
    if (FAILED(found)) return found;
    if (found == S_OK) {
        frameSize =
            header.mpeg ? MeanFrameSize(*header.dwBitRate, *header.AvgTimePerFrame) : header.bmiHeader->biSizeImage;
        return S_OK;
    }
    if (type.formattype == FORMAT_DvInfo) {
        const auto* pDVInfo = FormatBlock<DVINFO>(type);
        QZCheckCondition(pDVInfo != 0, E_INVALIDARG);
        frameSize = IsPAL(*pDVInfo) ? 144000 : 120000;
        return S_OK;
    }
    if (type.formattype == FORMAT_WaveFormatEx) {
        const auto* pWaveFormat = FormatBlock<WAVEFORMATEX>(type);
        QZCheckCondition(pWaveFormat != 0, E_INVALIDARG);
        QZCheckCondition((pWaveFormat->wFormatTag == 1) || (pWaveFormat->wFormatTag == 0xFFFE), E_INVALIDARG);
        frameSize = DWORD{pWaveFormat->wBitsPerSample} / 8 * pWaveFormat->nChannels;
        return S_OK;
    }
    if (type.formattype == FORMAT_None) {
        frameSize = 144000;
        return S_OK;
    }
    return NotTold();
}

HRESULT GetInterlaceFlags(const AM_MEDIA_TYPE& type, DWORD& interlaceFlags) {
    VideoHeader header;
    const HRESULT found = FindVideoHeader(type, header);
    if (FAILED(found)) return found;
    if (found == S_OK) {
        interlaceFlags = header.header2 != nullptr ? header.header2->dwInterlaceFlags : 0;
        return S_OK;
    }
    if (type.formattype == FORMAT_DvInfo) {
        const auto* pDVInfo = FormatBlock<DVINFO>(type);
        QZCheckCondition(pDVInfo != 0, E_INVALIDARG);
        interlaceFlags = GetDVInterlaceFlags(*pDVInfo);
        return S_OK;
    }
    return NotTold();
}

HRESULT GetSource(const AM_MEDIA_TYPE& type, RECT& source) {
    VideoHeader header;
    const HRESULT found = FindVideoHeader(type, header);
    if (FAILED(found)) return found;
    if (found == S_OK) {
        source = *header.rcSource;
        return S_OK;
    }
    if (type.formattype == FORMAT_AnalogVideo) {
        const auto* pVIH = FormatBlock<ANALOGVIDEOINFO>(type);
        QZCheckCondition(pVIH != 0, E_INVALIDARG);
        source = pVIH->rcSource;
        return S_OK;
    }
    return NotTold();
}

}  // namespace qz_DSFilters
