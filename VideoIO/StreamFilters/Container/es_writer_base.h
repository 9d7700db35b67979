// Turns an ordered list of descriptors into bytes on a stream.
#pragma once

#include "VideoIO/StreamFilters/Container/byte_stream.h"
#include "VideoIO/StreamFilters/Container/es_descriptors.h"

#include <memory>
#include <vector>

namespace vio::es {

/// Works in two passes like the box writer: bodies are sized through a counting stream, which
/// headers leave alone, then all is written.
///
/// What it writes departs from the published form in two ways that readers of such files know: sizes
/// of 128 and more stand least significant group first, and an empty body has a size of four zero
/// bytes, of which the parent counts one. Writes are not checked.
class es_writer_base : public details::writing_visitor<
                           es_writer_base, details::const_base_visitor,
                           details::class_list<BaseDescriptor, SLConfigDescriptor, ExtendedSLConfigDescriptor,
                                               ProfileLevelIndicationIndexDescriptor, DecoderSpecificInfo,
                                               DecoderConfigDescriptor, ES_Descriptor, ObjectDescriptor,
                                               InitialObjectDescriptor, MP4InitialObjectDescriptor, ES_ID_Inc>> {
public:
    struct item {
        BaseDescriptor* parent;  ///< null at top level
        std::shared_ptr<BaseDescriptor> object;
    };

    /// A descriptor before its children, its children before its next sibling.
    std::vector<item> entries;
    /// The current target; a size_byte_stream during sizing.
    std::shared_ptr<byte_stream> stream;

    void add(std::shared_ptr<BaseDescriptor> descriptor, BaseDescriptor* parent);
    /// Sizes all descriptors, then writes them at the target's position unless that is null.
    void write(std::shared_ptr<byte_stream> target);

private:
    template <class, class>
    friend class details::const_forwarding_visitor;

    template <class Descriptor>
    void visited(const Descriptor& descriptor) {
        write_header(descriptor);
        write_fields(descriptor);
    }

    void write_fields(const BaseDescriptor&) {}
    void write_fields(const SLConfigDescriptor& descriptor);
    void write_fields(const DecoderSpecificInfo& descriptor);
    void write_fields(const DecoderConfigDescriptor& descriptor);
    void write_fields(const ES_Descriptor& descriptor);
    void write_fields(const InitialObjectDescriptor& descriptor);
    void write_fields(const ES_ID_Inc& descriptor);

    void measure();
    void write_header(const BaseDescriptor& descriptor);
};

}  // namespace vio::es
