#include "VideoIO/StreamFilters/Container/es_descriptors.h"

namespace vio::es {
namespace {

template <class T>
std::shared_ptr<BaseDescriptor> make() {
    return std::make_shared<T>();
}

}  // namespace

const descriptor_registry& main_descriptor_registry() {
    static const descriptor_registry registry = {
        {1, make<ObjectDescriptor>},
        {2, make<InitialObjectDescriptor>},
        {3, make<ES_Descriptor>},
        {4, make<DecoderConfigDescriptor>},
        {5, make<DecoderSpecificInfo>},
        {6, make<SLConfigDescriptor>},
        {16, make<MP4InitialObjectDescriptor>},
        {20, make<ProfileLevelIndicationIndexDescriptor>},
        {100, make<ExtendedSLConfigDescriptor>},
    };
    return registry;
}

std::shared_ptr<BaseDescriptor> make_descriptor(const descriptor_registry& registry, std::uint8_t tag) {
    const auto factory = registry.find(tag);
    return factory != registry.end() ? factory->second() : std::make_shared<BaseDescriptor>(tag);
}

}  // namespace vio::es
