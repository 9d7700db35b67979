#include "Platform/DirectShow/Uuids.h"
#include "Tools/mediakit/video_codec.h"
#include "VideoIO/MPEGUtil/SampleAspectRatio.h"

#include <algorithm>
#include <iterator>

namespace mediakit_tool {

namespace {

using namespace qz_MPEGUtil;

constexpr std::uint32_t kIntraSlice = 2;  // slice_type, ITU-T H.264 table 7-6
constexpr unsigned kRecoveryPoint = 6;    // SEI payload type, ITU-T H.264 table D-1

struct ProfileName {
    unsigned number;
    const char* name;
    bool recordable;  ///< the multiplexer's reader of parameter sets takes it
};

// ITU-T H.264, annexes A, G and H
constexpr ProfileName kProfiles[] = {
    {66, "Baseline", true},
    {77, "Main", true},
    {88, "Extended", true},
    {100, "High", true},
    {110, "High 10", true},
    {122, "High 4:2:2", true},
    {244, "High 4:4:4 Predictive", false},
    {44, "CAVLC 4:4:4 Intra", false},
    {83, "Scalable Baseline", true},
    {86, "Scalable High", true},
    {118, "Multiview High", true},
    {128, "Stereo High", true},
    {144, "High 4:4:4", true},
};

/// Levels that the multiplexer's reader of parameter sets takes.
constexpr unsigned kLevels[] = {10, 11, 12, 13, 20, 21, 22, 30, 31, 32, 40, 41, 42, 50, 51, 52, 60, 61, 62};

std::string ProfileText(const H264SequenceSyntax& sps) {
    if (sps.profile_idc == 66 && sps.constraint_set1_flag) return "Constrained Baseline";
    const auto row = std::find_if(std::begin(kProfiles), std::end(kProfiles),
                                  [&](const ProfileName& profile) { return profile.number == sps.profile_idc; });
    if (row == std::end(kProfiles)) return "profile " + std::to_string(sps.profile_idc);
    const bool intra = sps.constraint_set3_flag && sps.profile_idc >= 100 && sps.profile_idc <= 122;
    return row->name + std::string(intra ? " Intra" : "");
}

std::string LevelText(const H264SequenceSyntax& sps) {
    const bool oneB = sps.level_idc == 9 || (sps.level_idc == 11 && sps.constraint_set3_flag && sps.profile_idc < 100);
    if (oneB) return "1b";
    return std::to_string(sps.level_idc / 10) + "." + std::to_string(sps.level_idc % 10);
}

std::string Refusal(const H264SequenceSyntax& sps) {
    const auto known = std::find_if(std::begin(kProfiles), std::end(kProfiles), [&](const ProfileName& profile) {
        return profile.number == sps.profile_idc && profile.recordable;
    });
    if (known == std::end(kProfiles)) return "H.264 " + ProfileText(sps) + " cannot be recorded";
    if (std::find(std::begin(kLevels), std::end(kLevels), sps.level_idc) == std::end(kLevels))
        return "H.264 level_idc " + std::to_string(sps.level_idc) + " cannot be recorded";
    if (sps.separate_colour_plane_flag) return "H.264 with separate colour planes cannot be recorded";
    return {};
}

void FillAspect(const H264SequenceSyntax& sps, VideoFacts* facts) {
    const H264VuiParameters& vui = sps.vui_parameters;
    if (!sps.vui_parameters_present_flag || !vui.aspect_ratio_info_present_flag) return;
    std::uint32_t width = vui.sar_width, height = vui.sar_height;
    if (vui.aspect_ratio_idc >= 0 && static_cast<std::size_t>(vui.aspect_ratio_idc) < sample_aspect_ratios.size()) {
        const auto& row = sample_aspect_ratios[static_cast<std::size_t>(vui.aspect_ratio_idc)];
        width = static_cast<std::uint32_t>(row.width);
        height = static_cast<std::uint32_t>(row.height);
    }
    if (width == 0 || height == 0) return;
    facts->sarWidth = width;
    facts->sarHeight = height;
}

VideoFacts FactsOf(const H264SequenceSyntax& sps) {
    VideoFacts facts;
    const H264PictureSize size = PictureSize(sps);
    facts.profile = ProfileText(sps);
    facts.level = LevelText(sps);
    facts.profileNumber = sps.profile_idc;
    facts.levelNumber = sps.level_idc;
    facts.codedWidth = static_cast<int>(size.coded_width);
    facts.codedHeight = static_cast<int>(size.coded_height);
    facts.width = static_cast<int>(size.width);
    facts.height = static_cast<int>(size.height);
    facts.interlaced = sps.frame_mbs_only_flag == 0;
    FillAspect(sps, &facts);
    const H264VuiParameters& vui = sps.vui_parameters;
    // A tick is the time of a field (clause E.2.1).
    if (sps.vui_parameters_present_flag && vui.timing_info_present_flag)
        facts.rate = MakeFrameRate(vui.time_scale, 2 * static_cast<std::int64_t>(vui.num_units_in_tick));
    facts.refusal = Refusal(sps);
    return facts;
}

/// Walks the messages of an SEI unit (ITU-T H.264, 7.3.2.3.1) as far as their types.
bool HasRecoveryPoint(std::span<const std::uint8_t> nal) {
    const auto readSum = [&nal](std::size_t* at, std::size_t* sum) {
        for (*sum = 0; *at < nal.size(); ++*at) {
            *sum += nal[*at];
            if (nal[*at] != 0xFF) {
                ++*at;
                return true;
            }
        }
        return false;
    };
    // The last byte holds the stop bit.
    for (std::size_t at = 1, type = 0, size = 0; at + 1 < nal.size(); at += size) {
        if (!readSum(&at, &type) || !readSum(&at, &size)) return false;
        if (type == kRecoveryPoint) return true;
    }
    return false;
}

class H264Codec final : public VideoCodec {
public:
    const char* Name() const override { return "H.264"; }
    const GUID& Subtype() const override { return MEDIASUBTYPE_H264; }

    UnitRole RoleOf(std::span<const std::uint8_t> nal) override {
        if (nal.empty() || (nal[0] & 0x80) != 0) return UnitRole::Invalid;
        const auto type = static_cast<std::uint8_t>(nal[0] & 0x1F);
        switch (type) {
            case 0: return UnitRole::Invalid;
            case H264_NAL_SLICE:
            case H264_NAL_PARTITION_A:
            case H264_NAL_IDR_SLICE: return UnitRole::Slice;
            case H264_NAL_SPS:
            case H264_NAL_PPS: return UnitRole::ParameterSet;
            case H264_NAL_END_OF_SEQUENCE:
            case H264_NAL_END_OF_STREAM: return UnitRole::EndOfSequence;
            default: break;
        }
        if (!H264StartsAccessUnitAfterSlice(type)) return UnitRole::Inside;
        // Types 14 to 18 stand between the slices of one picture too, as prefixes of slices.
        return type >= 14 ? UnitRole::MaybeStart : UnitRole::Start;
    }

    bool AddParameterSet(std::span<const std::uint8_t> nal) override { return m_order.AddParameterSet(nal); }

    unsigned ParameterSetKey(std::span<const std::uint8_t> nal) const override {
        const unsigned type = nal[0] & 0x1Fu;
        if (type == H264_NAL_SPS) {
            const auto sps = ReadH264SequenceParameterSet(nal);
            return type << 8 | (sps ? sps->seq_parameter_set_id : 0);
        }
        const auto pps = ReadH264PictureParameterSet(nal);
        return type << 8 | (pps ? pps->pic_parameter_set_id : 0);
    }

    std::optional<SliceInfo> ReadSlice(std::span<const std::uint8_t> nal, bool pictureOpen) override {
        const auto slice = ReadH264SliceHeader(nal, m_order.ParameterSets());
        if (!slice) return std::nullopt;
        SliceInfo info;
        info.intra = slice->slice_type == kIntraSlice;
        if (pictureOpen && Continues(*slice)) return info;
        const auto picture = m_order.AddPicture(nal);
        if (!picture) return std::nullopt;
        m_previous = slice;
        m_hasFirstMacroblock = slice->first_mb_in_slice == 0;
        info.newPicture = true;
        info.picture = *picture;
        return info;
    }

    bool IsRecoveryPoint(std::span<const std::uint8_t> nal) const override {
        return (nal[0] & 0x1F) == H264_NAL_SEI && HasRecoveryPoint(nal);
    }

    void EndOfSequence() override {}

    std::uint32_t ReorderDepth() const override { return m_order.ReorderDepth(); }

    VideoFacts Facts() const override {
        const H264SequenceSyntax* const sps = m_order.ActiveSequence();
        return sps != nullptr ? FactsOf(*sps) : VideoFacts();
    }

private:
    bool Continues(const H264SliceHeader& slice) {
        if (slice.redundant_pic_cnt > 0) return true;
        if (StartsNewPicture(*m_previous, slice)) return false;
        // Some encoders give all IDR pictures one idr_pic_id: then they differ in nothing, but no
        // picture has its first macroblock twice.
        const bool again = slice.first_mb_in_slice == 0 && m_hasFirstMacroblock;
        m_hasFirstMacroblock = m_hasFirstMacroblock || slice.first_mb_in_slice == 0;
        return !again;
    }

    H264PictureOrder m_order;
    std::optional<H264SliceHeader> m_previous;  ///< first slice of the last picture
    bool m_hasFirstMacroblock = false;          ///< of the last picture
};

}  // namespace

std::unique_ptr<VideoCodec> MakeH264Codec() { return std::make_unique<H264Codec>(); }

std::optional<VideoFacts> ReadH264Facts(std::span<const std::uint8_t> nal) {
    const auto sps = ReadH264SequenceParameterSet(nal);
    return sps ? std::optional(FactsOf(*sps)) : std::nullopt;
}

}  // namespace mediakit_tool
