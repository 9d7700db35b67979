#include "VideoIO/StreamFilters/Container/registry.h"

#include "VideoIO/StreamFilters/Container/box_classes.h"

namespace vio::mp4 {
namespace {

template <class T>
std::shared_ptr<box> make(unsigned int) {
    return std::make_shared<T>();
}

/// For classes that stand for several codes and have none of their own.
template <class T>
std::shared_ptr<box> make_typed(unsigned int type) {
    return std::make_shared<T>(type);
}

/// Each class of the list under its own code.
template <class... Boxes>
box_registry registry_of(details::class_list<Boxes...>) {
    return {{Boxes::code, make<Boxes>}...};
}

box_registry make_main_registry() {
    box_registry registry = registry_of(registered_boxes{});
    registry[fourcc("avc3")] = make<avc_sample_entry>;
    registry[fourcc("avc4")] = make<avc2_sample_entry>;
    registry[fourcc("bxml")] = make<xml_box>;
    registry[fourcc("hev1")] = make<hevc_sample_entry>;
    registry[fourcc("skip")] = make<free_space_box>;
    return registry;
}

box_registry make_sample_entry_registry() {
    box_registry registry = registry_of(registered_sample_entry_boxes{});
    registry[fourcc("avc3")] = make<avc_sample_entry>;
    registry[fourcc("avc4")] = make<avc2_sample_entry>;
    registry[fourcc("hev1")] = make<hevc_sample_entry>;
    registry[fourcc("icod")] = make_typed<visual_sample_entry>;
    registry[fourcc("sowt")] = make_typed<audio_sample_entry>;
    registry[fourcc("twos")] = make_typed<audio_sample_entry>;
    return registry;
}

}  // namespace

const box_registry& main_registry() {
    static const box_registry registry = make_main_registry();
    return registry;
}

const box_registry& sample_entry_registry() {
    static const box_registry registry = make_sample_entry_registry();
    return registry;
}

}  // namespace vio::mp4
