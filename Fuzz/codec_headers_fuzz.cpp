// What stands in the specific info of MPEG-4 streams: AudioSpecificConfig, and the headers of MPEG-4 Part 2 video. The
// first byte chooses.
#include "Fuzz/harness.h"
#include "VideoIO/MPEGUtil/AudioSpecificConfig.h"
#include "VideoIO/MPEGUtil/MPEG4VideoDecoder.h"

namespace mediakit_fuzz {
namespace {

using namespace qz_MPEGUtil;

void read_audio(bytes_view input) {
    const auto config = ReadAudioSpecificConfig(input);
    require(!config || (config->samplesPerSecond != 0 && config->channels != 0), "audio without rate or channels");
}

void read_video(bytes_view input) {
    const MediaData data{input.data(), input.size()};
    VideoDecoderParams params{.data = &data};
    MPEG4VideoDecoder decoder;
    if (FAILED(decoder.Init(params)) || FAILED(decoder.GetInfo(params))) return;
    require(params.size.cx >= 0 && params.size.cy >= 0, "a negative picture size");
    require(params.pixelAspectRatio.cx >= 0 && params.pixelAspectRatio.cy >= 0, "a negative pixel aspect ratio");
}

}  // namespace
}  // namespace mediakit_fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace mediakit_fuzz;
    const trial trial(size);
    bytes_view input(data, size);
    if (take_byte(input) % 2 == 0)
        read_audio(input);
    else
        read_video(input);
    return 0;
}
