#include "VideoIO/FilterUtil/MediaTypes/FormatBlock.h"

#include "Logging/Checks.h"

namespace qz_DSFilters {

namespace {

template <class Header>
VideoHeader CommonFields(Header& header, bool mpeg) {
    return {&header.rcSource, &header.dwBitRate, &header.AvgTimePerFrame, &header.bmiHeader, nullptr, mpeg};
}

VideoHeader Fields(VIDEOINFOHEADER& header, bool mpeg) { return CommonFields(header, mpeg); }

VideoHeader Fields(VIDEOINFOHEADER2& header, bool mpeg) {
    VideoHeader fields = CommonFields(header, mpeg);
    fields.header2 = &header;
    return fields;
}

}  // namespace

HRESULT FindVideoHeader(const AM_MEDIA_TYPE& type, VideoHeader& header) {
    if (type.formattype == FORMAT_VideoInfo) {
        auto* pvih = FormatBlock<VIDEOINFOHEADER>(type);
        QZCheckCondition(pvih != 0, E_INVALIDARG);
        header = Fields(*pvih, false);
    } else if (type.formattype == FORMAT_VideoInfo2) {
        auto* pVideoInfo = FormatBlock<VIDEOINFOHEADER2>(type);
        QZCheckCondition(pVideoInfo != 0, E_INVALIDARG);
        header = Fields(*pVideoInfo, false);
    } else if (type.formattype == FORMAT_MPEG2Video) {
        auto* pMPEG2Vih = FormatBlock<VIDEOINFOHEADER2>(type, MPEG2VideoInfoLength);
        QZCheckCondition(pMPEG2Vih != 0, E_INVALIDARG);
        header = Fields(*pMPEG2Vih, true);
    } else if (type.formattype == FORMAT_MPEGVideo) {
        auto* pHeader = FormatBlock<VIDEOINFOHEADER>(type, MPEG1VideoInfoLength);
        QZCheckCondition(pHeader != 0, E_INVALIDARG);
        header = Fields(*pHeader, true);
    } else {
        return S_FALSE;
    }
    return S_OK;
}

}  // namespace qz_DSFilters
