// Parameter sets, SEI messages and slice headers of H.264 and H.265, by every reader that there is of them.
#include "Fuzz/harness.h"
#include "VideoIO/MPEGUtil/AVCHeadersBitstream.h"
#include "VideoIO/MPEGUtil/DataBuffer.h"
#include "VideoIO/MPEGUtil/H264PayloadParser.h"
#include "VideoIO/MPEGUtil/PictureOrder.h"

namespace mediakit_fuzz {
namespace {

using namespace qz_MPEGUtil;

template <class Order>
void read_pictures(const std::vector<bytes_view>& units) {
    Order order;
    for (const bytes_view unit : units) {
        order.AddParameterSet(unit);
        if (order.AddPicture(unit)) require(order.ActiveSequence() != nullptr, "a picture without its sequence");
        order.ReorderDepth();
    }
}

void read_media_types(const std::vector<bytes_view>& units) {
    static DataBuffer buffer;  // its 1.6 MB take longer to come by than an input to read
    H264PayloadParser parser(buffer, MEDIASUBTYPE_AVC1);
    for (const bytes_view unit : units) {
        buffer.Reset();
        parser.Reset();
        // In two pieces: a set that is not whole is tried again.
        const std::size_t half = unit.size() / 2;
        buffer.Add(unit.data(), half);
        parser.ParseSPS();
        buffer.Add(unit.data() + half, unit.size() - half);
        parser.ParseSPS();
        CMediaType type;
        if (parser.HasIdentifiedMediaType()) require(parser.GetIdentifiedMediaType(type) == S_OK, "no media type");
    }
}

/// The readers under the frame splitter, each with the parameter sets before it.
void read_headers(const std::vector<bytes_view>& units) {
    using namespace ProtectedLibrary;
    std::vector<std::uint32_t> words;
    AVCSeqParamSet sps;
    AVCPicParamSet pps;
    for (const bytes_view unit : units) {
        AVCHeadersBitstream bits(to_rbsp(words, unit));
        AVCSliceHeader header;
        AVCSeqParamSetExtension extension;
        AVCSEIPayLoad sei;
        bits.get_nal_header(header);
        switch (header.nal_unit_type) {
            case AVC_NAL_SPS:
            case AVC_NAL_SUBSET_SPS:
                sps.reset();
                bits.get_seq_param_set(sps);
                break;
            case AVC_NAL_SPS_EXTENSION: bits.get_seq_param_set_extension(extension); break;
            case AVC_NAL_PPS:
                pps.reset();
                if (bits.get_pic_param_set_ids(pps) == AVC_OK) bits.get_pic_param_set(pps, sps);
                break;
            case AVC_NAL_SEI:
                while (bits.get_sei_message(sei, sps) == AVC_OK && bits.more_rbsp_data()) {
                }
                break;
            default:
                if (bits.get_slice_header_start(header) == AVC_OK) bits.get_slice_header(header, sps, pps);
        }
    }
}

}  // namespace
}  // namespace mediakit_fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace mediakit_fuzz;
    const trial trial(size);
    const auto units = nal_units({data, size});
    read_pictures<qz_MPEGUtil::H264PictureOrder>(units);
    read_pictures<qz_MPEGUtil::H265PictureOrder>(units);
    read_headers(units);
    read_media_types(units);
    return 0;
}
