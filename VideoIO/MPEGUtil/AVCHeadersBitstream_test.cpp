#include "VideoIO/MPEGUtil/AVCHeadersBitstream.h"

#include "Testing/Kit/h264_clips.h"
#include "VideoIO/MPEGUtil/AVCHeaderTable.h"
#include "VideoIO/MPEGUtil/AVCReader_test.h"
#include "VideoIO/MPEGUtil/NALUnitSplitter.h"

#include <gtest/gtest.h>

#include <random>

namespace ProtectedLibrary {
namespace {

using namespace testdata;

std::vector<Bytes> UnitsOf(const Bytes& stream) {
    std::vector<Bytes> units;
    qz_MPEGUtil::NALUnitSplitter splitter;
    qz_MPEGUtil::nal_buffer data{.base = stream.data(),
                                 .size = static_cast<std::uint32_t>(stream.size()),
                                 .flags = qz_MPEGUtil::nal_buffer::complete};
    qz_MPEGUtil::nal_buffer* unit = nullptr;
    while (data.size > 4) {
        if (splitter.next_nal_unit(&data, unit); unit) units.emplace_back(unit->begin(), unit->end());
    }
    return units;
}

// Encoder-made streams

TEST(AvcHeaders, AgreeWithASecondParserOnEverySliceHeader) {
    for (const auto& clip : mediakit_test::all_h264_clips()) {
        SCOPED_TRACE(clip.name);
        AVCHeaderTable<AVCSeqParamSet> sequences;
        AVCHeaderTable<AVCPicParamSet> pictures;
        std::size_t slices = 0;
        for (const Bytes& unit : UnitsOf(clip.bytes)) {
            Reader reader(unit);
            AVCSliceHeader header;
            ASSERT_EQ(reader.bits.get_nal_header(header), 0);
            if (header.nal_unit_type == AVC_NAL_SPS) {
                AVCSeqParamSet sps;
                ASSERT_EQ(reader.bits.get_seq_param_set(sps), 0);
                EXPECT_FALSE(reader.bits.more_rbsp_data());
                EXPECT_EQ(sps.frame_width_in_mbs * 16, clip.width);
                EXPECT_EQ(sps.frame_height_in_mbs * 16, clip.height);
                sequences.store(sps);
            } else if (header.nal_unit_type == AVC_NAL_PPS) {
                AVCPicParamSet pps;
                ASSERT_EQ(reader.bits.get_pic_param_set_ids(pps), 0);
                ASSERT_EQ(reader.bits.get_pic_param_set(pps, *sequences.find(pps.seq_parameter_set_id)), 0);
                EXPECT_FALSE(reader.bits.more_rbsp_data());
                pictures.store(pps);
            } else if (header.nal_unit_type == AVC_NAL_SLICE || header.nal_unit_type == AVC_NAL_IDR_SLICE) {
                SCOPED_TRACE(slices);
                ASSERT_EQ(reader.bits.get_slice_header_start(header), 0);
                const AVCPicParamSet& pps = *pictures.find(header.pic_parameter_set_id);
                ASSERT_EQ(reader.bits.get_slice_header(header, *sequences.find(pps.seq_parameter_set_id), pps), 0);
                const auto& facts = clip.slices.at(slices++);
                EXPECT_EQ(header.nal_unit_type, facts.nal_unit_type);
                EXPECT_EQ(header.slice_type, facts.slice_type);
                EXPECT_EQ(header.first_mb_in_slice, facts.first_mb_in_slice);
                EXPECT_EQ(header.frame_num, facts.frame_num);
                EXPECT_EQ(header.pic_order_cnt_lsb, facts.pic_order_cnt_lsb);
                EXPECT_EQ(reader.bits.bits_read(), facts.header_bits);
            }
        }
        EXPECT_EQ(slices, clip.slices.size());
    }
}

TEST(AvcHeaders, ReadTheVuiOfAnEncoder) {
    Reader reader(UnitsOf(mediakit_test::h264_clip_high().bytes).front());
    AVCNalHeader header;
    reader.bits.get_nal_header(header);
    AVCSeqParamSet sps;
    ASSERT_EQ(reader.bits.get_seq_param_set(sps), 0);
    EXPECT_EQ(sps.profile_idc, 100);
    EXPECT_EQ(sps.level_idc, 13);
    EXPECT_EQ(sps.chroma_format_idc, 1u);
    EXPECT_EQ(sps.aspect_ratio_idc, 1);
    EXPECT_EQ(sps.num_units_in_tick, 1u);
    EXPECT_EQ(sps.time_scale, 50u);
    EXPECT_TRUE(sps.nal_hrd_parameters_present_flag);
    EXPECT_EQ(sps.nal_hrd.cpb_cnt, 1u);
    EXPECT_EQ(sps.nal_hrd.bit_rate_value[0], 7812u);
    EXPECT_EQ(sps.nal_hrd.initial_cpb_removal_delay_length, 19);
    EXPECT_EQ(sps.num_reorder_frames, 2u);
    EXPECT_EQ(sps.max_dec_frame_buffering, 4u);
}

// Slice headers

TEST(AvcSliceHeader, ReadsMarkingAndGroupCycle) {
    AVCSeqParamSet sps = SmallSps();  // 4-bit frame_num, 8-bit order count
    AVCPicParamSet pps;
    pps.num_slice_groups = 2;
    pps.slice_group_map_type = 3;
    pps.slice_group_change_rate = 5;  // 12 / 5 rounds up to 3: 2 bits
    pps.deblocking_filter_control_present_flag = true;
    bit_writer w;
    w.ue(7).ue(5).ue(9);                      // first macroblock, P, picture parameter set
    w.u(4, 11).u(8, 0xAB);                    // frame_num, order count
    w.u(1, 1).ue(1);                          // two references
    w.u(1, 1).ue(0).ue(4).ue(2).ue(1).ue(3);  // list modification
    w.u(1, 1).ue(1).ue(0).ue(2).ue(1).ue(3).ue(0).ue(1).ue(4).ue(2).ue(5).ue(6).ue(0).ue(0);  // marking
    w.se(-3).ue(0).se(1).se(-1).u(2, 3);
    const std::size_t length = w.size();
    const Bytes unit = w.u(7, 0x55).trailing().nal();
    AVCSliceHeader slice;
    slice.nal_unit_type = AVC_NAL_SLICE;
    slice.nal_ref_idc = 1;
    Reader reader(unit);
    ASSERT_EQ(reader.bits.get_slice_header_start(slice), 0);
    EXPECT_EQ(slice.pic_parameter_set_id, 9u);
    ASSERT_EQ(reader.bits.get_slice_header(slice, sps, pps), 0);
    EXPECT_EQ(reader.bits.bits_read(), length);
    EXPECT_EQ(slice.frame_num, 11u);
    EXPECT_EQ(slice.pic_order_cnt_lsb, 0xABu);
    EXPECT_EQ(slice.num_ref_idx_l0_active, 2u);
    EXPECT_EQ(slice.slice_qp_delta, -3);
    EXPECT_EQ(slice.slice_group_change_cycle, 3u);
}

TEST(AvcSliceHeader, RefusesWhatIsOutOfRange) {
    const auto start = [](std::uint64_t type, std::uint64_t pps) {
        AVCSliceHeader slice;
        const Bytes unit = bit_writer().ue(0).ue(type).ue(pps).trailing().nal();
        return Reader(unit).bits.get_slice_header_start(slice);
    };
    EXPECT_EQ(start(7, 255), 0);
    EXPECT_EQ(start(7, 256), -16);
    EXPECT_EQ(start(10, 0), -16);
    EXPECT_EQ(start(3, 0), -16);  // SP
    EXPECT_EQ(start(9, 0), -16);  // SI

    const auto idr = [](std::uint64_t id) {
        AVCSliceHeader slice;
        slice.nal_unit_type = AVC_NAL_IDR_SLICE;
        const Bytes unit = bit_writer().u(4, 0).ue(id).u(8, 0).se(0).trailing().nal();
        return Reader(unit).bits.get_slice_header(slice, SmallSps(), AVCPicParamSet());
    };
    EXPECT_EQ(idr(65535), 0);
    EXPECT_EQ(idr(65536), -16);
}

// NAL header extensions and SEI

TEST(AvcNalHeader, ReadsTheExtensions) {
    AVCNalHeader mvc;
    Reader(bit_writer().u(8, 0x74).u(1, 0).u(1, 1).u(6, 5).u(10, 700).u(3, 2).u(1, 1).u(1, 0).u(1, 1).bytes())
        .bits.get_nal_header(mvc);
    EXPECT_EQ(mvc.nal_unit_type, 20u);
    EXPECT_EQ(mvc.nal_ref_idc, 3u);
    EXPECT_EQ(mvc.view_id, 700u);
    EXPECT_FALSE(mvc.idr_flag);
    EXPECT_TRUE(mvc.anchor_pic_flag);

    AVCNalHeader svc;
    bit_writer header;
    header.u(8, 0x6E).u(1, 1).u(1, 1).u(6, 9).u(1, 0).u(3, 4).u(4, 6).u(3, 1).u(5, 0).u(8, 0x77);
    Reader reader(header.bytes());
    reader.bits.get_nal_header(svc);
    EXPECT_TRUE(svc.svc_extension_flag);
    EXPECT_TRUE(svc.idr_flag);
    EXPECT_EQ(svc.dependency_id, 4u);
    EXPECT_EQ(svc.quality_id, 6u);
    EXPECT_EQ(reader.bits.get_bits(8), 0x77u);
}

TEST(AvcSei, ReadsOneMessageAfterTheOther) {
    bit_writer w;
    w.u(8, 0xFF).u(8, 1).u(8, 3).u(24, 0xABCDEF);             // type 256
    w.u(8, 6).u(8, 2).ue(4).u(1, 1).u(1, 0).u(2, 2).u(7, 0);  // recovery point
    const Bytes unit = w.trailing().nal();
    Reader reader(unit);
    AVCSEIPayLoad sei;
    ASSERT_EQ(reader.bits.get_sei_message(sei, SmallSps()), 0);
    EXPECT_EQ(sei.payload_type, 256u);
    EXPECT_EQ(sei.payload, (Bytes{0xAB, 0xCD, 0xEF}));
    ASSERT_TRUE(reader.bits.more_rbsp_data());
    ASSERT_EQ(reader.bits.get_sei_message(sei, SmallSps()), 0);
    EXPECT_EQ(sei.payload_type, kSeiRecoveryPoint);
    EXPECT_EQ(sei.recovery_point.recovery_frame_cnt, 4u);
    EXPECT_TRUE(sei.recovery_point.exact_match_flag);
    EXPECT_EQ(sei.recovery_point.changing_slice_group_idc, 2u);
    EXPECT_FALSE(reader.bits.more_rbsp_data());

    // A message that claims more than there is.
    EXPECT_EQ(Reader(Bytes{5, 200, 1, 2, 3, 0x80}).bits.get_sei_message(sei, SmallSps()), -16);
    EXPECT_EQ(Reader(Bytes{0x80}).bits.get_sei_message(sei, SmallSps()), -16);
}

TEST(AvcHeaders, SurviveCutAndRandomBytes) {
    std::mt19937 random(11);
    for (const auto& clip : mediakit_test::all_h264_clips()) {
        const std::vector<Bytes> units = UnitsOf(clip.bytes);
        for (int run = 0; run < 2000; ++run) {
            Bytes unit = units[random() % units.size()];
            unit.resize(1 + random() % unit.size());
            for (unsigned flips = random() % 4; flips > 0; --flips) {
                unit[random() % unit.size()] ^= static_cast<std::uint8_t>(1u << random() % 8);
            }
            Reader reader(unit);
            AVCSliceHeader header;
            reader.bits.get_nal_header(header);
            const AVCHeadersBitstream behind = reader.bits;
            AVCSeqParamSet sps;
            if (reader.bits.get_seq_param_set(sps) != 0) sps = SmallSps();
            AVCPicParamSet pps;
            reader.bits = behind;
            reader.bits.get_pic_param_set(pps, sps);
            reader.bits = behind;
            AVCSEIPayLoad sei;
            reader.bits.get_sei_message(sei, sps);
            reader.bits = behind;
            if (reader.bits.get_slice_header_start(header) == 0) reader.bits.get_slice_header(header, sps, pps);
            EXPECT_LE(reader.bits.bits_read(), unit.size() * 8 + 31);
        }
    }
}

}  // namespace
}  // namespace ProtectedLibrary
