#include "VideoIO/MPEGUtil/H265SyntaxParts.h"

#include <algorithm>

namespace qz_MPEGUtil {

H265ProfileTierLevel ReadProfileTierLevel(RbspReader& reader, std::uint32_t max_sub_layers_minus1) {
    H265ProfileTierLevel profile;
    profile.general_profile_space = static_cast<std::uint8_t>(reader.Bits(2));
    profile.general_tier_flag = static_cast<std::uint8_t>(reader.Bits(1));
    profile.general_profile_idc = static_cast<std::uint8_t>(reader.Bits(5));
    profile.general_profile_compatibility_flags = reader.Bits(32);
    profile.general_constraint_indicator_flags = std::uint64_t{reader.Bits(32)} << 16;
    profile.general_constraint_indicator_flags |= reader.Bits(16);
    profile.general_level_idc = static_cast<std::uint8_t>(reader.Bits(8));
    std::array<bool, 8> profile_present{};
    std::array<bool, 8> level_present{};
    for (std::uint32_t i = 0; i < max_sub_layers_minus1; ++i) {
        profile_present[i] = reader.Flag();
        level_present[i] = reader.Flag();
    }
    if (max_sub_layers_minus1 > 0) {
        reader.Skip(2 * (8 - max_sub_layers_minus1));  // reserved_zero_2bits
    }
    for (std::uint32_t i = 0; i < max_sub_layers_minus1; ++i) {
        reader.Skip((profile_present[i] ? 88 : 0) + (level_present[i] ? 8 : 0));
    }
    return profile;
}

std::array<H265SubLayerOrdering, 8> ReadSubLayerOrdering(RbspReader& reader, std::uint32_t max_sub_layers_minus1) {
    std::array<H265SubLayerOrdering, 8> ordering{};
    const std::uint32_t first = reader.Flag() ? 0 : max_sub_layers_minus1;
    for (std::uint32_t i = first; i <= max_sub_layers_minus1; ++i) {
        ordering[i].max_dec_pic_buffering_minus1 = reader.UE();
        ordering[i].max_num_reorder_pics = reader.UE();
        ordering[i].max_latency_increase_plus1 = reader.UE();
    }
    std::fill_n(ordering.begin(), first, ordering[first]);
    std::fill(ordering.begin() + max_sub_layers_minus1 + 1, ordering.end(), ordering[max_sub_layers_minus1]);
    return ordering;
}

H265Window ReadWindow(RbspReader& reader) {
    H265Window window;
    window.left_offset = reader.UE();
    window.right_offset = reader.UE();
    window.top_offset = reader.UE();
    window.bottom_offset = reader.UE();
    return window;
}

H265TimingInfo ReadTimingInfo(RbspReader& reader) {
    H265TimingInfo timing;
    timing.num_units_in_tick = reader.Bits(32);
    timing.time_scale = reader.Bits(32);
    timing.poc_proportional_to_timing_flag = reader.Flag();
    if (timing.poc_proportional_to_timing_flag) {
        timing.num_ticks_poc_diff_one_minus1 = reader.UE();
    }
    return timing;
}

void SkipScalingListData(RbspReader& reader) {
    for (unsigned size = 0; size < 4; ++size) {
        for (unsigned matrix = 0; matrix < 6 && !reader.Failed(); matrix += size == 3 ? 3 : 1) {
            if (!reader.Flag()) {  // scaling_list_pred_mode_flag
                reader.UE();       // scaling_list_pred_matrix_id_delta
                continue;
            }
            const unsigned coefficients = std::min(64u, 1u << (4 + 2 * size)) + (size > 1 ? 1 : 0);  // with the DC one
            for (unsigned i = 0; i < coefficients; ++i) {
                reader.SE();
            }
        }
    }
}

namespace {

/// One direction of a set while it is derived. More than fit are counted and not stored.
struct SideWriter {
    std::array<std::int32_t, H265ShortTermRefPicSet::max_pictures>& delta_poc;
    std::array<bool, H265ShortTermRefPicSet::max_pictures>& used;
    unsigned count = 0;

    void Add(std::int32_t delta, bool used_by_current) {
        if (count < delta_poc.size()) {
            delta_poc[count] = delta;
            used[count] = used_by_current;
        }
        ++count;
    }
};

bool Finish(H265ShortTermRefPicSet& set, const SideWriter& negative, const SideWriter& positive) {
    set.num_negative_pics = static_cast<std::uint8_t>(negative.count);
    set.num_positive_pics = static_cast<std::uint8_t>(positive.count);
    return negative.count + positive.count <= H265ShortTermRefPicSet::max_pictures;
}

/// Equations 7-61 and 7-62: the set before it, moved by deltaRps, with some of its pictures left out.
bool ReadPredictedSet(RbspReader& reader, const H265ShortTermRefPicSet& ref, H265ShortTermRefPicSet& set) {
    const bool negative_delta = reader.Flag();  // delta_rps_sign
    const std::uint32_t magnitude_minus1 = reader.UE();
    if (magnitude_minus1 > 0x7FFF) {
        return false;
    }
    const auto magnitude = static_cast<std::int32_t>(magnitude_minus1 + 1);
    const std::int32_t delta_rps = negative_delta ? -magnitude : magnitude;
    const int negatives = ref.num_negative_pics;
    const int positives = ref.num_positive_pics;
    const int all = negatives + positives;
    std::array<bool, H265ShortTermRefPicSet::max_pictures + 1> used{};
    std::array<bool, H265ShortTermRefPicSet::max_pictures + 1> kept{};
    for (int j = 0; j <= all; ++j) {
        used[j] = reader.Flag();
        kept[j] = used[j] || reader.Flag();  // use_delta_flag
    }

    SideWriter before{set.delta_poc_s0, set.used_by_curr_pic_s0};
    SideWriter behind{set.delta_poc_s1, set.used_by_curr_pic_s1};
    const auto offer = [&](SideWriter& side, std::int32_t delta, int index) {
        const bool belongs = &side == &before ? delta < 0 : delta > 0;
        if (belongs && kept[index]) {
            side.Add(delta, used[index]);
        }
    };
    for (int j = positives - 1; j >= 0; --j) {
        offer(before, ref.delta_poc_s1[j] + delta_rps, negatives + j);
    }
    offer(before, delta_rps, all);
    for (int j = 0; j < negatives; ++j) {
        offer(before, ref.delta_poc_s0[j] + delta_rps, j);
    }
    for (int j = negatives - 1; j >= 0; --j) {
        offer(behind, ref.delta_poc_s0[j] + delta_rps, j);
    }
    offer(behind, delta_rps, all);
    for (int j = 0; j < positives; ++j) {
        offer(behind, ref.delta_poc_s1[j] + delta_rps, negatives + j);
    }
    return Finish(set, before, behind);
}

bool ReadSide(RbspReader& reader, std::uint32_t count, std::int32_t sign, SideWriter& side) {
    std::int32_t delta = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t delta_minus1 = reader.UE();
        if (delta_minus1 > 0x7FFF) {
            return false;
        }
        delta += sign * static_cast<std::int32_t>(delta_minus1 + 1);
        side.Add(delta, reader.Flag());
    }
    return true;
}

bool ReadExplicitSet(RbspReader& reader, H265ShortTermRefPicSet& set) {
    const std::uint32_t negatives = reader.UE();
    const std::uint32_t positives = reader.UE();
    if (negatives > H265ShortTermRefPicSet::max_pictures || positives > H265ShortTermRefPicSet::max_pictures) {
        return false;
    }
    SideWriter before{set.delta_poc_s0, set.used_by_curr_pic_s0};
    SideWriter behind{set.delta_poc_s1, set.used_by_curr_pic_s1};
    return ReadSide(reader, negatives, -1, before) && ReadSide(reader, positives, 1, behind) &&
           Finish(set, before, behind);
}

}  // namespace

std::optional<H265ShortTermRefPicSet> ReadShortTermRefPicSet(RbspReader& reader,
                                                             const H265ShortTermRefPicSet* previous) {
    H265ShortTermRefPicSet set;
    const bool predicted = previous != nullptr && reader.Flag();  // inter_ref_pic_set_prediction_flag
    const bool good = predicted ? ReadPredictedSet(reader, *previous, set) : ReadExplicitSet(reader, set);
    return good ? std::optional(set) : std::nullopt;
}

}  // namespace qz_MPEGUtil
