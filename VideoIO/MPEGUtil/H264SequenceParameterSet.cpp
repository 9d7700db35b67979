#include "VideoIO/MPEGUtil/H264SequenceParameterSet.h"

#include "Logging/Checks.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeReaders.h"
#include "VideoIO/FilterUtil/MediaTypes/StreamRate.h"
#include "VideoIO/MPEGUtil/H264SequenceReading.h"
#include "VideoIO/MPEGUtil/SampleAspectRatio.h"

#include <cmath>
#include <cstring>
#include <utility>

namespace qz_MPEGUtil {
namespace {

/// A four-byte start code and the header of a sequence parameter set with nal_ref_idc 1.
constexpr std::array<BYTE, 5> annex_b_prefix = {0, 0, 0, 1, 0x27};

/// `size` bytes of Annex B: the payload with the bytes in front of it when the buffer holds enough of
/// them, and the prefix in place of those it does not hold.
void CopySequenceHeader(BYTE* destination, const BYTE* payload, std::size_t before, std::size_t size) {
    const std::size_t held = std::min(before, annex_b_prefix.size());
    const std::size_t missing = annex_b_prefix.size() - held;
    std::memcpy(destination, annex_b_prefix.data(), missing);
    std::memcpy(destination + missing, payload - held, size - missing);
}

}  // namespace

void H264SequenceParameterSet::Reset() {
    static_cast<H264SequenceSyntax&>(*this) = H264SequenceSyntax();
    m_identifiedMediaType = CMediaType();
    m_frameTimeFactor = 2;
}

HRESULT H264SequenceParameterSet::Parse(H26xSyntaxReader& reader, int) {
    Reset();
    Span payload{reader.GetReadPointer(), reader.GetBytesRead(), 0};
    H26xSyntaxCursor cursor(reader);
    const HRESULT hr = ReadH264SequenceSyntax(cursor, H264SequenceRules::scanner, *this);
    if (hr == QZ_E_MORE_DATA) {
        return hr;
    }
    QZCheckHRESULT(hr);
    payload.size = reader.GetBytesRead() - payload.before;
    return BuildMediaType(payload);
}

HRESULT H264SequenceParameterSet::GetIdentifiedMediaType(CMediaType& type) const {
    QZCheckCondition(m_identifiedMediaType.IsValid(), E_UNEXPECTED);
    return type.Set(m_identifiedMediaType);
}

REFERENCE_TIME H264SequenceParameterSet::AvgTimePerFrame() const {
    const H264VuiParameters& vui = vui_parameters;
    const bool timed = vui.timing_info_present_flag != 0 && vui.time_scale != 0;
    const bool trusted =
        m_subtype == MEDIASUBTYPE_H264 || (m_subtype == MEDIASUBTYPE_AVC1 && vui.fixed_frame_rate_flag != 0);
    if (timed && trusted) {
        const double ticks = static_cast<double>(m_frameTimeFactor) * vui.num_units_in_tick;
        return static_cast<REFERENCE_TIME>(std::floor(ticks * 10000000 / vui.time_scale + 0.5));
    }
    REFERENCE_TIME avgTimePerFrame = 0;
    if (m_inputMediaType.IsValid() && m_inputMediaType.formattype != GUID_NULL) {
        QZLogHRESULT(qz_DSFilters::GetAvgTimePerFrame(m_inputMediaType, avgTimePerFrame));
    }
    return avgTimePerFrame;
}

DWORD H264SequenceParameterSet::BitRate() const {
    if (vui_parameters.nal_hrd_parameters_present_flag == 0) {
        return 0;
    }
    const H264HrdParameters& hrd = vui_parameters.nal_hrd_parameters;
    return hrd.bit_rate_value_minus1[0] << (hrd.bit_rate_scale + 6);
}

HRESULT H264SequenceParameterSet::GetPictureAspectRatio(std::int64_t width, std::int64_t height,
                                                        SIZE& pictAspectRatio) const {
    std::pair<std::int64_t, std::int64_t> ratio(width, height);
    if (vui_parameters.aspect_ratio_info_present_flag != 0) {
        SampleAspectRatio sample{static_cast<std::int32_t>(vui_parameters.sar_width),
                                 static_cast<std::int32_t>(vui_parameters.sar_height)};
        if (vui_parameters.aspect_ratio_idc != extended_sample_aspect_ratio) {
            QZCheckCondition((vui_parameters.aspect_ratio_idc >= 0) && (vui_parameters.aspect_ratio_idc < 17),
                             QZ_E_BAD_DATA);
            sample = sample_aspect_ratios[static_cast<std::size_t>(vui_parameters.aspect_ratio_idc)];
        }
        ratio.first *= sample.width;
        ratio.second *= sample.height;
    }
    qz_DSFilters::ReduceRatio(ratio);
    QZCheckCondition(std::in_range<LONG>(ratio.first) && std::in_range<LONG>(ratio.second), QZ_E_BAD_DATA);
    pictAspectRatio = {static_cast<LONG>(ratio.first), static_cast<LONG>(ratio.second)};
    QZCheckCondition(pictAspectRatio.cx > 0, QZ_E_BAD_DATA);
    QZCheckCondition(pictAspectRatio.cy > 0, QZ_E_BAD_DATA);
    return S_OK;
}

HRESULT H264SequenceParameterSet::BuildMediaType(const Span& payload) {
    // Cropping counts in units of two samples, whatever the chroma format.
    const std::int64_t crop_unit_y = 2 - std::int64_t{frame_mbs_only_flag};
    const std::int64_t full_width = (std::int64_t{pic_width_in_mbs_minus1} + 1) * 16;
    const std::int64_t full_height = (std::int64_t{pic_height_in_map_units_minus1} + 1) * crop_unit_y * 16;
    const std::int64_t width = full_width - (std::int64_t{frame_crop_left_offset} + frame_crop_right_offset) * 2;
    const std::int64_t height =
        full_height - (std::int64_t{frame_crop_top_offset} + frame_crop_bottom_offset) * crop_unit_y * 2;
    QZCheckCondition(std::in_range<LONG>(full_width) && std::in_range<LONG>(full_height), QZ_E_BAD_DATA);
    SIZE pictAspectRatio{};
    QZCheckHRESULT(GetPictureAspectRatio(width, height, pictAspectRatio));

    MPEG2VIDEOINFO info{};
    info.hdr.rcSource = {0, 0, static_cast<LONG>(width), static_cast<LONG>(height)};
    info.hdr.rcTarget = info.hdr.rcSource;
    info.hdr.dwBitRate = BitRate();
    info.hdr.AvgTimePerFrame = AvgTimePerFrame();
    info.hdr.dwPictAspectRatioX = static_cast<DWORD>(pictAspectRatio.cx);
    info.hdr.dwPictAspectRatioY = static_cast<DWORD>(pictAspectRatio.cy);
    info.hdr.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    info.hdr.bmiHeader.biWidth = static_cast<LONG>(full_width);
    info.hdr.bmiHeader.biHeight = static_cast<LONG>(full_height);
    const std::size_t header_size = payload.size + annex_b_prefix.size();
    info.cbSequenceHeader = static_cast<DWORD>(header_size);
    info.dwProfile = profile_idc;
    info.dwLevel = level_idc;
    info.dwFlags = 4;

    // One 32-bit element for each byte of the header.
    constexpr std::size_t header_offset = offsetof(MPEG2VIDEOINFO, dwSequenceHeader);
    const std::size_t block_size = header_size * sizeof(DWORD) + header_offset;
    CMediaType type(&MEDIATYPE_Video);
    type.SetSubtype(&m_subtype);
    type.SetFormatType(&FORMAT_MPEG2Video);
    BYTE* const block = type.AllocFormatBuffer(static_cast<ULONG>(block_size));
    QZCheckCondition(block != nullptr, E_OUTOFMEMORY);
    std::memset(block, 0, block_size);
    std::memcpy(block, &info, header_offset);
    CopySequenceHeader(block + header_offset, payload.first, payload.before, header_size);
    m_identifiedMediaType = std::move(type);
    return S_OK;
}

}  // namespace qz_MPEGUtil
