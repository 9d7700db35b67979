// From the payload of `avcC` or `hvcC` to a media type. The first byte chooses.
#include "Fuzz/harness.h"
#include "VideoIO/MPEGUtil/AVCDecoderConfigurationRecord.h"
#include "VideoIO/MPEGUtil/HEVCDecoderConfigurationRecord.h"

namespace mediakit_fuzz {
namespace {

using namespace qz_MPEGUtil;

void read_avc(bytes_view input) {
    AVCDecoderConfigurationRecord record;
    // A record may be parsed over.
    for (const bytes_view part : {input.first(input.size() / 2), input}) {
        CMediaType type;
        if (SUCCEEDED(record.Parse(part.data(), part.size()))) record.CreateMediaType(type);
    }
}

void read_hevc(bytes_view input) {
    HEVCDecoderConfigurationRecord record;
    record.Parse(input.data(), input.size());
    CMediaType type;
    record.CreateMediaType({64, 48}, {4, 3}, 0, 2'000'000, 400'000, 30, 1, type);
}

}  // namespace
}  // namespace mediakit_fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace mediakit_fuzz;
    const trial trial(size);
    bytes_view input(data, size);
    if (take_byte(input) % 2 == 0)
        read_avc(input);
    else
        read_hevc(input);
    return 0;
}
