// Parts of syntax that the parameter sets of H.265 have in common or that are long in themselves. All
// read from where the reader stands; a failed reader stays failed and ends their loops.
#pragma once

#include "VideoIO/MPEGUtil/H265ParameterSets.h"
#include "VideoIO/MPEGUtil/RbspReader.h"

#include <array>
#include <cstdint>
#include <optional>

namespace qz_MPEGUtil {

/// profile_tier_level with its general part, clause 7.3.3; sub-layers are read past.
H265ProfileTierLevel ReadProfileTierLevel(RbspReader& reader, std::uint32_t max_sub_layers_minus1);

/// The ..._sub_layer_ordering_info_present_flag and what follows it, clauses 7.3.2.1 and 7.3.2.2. Every
/// entry is filled: those that are not coded take the value of the nearest coded one.
std::array<H265SubLayerOrdering, 8> ReadSubLayerOrdering(RbspReader& reader, std::uint32_t max_sub_layers_minus1);

/// Four ue(v) in the order left, right, top, bottom.
H265Window ReadWindow(RbspReader& reader);

/// Behind the ..._timing_info_present_flag.
H265TimingInfo ReadTimingInfo(RbspReader& reader);

/// scaling_list_data, clause 7.3.4.
void SkipScalingListData(RbspReader& reader);

/// st_ref_pic_set of a sequence parameter set, clauses 7.3.7 and 7.4.8. `previous` is the set before it,
/// null for the first. Nothing for more pictures than a buffer holds.
std::optional<H265ShortTermRefPicSet> ReadShortTermRefPicSet(RbspReader& reader,
                                                             const H265ShortTermRefPicSet* previous);

/// vui_parameters, clause E.2.1, with hrd_parameters (E.2.2) read past.
H265VuiParameters ReadVui(RbspReader& reader, std::uint32_t max_sub_layers_minus1);

}  // namespace qz_MPEGUtil
