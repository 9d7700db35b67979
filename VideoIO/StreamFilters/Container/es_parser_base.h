// Reads descriptors from the bytes of an esds or iods box.
#pragma once

#include "VideoIO/StreamFilters/Container/chunk_reader.h"
#include "VideoIO/StreamFilters/Container/es_descriptors.h"

#include <map>
#include <memory>

namespace vio::es {

/// The fields are what the visits below read; the bodies of all other descriptors are passed over. A
/// field that is cut off keeps its value.
class es_parser_base
    : public details::reading_visitor<
          es_parser_base, details::base_visitor,
          details::class_list<BaseDescriptor, SLConfigDescriptor, ExtendedSLConfigDescriptor,
                              ProfileLevelIndicationIndexDescriptor, DecoderSpecificInfo, DecoderConfigDescriptor,
                              ES_Descriptor, ObjectDescriptor, InitialObjectDescriptor, MP4InitialObjectDescriptor>>,
      public details::chunk_reader {
public:
    /// The stream is looked at and must outlive the parser.
    explicit es_parser_base(parse_context context) : chunk_reader(std::move(context)) {}

    /// All descriptors met, by offset.
    std::map<std::uint64_t, std::shared_ptr<BaseDescriptor>> descriptors;

    /// Reads from the stream's position to its end.
    bool parse();
    /// Reads from the offset, to which it seeks if asked, to the end of the stream, whatever the size.
    /// False when the offset lies behind the end.
    bool scan(std::uint64_t offset, std::uint64_t size, bool seek);
    /// The index-th descriptor with the tag among those that stand one behind the other from offset
    /// on; offset then stands at it. Null if there is none.
    std::shared_ptr<BaseDescriptor> find_descriptor(std::uint8_t tag, std::uint32_t index, std::uint64_t& offset,
                                                    std::uint64_t size);

private:
    template <class, class>
    friend class details::forwarding_visitor;

    void visited(BaseDescriptor&) {}
    void visited(DecoderSpecificInfo& descriptor);
    void visited(DecoderConfigDescriptor& descriptor);
    void visited(ES_Descriptor& descriptor);

    /// Null for a descriptor that claims more than its chunk holds. Advances the offset over a whole one.
    std::shared_ptr<BaseDescriptor> read_descriptor(std::uint64_t& offset);
    /// Reads descriptors while more than `rest` bytes are left and hands each to `take`.
    template <class Take>
    void read_descriptors(std::uint64_t offset, std::uint64_t rest, Take take);
};

}  // namespace vio::es
