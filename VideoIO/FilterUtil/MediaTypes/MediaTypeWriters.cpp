#include "VideoIO/FilterUtil/MediaTypes/MediaTypeWriters.h"

#include "Logging/Checks.h"
#include "VideoIO/FilterUtil/MediaTypes/DVFormat.h"
#include "VideoIO/FilterUtil/MediaTypes/FormatBlock.h"

namespace qz_DSFilters {

namespace {

HRESULT NoPlace() {
    QZLogHRESULT(E_NOTIMPL);
    return E_NOTIMPL;
}

bool IsWide(const SIZE& aspectRatio) {
    return std::int64_t{aspectRatio.cx} * 9 == std::int64_t{aspectRatio.cy} * 16 && aspectRatio.cy != 0;
}

}  // namespace

HRESULT SetAspectRatio(AM_MEDIA_TYPE& type, const SIZE& aspectRatio) {
    if (type.formattype == FORMAT_VideoInfo || type.subtype == MEDIASUBTYPE_MPEG1Payload ||
        type.subtype == MEDIASUBTYPE_MPEG1Video)
        return S_FALSE;

    VideoHeader header;
    const HRESULT found = FindVideoHeader(type, header);
    if (FAILED(found)) return found;
    if (header.header2 != nullptr) {
        header.header2->dwPictAspectRatioX = static_cast<DWORD>(aspectRatio.cx);
        header.header2->dwPictAspectRatioY = static_cast<DWORD>(aspectRatio.cy);
        return S_OK;
    }
    if (type.formattype == FORMAT_DvInfo) {
        auto* pDVInfo = FormatBlock<DVINFO>(type);
        QZCheckCondition(pDVInfo != 0, E_INVALIDARG);
        SetDVAspectRatio(*pDVInfo, IsWide(aspectRatio));
        return S_OK;
    }
    return NoPlace();
}

HRESULT SetAvgTimePerFrame(AM_MEDIA_TYPE& type, REFERENCE_TIME avgTimePerFrame) {
    VideoHeader header;
    const HRESULT found = FindVideoHeader(type, header);
    if (FAILED(found)) return found;
    if (found == S_OK) {
        *header.AvgTimePerFrame = avgTimePerFrame;
        return S_OK;
    }
    if (type.formattype == FORMAT_AnalogVideo) {
        auto* pVIH = FormatBlock<ANALOGVIDEOINFO>(type);
        QZCheckCondition(pVIH != 0, E_INVALIDARG);
        pVIH->AvgTimePerFrame = avgTimePerFrame;
        return S_OK;
    }
    return NoPlace();
}

HRESULT SetBitRate(AM_MEDIA_TYPE& type, DWORD bitRate) {
    VideoHeader header;
    const HRESULT found = FindVideoHeader(type, header);
    if (FAILED(found)) return found;
    if (found == S_OK) {
        *header.dwBitRate = bitRate;
        return S_OK;
    }
    if (type.formattype == FORMAT_WaveFormatEx) {
        auto* pWaveFormat = FormatBlock<WAVEFORMATEX>(type);
        QZCheckCondition(pWaveFormat != 0, E_INVALIDARG);
        pWaveFormat->nAvgBytesPerSec = bitRate / 8;
        return S_OK;
    }
    return NoPlace();
}

HRESULT SetInterlaceFlags(AM_MEDIA_TYPE& type, DWORD interlaceFlags) {
    VideoHeader header;
    const HRESULT found = FindVideoHeader(type, header);
    if (FAILED(found)) return found;
    if (header.header2 != nullptr) {
        header.header2->dwInterlaceFlags = interlaceFlags;
        return S_OK;
    }
    if (type.formattype == FORMAT_DvInfo) {
        auto* pDVInfo = FormatBlock<DVINFO>(type);
        QZCheckCondition(pDVInfo != 0, E_INVALIDARG);
        SetDVInterlaceFlags(*pDVInfo, interlaceFlags);
        return S_OK;
    }
    return NoPlace();
}

}  // namespace qz_DSFilters
