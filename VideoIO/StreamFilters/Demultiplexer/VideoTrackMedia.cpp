#include "Logging/Checks.h"
#include "MediaKit/Results.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeUtil.h"
#include "VideoIO/MPEGUtil/AVCDecoderConfigurationRecord.h"
#include "VideoIO/MPEGUtil/HEVCDecoderConfigurationRecord.h"
#include "VideoIO/MPEGUtil/MPEG4VideoDecoder.h"
#include "VideoIO/StreamFilters/Container/mp4_parser.h"
#include "VideoIO/StreamFilters/Demultiplexer/DecoderConfiguration.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackMediaBuilders.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackTableBuilder.h"

#include <utility>

namespace Norvane::MediaKit::Filters::details {
namespace {

using vio::mp4::fourcc;
using vio::mp4::visual_sample_entry;
using Severity = ReadingFindings::Severity;

/// Object type indication of motion JPEG, ISO/IEC 14496-1.
constexpr std::uint8_t kMotionJpeg = 0x6C;

/// Bits a second of an `hev1` track that has no duration.
constexpr DWORD kUnknownBitRateOfHev1 = 25;

/// The rate stays unknown when the tables tell no duration of a frame.
void SetStreamRate(const TrackTables& tables, TrackMedia& media) {
    qz_DSFilters::StreamRate rate;
    if (SUCCEEDED(qz_DSFilters::GetStreamRate(AverageTimePerFrame(tables), rate))) media.rate = rate;
}

HRESULT RefuseFile(const MediaSource& source, const visual_sample_entry& visual, TrackMedia&) {
    source.context.findings.RecordExclusion(L"visual sample entry type %s is not supported",
                                            vio::mp4::fourcc_text(visual.type).c_str());
    return QZ_E_UNSUPPORTED_FORMAT;
}

/// Of a decoder configuration record (ISO/IEC 14496-15, 5.3.3) that says that it has no sequence parameter sets.
bool HasNoSets(const std::vector<std::uint8_t>& record) {
    return record.size() >= 6 && record[0] == 1 && (record[5] & 0x1F) == 0;
}

/// The parameter sets of an `avc3` entry may all stand in the samples; the size is the entry's then.
HRESULT BuildAvcWithoutSets(const std::vector<std::uint8_t>& record, const visual_sample_entry& visual,
                            const TrackTables& tables, CMediaType& type) {
    const SIZE size{visual.width, visual.height};
    const BYTE profile = record[1];
    const BYTE level = record[3];
    const DWORD lengthSize = (record[4] & 3U) + 1;
    QZCheckHRESULT(qz_DSFilters::BuildAVC1MediaType(size, size, 0, AverageTimePerFrame(tables), AverageBitRate(tables),
                                                    profile, level, {}, lengthSize, type));
    return S_OK;
}

HRESULT BuildAvc(const MediaSource& source, const visual_sample_entry& visual, TrackMedia& media) {
    BuildVideoSyncIndex(source.tables);
    const auto avc_sample_entry = std::dynamic_pointer_cast<vio::mp4::avc_sample_entry>(source.entry);
    QZCheckCondition(avc_sample_entry != nullptr, E_UNEXPECTED);
    SetStreamRate(source.tables, media);
    const auto avcC = source.parser.find_child<vio::mp4::avc_configuration_box>(*avc_sample_entry);
    if (avcC == nullptr) return S_OK;

    if (visual.type == fourcc("avc3") && HasNoSets(avcC->record))
        return BuildAvcWithoutSets(avcC->record, visual, source.tables, media.mediaType);
    qz_MPEGUtil::AVCDecoderConfigurationRecord record;
    QZCheckHRESULT(record.Parse(avcC->record.data(), avcC->record.size()));
    QZCheckHRESULT(record.CreateMediaType(media.mediaType));
    QZLogHRESULT(qz_DSFilters::SetAvgTimePerFrame(media.mediaType, AverageTimePerFrame(source.tables)));
    if (source.tables.total_duration != 0)
        QZLogHRESULT(qz_DSFilters::SetBitRate(media.mediaType, AverageBitRate(source.tables)));
    return S_OK;
}

HRESULT BuildHevc(const MediaSource& source, const visual_sample_entry& visual, TrackMedia& media) {
    BuildVideoSyncIndex(source.tables);
    const auto hevc_sample_entry = std::dynamic_pointer_cast<vio::mp4::hevc_sample_entry>(source.entry);
    QZCheckCondition(hevc_sample_entry != nullptr, E_UNEXPECTED);
    const SIZE size{visual.width, visual.height};
    SetStreamRate(source.tables, media);

    // Without `hvcC` the parameter sets are looked for in the samples.
    qz_MPEGUtil::HEVCDecoderConfigurationRecord record;
    if (const auto& hvcC = hevc_sample_entry->configuration) record.Parse(hvcC->record.data(), hvcC->record.size());
    const DWORD whenUnknown = visual.type == fourcc("hev1") ? kUnknownBitRateOfHev1 : 0;
    QZCheckHRESULT(record.CreateMediaType(size, size, 0, AverageTimePerFrame(source.tables),
                                          AverageBitRate(source.tables, whenUnknown), record.general_profile_idc,
                                          record.general_level_idc, media.mediaType));
    return S_OK;
}

struct Picture {
    SIZE size;
    SIZE aspectRatio;  ///< of the picture
    DWORD interlaceFlags;
};

DWORD InterlaceFlags(qz_MPEGUtil::PictureStructure structure) {
    switch (structure) {
        case qz_MPEGUtil::PictureStructure::TopFieldFirst: return AMINTERLACE_IsInterlaced | AMINTERLACE_Field1First;
        case qz_MPEGUtil::PictureStructure::Interlaced: return AMINTERLACE_IsInterlaced;
        default: return 0;
    }
}

SIZE PictureAspectRatio(const SIZE& size, const SIZE& pixel) {
    std::pair<std::int64_t, std::int64_t> ratio{std::int64_t{size.cx} * pixel.cx, std::int64_t{size.cy} * pixel.cy};
    qz_DSFilters::ReduceRatio(ratio);
    return {static_cast<LONG>(ratio.first), static_cast<LONG>(ratio.second)};
}

/// What the stream's own header says goes before the sample entry.
void ReadVideoHeader(std::span<const std::uint8_t> header, ReadingFindings& findings, Picture& picture) {
    const qz_MPEGUtil::MediaData data{header.data(), header.size()};
    qz_MPEGUtil::VideoDecoderParams params;
    params.data = &data;
    qz_MPEGUtil::MPEG4VideoDecoder decoder;
    if (decoder.Init(params) != S_OK || decoder.GetInfo(params) != S_OK) {
        findings.Report(Severity::Warning, L"Failed to parse the decoder specific info");
        return;
    }
    if (params.size.cx != picture.size.cx || params.size.cy != picture.size.cy)
        findings.Report(Severity::Warning,
                        L"mp4check: video size in header (%dx%d) does not match decoder spec info (%dx%d)",
                        picture.size.cx, picture.size.cy, params.size.cx, params.size.cy);
    picture = {params.size, PictureAspectRatio(params.size, params.pixelAspectRatio),
               InterlaceFlags(params.pictureStructure)};
}

HRESULT BuildMpeg4(const MediaSource& source, const visual_sample_entry& visual, TrackMedia& media) {
    DecoderConfiguration configuration;
    const HRESULT found = FindDecoderConfiguration(source.parser, visual, configuration);
    if (FAILED(found)) return found;
    const std::span<const std::uint8_t> info = SpecificInfo(*configuration);
    const GUID& subtype = configuration->object_type_indication == kMotionJpeg ? MEDIASUBTYPE_MJPG : MEDIASUBTYPE_MP4V;

    BuildVideoSyncIndex(source.tables);
    const SIZE size{visual.width, visual.height};
    Picture picture{size, size, 0};
    SetStreamRate(source.tables, media);
    if (!info.empty()) ReadVideoHeader(info, source.context.findings, picture);
    DWORD bitRate = configuration->avg_bitrate;
    if (bitRate == 0) bitRate = AverageBitRate(source.tables);
    QZCheckHRESULT(qz_DSFilters::BuildVideoInfo2MediaType(
        picture.size, picture.aspectRatio, bitRate, subtype, AverageTimePerFrame(source.tables), picture.interlaceFlags,
        info.data(), static_cast<DWORD>(info.size()), media.mediaType));
    return S_OK;
}

constexpr MediaRow<HRESULT(const MediaSource&, const visual_sample_entry&, TrackMedia&)> kEntries[] = {
    {fourcc("av01"), RefuseFile}, {fourcc("avc1"), BuildAvc},   {fourcc("hev1"), BuildHevc},
    {fourcc("hvc1"), BuildHevc},  {fourcc("mp4v"), BuildMpeg4},
};

}  // namespace

HRESULT BuildVideoMedia(const MediaSource& source, TrackMedia& media) {
    const auto visual_sample_entry = std::dynamic_pointer_cast<vio::mp4::visual_sample_entry>(source.entry);
    QZCheckCondition(visual_sample_entry != nullptr, E_UNEXPECTED);
    const bool asAvc1 = source.context.options.avc3AsAvc1 && source.entry->type == fourcc("avc3");
    const auto build = FindBuild(kEntries, asAvc1 ? fourcc("avc1") : source.entry->type);
    if (build == nullptr) {
        source.context.findings.ReportExclusion(Severity::Information, L"Unknown visual sample entry type %s",
                                                vio::mp4::fourcc_text(source.entry->type).c_str());
        return E_FAIL;
    }
    return build(source, *visual_sample_entry, media);
}

}  // namespace Norvane::MediaKit::Filters::details
