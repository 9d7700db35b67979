// Descriptors of MPEG-4 Systems (ISO/IEC 14496-1, 7.2.6), as they stand in esds and iods boxes: plain
// records like the boxes.
#pragma once

#include "VideoIO/StreamFilters/Container/visitor.h"

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <vector>

namespace vio::es {

struct BaseDescriptor : details::visitable<BaseDescriptor, details::base_visitable> {
    explicit BaseDescriptor(std::uint32_t of_tag = 0) : tag(of_tag) {}

    std::uint32_t tag;
    std::uint64_t offset = 0;  ///< as read, from the start of the stream
    std::uint32_t header_size = 0;
    /// The parser sets the whole descriptor with its header, the writer the body alone.
    std::uint32_t size = 0;
};

/// Base of a descriptor class T: its tag and its accept operations.
template <class T, class Base, std::uint32_t Tag>
struct descriptor_of : details::visitable<T, Base> {
    explicit descriptor_of(std::uint32_t of_tag = Tag) : details::visitable<T, Base>(of_tag) {}
};

struct ObjectDescriptorBase : details::visitable<ObjectDescriptorBase, BaseDescriptor> {
    using visitable::visitable;
};

struct ObjectDescriptor : descriptor_of<ObjectDescriptor, ObjectDescriptorBase, 1> {};

/// Written only: the parser passes over its body.
struct InitialObjectDescriptor : descriptor_of<InitialObjectDescriptor, ObjectDescriptorBase, 2> {
    using descriptor_of::descriptor_of;
    std::uint16_t object_descriptor_id = 0;  ///< 10 bits
    std::uint32_t url_flag = 0;
    std::uint32_t include_inline_profile_level_flag = 0;
    std::uint8_t od_profile_level = 0;
    std::uint8_t scene_profile_level = 0;
    std::uint8_t audio_profile_level = 0;
    std::uint8_t visual_profile_level = 0;
    std::uint8_t graphics_profile_level = 0;
};

struct MP4InitialObjectDescriptor : descriptor_of<MP4InitialObjectDescriptor, InitialObjectDescriptor, 16> {};

struct DecoderSpecificInfo : descriptor_of<DecoderSpecificInfo, BaseDescriptor, 5> {
    std::vector<std::uint8_t> data;
};

struct ProfileLevelIndicationIndexDescriptor
    : descriptor_of<ProfileLevelIndicationIndexDescriptor, BaseDescriptor, 20> {};

struct DecoderConfigDescriptor : descriptor_of<DecoderConfigDescriptor, BaseDescriptor, 4> {
    std::uint8_t object_type_indication = 0;
    std::uint8_t stream_type = 0;  ///< 6 bits
    std::uint32_t up_stream = 0;
    std::uint32_t reserved = 0;
    std::uint32_t buffer_size_db = 0;  ///< read with the file's first byte lowest; written as 0
    std::uint32_t max_bitrate = 0;     ///< bits per second
    std::uint32_t avg_bitrate = 0;     ///< bits per second
    /// Set by the parser. When an author sets it, the bytes follow this descriptor's own; an author
    /// who adds the info to the writer's list instead gets its header counted as well.
    std::shared_ptr<DecoderSpecificInfo> dec_specific_info;
    std::vector<std::shared_ptr<ProfileLevelIndicationIndexDescriptor>> profile_level_indication_index_descrs;
};

struct SLConfigDescriptor : descriptor_of<SLConfigDescriptor, BaseDescriptor, 6> {
    using descriptor_of::descriptor_of;
    std::uint8_t predefined = 0;  ///< 2 in MP4 files; not read
};

struct ExtendedSLConfigDescriptor : descriptor_of<ExtendedSLConfigDescriptor, SLConfigDescriptor, 100> {};

/// The flags are masked bits of the file after reading; any value but 0 sets them on writing. The
/// writer's bits are the reader's in reverse order.
struct ES_Descriptor : descriptor_of<ES_Descriptor, BaseDescriptor, 3> {
    std::uint16_t ES_ID = 0;
    std::uint32_t stream_dependence_flag = 0;
    std::uint32_t url_flag = 0;
    std::uint32_t ocr_stream_flag = 0;
    std::uint32_t stream_priority = 0;  ///< 5 bits
    std::uint16_t depends_on_ES_ID = 0;
    std::uint8_t url_length = 0;
    std::array<std::uint8_t, 32> url_string{};  ///< all 32 stand in the file, whatever the length
    std::uint16_t OCR_ES_ID = 0;
    std::shared_ptr<DecoderConfigDescriptor> dec_config_descr;
    std::shared_ptr<SLConfigDescriptor> sl_config_descr;
};

/// In no registry. The tag is that of ISO/IEC 14496-14.
struct ES_ID_Inc : descriptor_of<ES_ID_Inc, BaseDescriptor, 14> {
    std::uint32_t track_ID = 0;
};

using descriptor_registry = std::map<int, std::function<std::shared_ptr<BaseDescriptor>()>>;
const descriptor_registry& main_descriptor_registry();
/// A plain BaseDescriptor for a tag that the registry does not hold.
std::shared_ptr<BaseDescriptor> make_descriptor(const descriptor_registry& registry, std::uint8_t tag);

}  // namespace vio::es
