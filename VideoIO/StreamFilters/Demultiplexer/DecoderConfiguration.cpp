#include "VideoIO/StreamFilters/Demultiplexer/DecoderConfiguration.h"

#include "Logging/Checks.h"
#include "VideoIO/StreamFilters/Container/es_parser_base.h"
#include "VideoIO/StreamFilters/Container/memory_stream.h"
#include "VideoIO/StreamFilters/Container/mp4_parser.h"

#include <algorithm>

namespace Norvane::MediaKit::Filters::details {
namespace {

constexpr std::uint8_t kESDescriptorTag = 3;

/// Real ones stay below 1 KiB. A descriptor of 2 bytes becomes an object of some 200, so that no more than a part of a
/// huge box is looked at; a descriptor that goes on behind it is passed over.
constexpr std::size_t kMostDescriptorBytes = 1 << 16;

struct DescriptorBytes {
    std::span<std::uint8_t> es_;  ///< the box's
};

std::unique_ptr<DescriptorBytes> FindDescriptors(vio::mp4::mp4_parser& parser, const vio::mp4::sample_entry& entry) {
    auto box = parser.find_child<vio::mp4::esd_box>(entry);
    if (box == nullptr) {
        const auto wave = parser.find_child(entry, false, 0, vio::mp4::fourcc("wave"));
        if (wave != nullptr) box = parser.find_child<vio::mp4::esd_box>(*wave);
    }
    if (box == nullptr) return nullptr;
    const std::span<std::uint8_t> bytes(box->data);
    return std::make_unique<DescriptorBytes>(
        DescriptorBytes{bytes.first(std::min(bytes.size(), kMostDescriptorBytes))});
}

std::shared_ptr<vio::es::ES_Descriptor> ReadDescriptors(std::span<std::uint8_t> bytes) {
    vio::memory_stream stream(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    vio::es::es_parser_base parser(stream);
    std::uint64_t offset = 0;
    return std::dynamic_pointer_cast<vio::es::ES_Descriptor>(
        parser.find_descriptor(kESDescriptorTag, 0, offset, bytes.size()));
}

}  // namespace

HRESULT FindDecoderConfiguration(vio::mp4::mp4_parser& parser, const vio::mp4::sample_entry& entry,
                                 DecoderConfiguration& configuration) {
    const auto esds = FindDescriptors(parser, entry);
    QZCheckCondition(esds != nullptr, E_FAIL);
    QZCheckCondition(!esds->es_.empty(), E_FAIL);
    const auto es_descr = ReadDescriptors(esds->es_);
    QZCheckCondition(es_descr != nullptr, E_FAIL);
    const auto decoder_config_descr = es_descr->dec_config_descr;
    QZCheckCondition(decoder_config_descr != nullptr, E_FAIL);
    configuration = decoder_config_descr;
    return S_OK;
}

}  // namespace Norvane::MediaKit::Filters::details
