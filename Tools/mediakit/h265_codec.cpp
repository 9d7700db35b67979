#include "Platform/DirectShow/Uuids.h"
#include "Tools/mediakit/video_codec.h"

#include <algorithm>
#include <iterator>

namespace mediakit_tool {

namespace {

using namespace qz_MPEGUtil;

constexpr std::uint32_t kIntraSlice = 2;  // slice_type, ITU-T H.265 table 7-7

// ITU-T H.265, annex A: general_profile_idc
constexpr const char* kProfiles[] = {
    nullptr,          "Main",          "Main 10", "Main Still Picture",   "Range Extensions",         "High Throughput",
    "Multiview Main", "Scalable Main", "3D Main", "Screen-Extended Main", "Scalable Range Extensions"};

std::string ProfileText(unsigned profile) {
    if (profile < std::size(kProfiles) && kProfiles[profile]) return kProfiles[profile];
    return "profile " + std::to_string(profile);
}

/// general_level_idc is 30 times the level.
std::string LevelText(const H265ProfileTierLevel& level) {
    const std::string number =
        std::to_string(level.general_level_idc / 30) + "." + std::to_string(level.general_level_idc % 30 / 3);
    return number + (level.general_tier_flag ? " high tier" : "");
}

std::optional<FrameRate> RateOf(const std::optional<H265TimingInfo>& timing) {
    return timing ? MakeFrameRate(timing->time_scale, timing->num_units_in_tick) : std::nullopt;
}

VideoFacts FactsOf(const H265SequenceParameterSet& sps) {
    VideoFacts facts;
    facts.profile = ProfileText(sps.profile_tier_level.general_profile_idc);
    facts.level = LevelText(sps.profile_tier_level);
    facts.profileNumber = sps.profile_tier_level.general_profile_idc;
    facts.levelNumber = sps.profile_tier_level.general_level_idc;
    facts.codedWidth = static_cast<int>(sps.pic_width_in_luma_samples);
    facts.codedHeight = static_cast<int>(sps.pic_height_in_luma_samples);
    facts.width = static_cast<int>(sps.Width());
    facts.height = static_cast<int>(sps.Height());
    if (!sps.vui) return facts;
    facts.interlaced = sps.vui->field_seq_flag;
    if (sps.vui->sar_width != 0 && sps.vui->sar_height != 0) {
        facts.sarWidth = sps.vui->sar_width;
        facts.sarHeight = sps.vui->sar_height;
    }
    facts.rate = RateOf(sps.vui->timing);
    return facts;
}

class H265Codec final : public VideoCodec {
public:
    const char* Name() const override { return "H.265"; }
    const GUID& Subtype() const override { return MEDIASUBTYPE_H265; }

    UnitRole RoleOf(std::span<const std::uint8_t> nal) override {
        const auto header = ReadH265NalHeader(nal);
        if (!header) return UnitRole::Invalid;
        const std::uint8_t type = header->nal_unit_type;
        if (header->nuh_layer_id != 0) return UnitRole::Inside;
        if (H265IsSliceSegment(type)) return UnitRole::Slice;
        if (type >= H265_NAL_VPS && type <= H265_NAL_PPS) return UnitRole::ParameterSet;
        if (type == H265_NAL_EOS || type == H265_NAL_EOB) return UnitRole::EndOfSequence;
        return H265StartsAccessUnitAfterSlice(type) ? UnitRole::Start : UnitRole::Inside;
    }

    bool AddParameterSet(std::span<const std::uint8_t> nal) override { return m_order.AddParameterSet(nal); }

    unsigned ParameterSetKey(std::span<const std::uint8_t> nal) const override {
        const unsigned type = nal[0] >> 1 & 0x3Fu;
        unsigned id = 0;
        if (const auto sps = ReadH265SequenceParameterSet(nal)) id = sps->sps_seq_parameter_set_id;
        if (const auto pps = ReadH265PictureParameterSet(nal)) id = pps->pps_pic_parameter_set_id;
        return type << 8 | id;
    }

    std::optional<SliceInfo> ReadSlice(std::span<const std::uint8_t> nal, bool pictureOpen) override {
        const auto slice = ReadH265SliceHeader(nal, m_order.ParameterSets());
        if (!slice) return std::nullopt;
        SliceInfo info;
        info.intra = slice->slice_type == kIntraSlice && !slice->dependent_slice_segment_flag;
        if (pictureOpen && !StartsNewPicture(*m_previous, *slice)) return info;
        const auto picture = m_order.AddPicture(nal);
        if (!picture) return std::nullopt;
        m_previous = slice;
        info.newPicture = true;
        info.picture = *picture;
        return info;
    }

    bool IsRecoveryPoint(std::span<const std::uint8_t>) const override { return false; }

    void EndOfSequence() override { m_order.EndOfSequence(); }

    std::uint32_t ReorderDepth() const override { return m_order.ReorderDepth(); }

    VideoFacts Facts() const override {
        const H265SequenceParameterSet* const sps = m_order.ActiveSequence();
        if (sps == nullptr) return {};
        VideoFacts facts = FactsOf(*sps);
        const H265VideoParameterSet* const vps = m_order.ParameterSets().Video();
        if (!facts.rate && vps) facts.rate = RateOf(vps->timing);
        return facts;
    }

private:
    H265PictureOrder m_order;
    std::optional<H265SliceHeader> m_previous;  ///< first slice segment of the last picture
};

}  // namespace

std::unique_ptr<VideoCodec> MakeH265Codec() { return std::make_unique<H265Codec>(); }

std::optional<VideoFacts> ReadH265Facts(std::span<const std::uint8_t> nal) {
    const auto sps = ReadH265SequenceParameterSet(nal);
    return sps ? std::optional(FactsOf(*sps)) : std::nullopt;
}

std::unique_ptr<VideoCodec> CodecOfParameterSet(std::span<const std::uint8_t> nal) {
    if (ReadH264SequenceParameterSet(nal) && !nal.empty() && (nal[0] & 0x1F) == H264_NAL_SPS) return MakeH264Codec();
    if (ReadH265SequenceParameterSet(nal)) return MakeH265Codec();
    return nullptr;
}

}  // namespace mediakit_tool
