// Boxes that are known by name and neither read nor written: they keep their header, and their
// payload is passed over (ISO/IEC 14496-12, 8.10 to 8.16, and QuickTime).
#pragma once

#include "VideoIO/StreamFilters/Container/box.h"

namespace vio::mp4 {

struct additional_metadata_container_box : box_of<additional_metadata_container_box, box, fourcc("meco")> {};
struct beam_box : box_of<beam_box, box, fourcc("beam")> {};
struct item_data_box : box_of<item_data_box, box, fourcc("idat")> {};
struct loop_box : box_of<loop_box, box, fourcc("loop")> {};
struct original_format_box : box_of<original_format_box, box, fourcc("frma")> {};
struct protection_scheme_information_box : box_of<protection_scheme_information_box, box, fourcc("sinf")> {};
struct scheme_information_box : box_of<scheme_information_box, box, fourcc("schi")> {};
/// The container in which a QuickTime audio entry carries its esds.
struct si_decompression_param : box_of<si_decompression_param, box, fourcc("wave")> {};
struct track_group_box : box_of<track_group_box, box, fourcc("trgr")> {};

struct item_information_box : box_of<item_information_box, full_box, fourcc("iinf")> {};
struct item_location_box : box_of<item_location_box, full_box, fourcc("iloc")> {};
struct item_protection_box : box_of<item_protection_box, full_box, fourcc("ipro")> {};
struct item_reference_box : box_of<item_reference_box, full_box, fourcc("iref")> {};
struct meta_box : box_of<meta_box, full_box, fourcc("meta")> {};
struct metabox_relation_box : box_of<metabox_relation_box, full_box, fourcc("mere")> {};
struct padding_bits_box : box_of<padding_bits_box, full_box, fourcc("padb")> {};
struct primary_item_box : box_of<primary_item_box, full_box, fourcc("pitm")> {};
struct progressive_download_info_box : box_of<progressive_download_info_box, full_box, fourcc("pdin")> {};
struct scheme_type_box : box_of<scheme_type_box, full_box, fourcc("schm")> {};
struct sub_sample_information_box : box_of<sub_sample_information_box, full_box, fourcc("subs")> {};
struct xml_box : box_of<xml_box, full_box, fourcc("xml ")> {};

}  // namespace vio::mp4
