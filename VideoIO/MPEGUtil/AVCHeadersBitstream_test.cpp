#include "VideoIO/MPEGUtil/AVCHeadersBitstream.h"

#include "Testing/Kit/bit_writer.h"
#include "Testing/Kit/h264_clips.h"
#include "VideoIO/MPEGUtil/AVCHeaderTable.h"
#include "VideoIO/MPEGUtil/NALUnitSplitter.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>

namespace ProtectedLibrary {
namespace {

using mediakit_test::bit_writer;
using Bytes = std::vector<std::uint8_t>;

std::vector<Bytes> UnitsOf(const Bytes& stream) {
    std::vector<Bytes> units;
    qz_MPEGUtil::NALUnitSplitter splitter;
    qz_MPEGUtil::nal_buffer data{.base = stream.data(), .size = static_cast<std::uint32_t>(stream.size()),
                                 .flags = qz_MPEGUtil::nal_buffer::complete};
    qz_MPEGUtil::nal_buffer* unit = nullptr;
    while (data.size > 4) {
        if (splitter.next_nal_unit(&data, unit); unit) units.emplace_back(unit->begin(), unit->end());
    }
    return units;
}

/// A reader that owns its words. It stands at the start of the unit.
struct Reader {
    explicit Reader(const Bytes& unit) : bits(to_rbsp(words, unit)) {}
    std::vector<std::uint32_t> words;
    AVCHeadersBitstream bits;
};

// The bit reader

TEST(AvcBitstream, TakesEmulationPreventionOut) {
    struct Case {
        Bytes unit;
        Bytes rbsp;
    };
    for (const auto& [unit, rbsp] : {
             Case{{0x67, 0, 0, 3, 1, 9}, {0x67, 0, 0, 1, 9}},
             Case{{0x67, 0, 0, 3, 0, 0, 3, 0}, {0x67, 0, 0, 0, 0, 0}},
             Case{{0, 0, 3, 3, 0, 3}, {0, 0, 3, 0, 3}},
             Case{{0x67, 0, 0, 0, 3, 5}, {0x67, 0, 0, 0, 5}},
             Case{{3, 0, 3, 0, 0}, {3, 0, 3, 0, 0}},
             Case{{0x67}, {0x67}}, Case{{}, {}}}) {
        std::vector<std::uint32_t> words;
        const auto packed = to_rbsp(words, unit);
        EXPECT_EQ(packed.size(), (rbsp.size() + 3) / 4);
        Bytes unpacked;
        for (const std::uint32_t word : packed)
            for (int shift = 24; shift >= 0; shift -= 8) unpacked.push_back(static_cast<std::uint8_t>(word >> shift));
        Bytes padded = rbsp;
        padded.resize(packed.size() * 4);
        EXPECT_EQ(unpacked, padded);
    }
}

TEST(AvcBitstream, ReadsWhatWasWritten) {
    std::mt19937_64 random(3);
    bit_writer writer;
    struct Item {
        int kind;
        std::int64_t value;
        unsigned bits;
    };
    std::vector<Item> items;
    for (int i = 0; i < 3000; ++i) {
        const unsigned bits = static_cast<unsigned>(random() % 31) + 1;
        const auto value = static_cast<std::int64_t>(random() & ((std::uint64_t{1} << bits) - 1));
        const int kind = static_cast<int>(random() % 3);
        items.push_back({kind, kind == 2 && random() % 2 ? -value : value, bits});
        if (kind == 0) writer.u(bits, static_cast<std::uint64_t>(value));
        if (kind == 1) writer.ue(static_cast<std::uint64_t>(value));
        if (kind == 2) writer.se(items.back().value);
    }
    const Bytes bytes = writer.trailing().nal();
    Reader reader(bytes);
    for (const auto& [kind, value, bits] : items) {
        ASSERT_TRUE(reader.bits.more_rbsp_data());
        const std::int64_t read = kind == 0   ? std::int64_t{reader.bits.get_bits(bits)}
                                  : kind == 1 ? reader.bits.get_ue()
                                              : reader.bits.get_se();
        ASSERT_EQ(read, value);
    }
    EXPECT_FALSE(reader.bits.more_rbsp_data());
}

TEST(AvcBitstream, RefusesPrefixesAbove31BitsAndSeesZerosBehindTheEnd) {
    EXPECT_EQ(Reader(bit_writer().ue(0x7FFFFFFF).bytes()).bits.get_ue(), 0x7FFFFFFF);
    EXPECT_LT(Reader(bit_writer().ue(0x80000000).bytes()).bits.get_ue(), 0);
    EXPECT_LT(Reader(bit_writer().ue(0xFFFFFFFF).bytes()).bits.get_ue(), 0);
    EXPECT_EQ(Reader(bit_writer().se(-0x7FFFFFFF).bytes()).bits.get_se(), -0x7FFFFFFF);
    EXPECT_EQ(Reader(bit_writer().u(40, 1).u(40, 0).bytes()).bits.get_se(), INT32_MIN);

    Reader reader({0xFF, 0xFF});
    EXPECT_EQ(reader.bits.get_bits(32), 0xFFFF0000u);
    EXPECT_EQ(reader.bits.get_bits(32), 0u);
    EXPECT_LT(reader.bits.get_ue(), 0);
    EXPECT_FALSE(reader.bits.more_rbsp_data());
    AVCBaseBitstream nothing;
    EXPECT_EQ(nothing.get_bits(32), 0u);
    EXPECT_LT(nothing.get_ue(), 0);
    EXPECT_FALSE(nothing.more_rbsp_data());
}

TEST(AvcBitstream, AlignsToBytes) {
    Reader reader({0xA5, 0x5A, 0xC3, 0x3C, 0x99});
    reader.bits.align();
    EXPECT_EQ(reader.bits.bits_read(), 0u);
    reader.bits.skip_bits(31);
    reader.bits.align();
    EXPECT_EQ(reader.bits.bits_read(), 32u);
    EXPECT_EQ(reader.bits.get_bits(8), 0x99u);
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

// Sequence parameter sets by hand

struct SpsPlan {
    unsigned profile = 100;
    unsigned level = 40;
    std::uint64_t id = 0;
    std::uint64_t chroma = 1;
    bool separate_planes = false;
    std::uint64_t luma = 0;
    std::uint64_t chroma_depth = 0;
    std::function<void(bit_writer&)> lists = nullptr;
    std::uint64_t frame_num = 0;
    std::uint64_t order_type = 0;
    std::uint64_t order_lsb = 4;
    std::uint64_t cycle = 2;
    std::uint64_t references = 1;
    std::uint64_t width = 4;
    std::uint64_t height = 3;
    bool frame_only = true;
    bool direct = true;
    std::function<void(bit_writer&)> vui = nullptr;
};

Bytes MakeSps(const SpsPlan& plan) {
    bit_writer w;
    w.u(8, plan.profile).u(8, 0).u(8, plan.level).ue(plan.id);
    if (plan.profile == 100 || plan.profile == 118 || plan.profile == 83) {
        w.ue(plan.chroma);
        if (plan.chroma == 3) w.u(1, plan.separate_planes);
        w.ue(plan.luma).ue(plan.chroma_depth).u(1, 0).u(1, plan.lists ? 1 : 0);
        if (plan.lists) plan.lists(w);
    }
    w.ue(plan.frame_num).ue(plan.order_type);
    if (plan.order_type == 0) w.ue(plan.order_lsb);
    if (plan.order_type == 1) {
        w.u(1, 0).se(-7).se(9).ue(plan.cycle);
        for (std::uint64_t i = 0; i < plan.cycle; ++i) w.se(static_cast<std::int64_t>(i) - 1);
    }
    w.ue(plan.references).u(1, 0).ue(plan.width - 1).ue(plan.height - 1).u(1, plan.frame_only);
    if (!plan.frame_only) w.u(1, 0);
    w.u(1, plan.direct).u(1, 0).u(1, plan.vui ? 1 : 0);
    if (plan.vui) plan.vui(w);
    return w.trailing().nal();
}

std::int32_t ReadSps(const SpsPlan& plan, AVCSeqParamSet& sps) {
    return Reader(MakeSps(plan)).bits.get_seq_param_set(sps);
}

TEST(AvcSeqParamSet, AcceptsAndRefusesByTheTableOfLimits) {
    struct Case {
        const char* what;
        SpsPlan good;
        SpsPlan bad;
    };
    for (const auto& [what, good, bad] : {
             Case{"profile", {.profile = 188}, {.profile = 244}},
             Case{"profile of the chroma branch", {.profile = 83}, {.profile = 44}},
             Case{"level", {.level = 62}, {.level = 9}},
             Case{"id", {.id = 31}, {.id = 32}},
             Case{"chroma format", {.chroma = 3}, {.chroma = 4}},
             Case{"separate planes", {.chroma = 3}, {.chroma = 3, .separate_planes = true}},
             Case{"luma depth", {.luma = 8}, {.luma = 9}},
             Case{"chroma depth", {.chroma_depth = 8}, {.chroma_depth = 9}},
             Case{"frame number", {.frame_num = 12}, {.frame_num = 13}},
             Case{"order type", {.order_type = 2}, {.order_type = 3}},
             Case{"order count", {.order_lsb = 12}, {.order_lsb = 13}},
             Case{"cycle", {.order_type = 1, .cycle = 255}, {.order_type = 1, .cycle = 256}},
             Case{"reference frames", {.references = 16}, {.references = 17}},
             Case{"area", {.width = 0x8000, .height = 0x8000}, {.width = 0x10000, .height = 0x8000}}}) {
        AVCSeqParamSet sps;
        EXPECT_EQ(ReadSps(good, sps), 0) << what;
        EXPECT_EQ(ReadSps(bad, sps), -16) << what;
    }
}

TEST(AvcSeqParamSet, KeepsFieldsAndDerivesWhatFollows) {
    AVCSeqParamSet fresh;
    EXPECT_EQ(fresh.id(), 32u);
    EXPECT_EQ(fresh.video_format, 5);
    EXPECT_EQ(fresh.colour_primaries, 2);
    EXPECT_EQ(fresh.transfer_characteristics, 2);
    EXPECT_EQ(fresh.matrix_coefficients, 2);
    EXPECT_EQ(AVCSeqParamSetExtension().id(), 32u);

    AVCSeqParamSet sps;
    ASSERT_EQ(ReadSps({.profile = 77, .id = 5, .order_type = 1, .height = 3, .frame_only = false, .direct = false}, sps), 0);
    EXPECT_EQ(sps.id(), 5u);
    EXPECT_EQ(sps.chroma_format_idc, 1u);
    EXPECT_EQ(sps.bit_depth_luma, 8u);
    EXPECT_EQ(sps.frame_height_in_mbs, 6u);
    EXPECT_TRUE(sps.direct_8x8_inference_flag);
    EXPECT_EQ(sps.offset_for_non_ref_pic, -7);
    EXPECT_EQ(sps.offset_for_top_to_bottom_field, 9);
    EXPECT_EQ(sps.offset_for_ref_frame, (std::vector<std::int32_t>{-1, 0}));
    EXPECT_EQ(sps.scaling, flat_scaling_lists());
    sps.reset();
    EXPECT_EQ(sps.id(), 32u);

    // 144 passes the table of profiles and has no chroma fields.
    ASSERT_EQ(ReadSps({.profile = 144}, sps), 0);
    EXPECT_EQ(sps.frame_width_in_mbs, 4u);
}

TEST(AvcSeqParamSet, FallsBackOnScalingLists) {
    const auto lists = [](bit_writer& w) {
        w.u(1, 1);
        for (int i = 0; i < 16; ++i) w.se(i == 0 ? 2 : 0);  // list 0: tens
        w.u(1, 0);                                          // list 1: as list 0
        w.u(1, 1).se(-8);                                   // list 2: the default
        w.u(1, 0);                                          // list 3: the default
        w.u(1, 1).se(-3).se(1).se(-6);                      // list 4: 5, 6, and 6 up to the end
        w.u(1, 0);                                          // list 5: as list 4
        w.u(1, 0).u(1, 1).se(-8);                           // 8x8: both the default
    };
    AVCSeqParamSet sps;
    ASSERT_EQ(ReadSps({.lists = lists}, sps), 0);
    const auto& four = sps.scaling.lists4x4;
    EXPECT_EQ(four[0][0], 10);
    EXPECT_EQ(four[0][15], 10);
    EXPECT_EQ(four[1], four[0]);
    EXPECT_EQ(four[2], default_scaling_lists().lists4x4[0]);
    EXPECT_EQ(four[3], default_scaling_lists().lists4x4[3]);
    EXPECT_EQ(four[4][0], 5);
    EXPECT_EQ(four[4][1], 6);
    EXPECT_EQ(four[4][15], 6);
    EXPECT_EQ(four[5], four[4]);
    EXPECT_EQ(sps.scaling.lists8x8, default_scaling_lists().lists8x8);
    EXPECT_EQ(sps.frame_width_in_mbs, 4u);
}

TEST(AvcSeqParamSet, GivesTheResultOfItsVui) {
    const auto vui = [](std::uint64_t cpb_cnt_minus1) {
        return [=](bit_writer& w) {
            w.u(1, 1).u(8, 255).u(16, 40).u(16, 33);  // aspect ratio
            w.u(1, 0).u(1, 1).u(3, 1).u(1, 1).u(1, 1).u(8, 9).u(8, 16).u(8, 9);
            w.u(1, 0).u(1, 0).u(1, 0);  // chroma location, timing, NAL HRD
            w.u(1, 1).ue(cpb_cnt_minus1).u(8, 0);
            for (std::uint64_t i = 0; i <= cpb_cnt_minus1; ++i) w.ue(i).ue(i).u(1, 1);
            w.u(20, 0x12345).u(1, 1).u(1, 1).u(1, 0);
        };
    };
    AVCSeqParamSet sps;
    ASSERT_EQ(ReadSps({.vui = vui(31)}, sps), 0);
    EXPECT_EQ(sps.sar_width, 40);
    EXPECT_EQ(sps.sar_height, 33);
    EXPECT_EQ(sps.transfer_characteristics, 16);
    EXPECT_EQ(sps.vcl_hrd.cpb_cnt, 32u);
    EXPECT_EQ(sps.vcl_hrd.bit_rate_value[31], 32u);
    EXPECT_TRUE(sps.low_delay_hrd_flag);
    EXPECT_TRUE(sps.pic_struct_present_flag);
    EXPECT_EQ(ReadSps({.vui = vui(32)}, sps), -16);
}

// Picture parameter sets

AVCSeqParamSet SmallSps() {
    AVCSeqParamSet sps;
    EXPECT_EQ(ReadSps({}, sps), 0);  // 4 x 3 macroblocks
    return sps;
}

std::int32_t ReadPps(const std::function<void(bit_writer&)>& groups, std::uint64_t l0 = 0, std::uint64_t l1 = 0,
                     AVCPicParamSet* out = nullptr) {
    bit_writer w;
    w.u(2, 0);
    groups(w);
    w.ue(l0).ue(l1).u(3, 0).se(0).se(0).se(-2).u(3, 4).trailing();
    AVCPicParamSet pps;
    const Bytes unit = w.nal();
    const std::int32_t status = Reader(unit).bits.get_pic_param_set(pps, SmallSps());
    if (out) *out = pps;
    return status;
}

TEST(AvcPicParamSet, AcceptsAndRefusesByTheTableOfLimits) {
    const auto one_group = [](bit_writer& w) { w.ue(0); };
    const auto runs = [](std::uint64_t run) { return [=](bit_writer& w) { w.ue(1).ue(0).ue(run - 1).ue(run - 1); }; };
    const auto box = [](std::uint64_t from, std::uint64_t to) {
        return [=](bit_writer& w) { w.ue(1).ue(2).ue(from).ue(to); };
    };
    const auto evolving = [](std::uint64_t groups, std::uint64_t type, std::uint64_t rate) {
        return [=](bit_writer& w) { w.ue(groups - 1).ue(type).u(1, 0).ue(rate - 1); };
    };
    const auto ids = [](std::uint64_t groups, std::uint64_t size, std::uint64_t last) {
        return [=](bit_writer& w) {
            w.ue(groups - 1).ue(6).ue(size - 1);
            for (std::uint64_t i = 1; i < size; ++i) w.u(2, 0);
            w.u(2, last);
        };
    };
    EXPECT_EQ(ReadPps(one_group), 0);
    EXPECT_EQ(ReadPps([](bit_writer& w) { w.ue(7).ue(1); }), 0);
    EXPECT_EQ(ReadPps([](bit_writer& w) { w.ue(8).ue(1); }), -16);
    EXPECT_EQ(ReadPps([](bit_writer& w) { w.ue(1).ue(7); }), -16);
    EXPECT_EQ(ReadPps(runs(12)), 0);
    EXPECT_EQ(ReadPps(runs(13)), -16);
    EXPECT_EQ(ReadPps(box(1, 11)), 0);
    EXPECT_EQ(ReadPps(box(5, 4)), -16);   // backwards
    EXPECT_EQ(ReadPps(box(1, 12)), -16);  // outside
    EXPECT_EQ(ReadPps(box(3, 4)), -16);   // from the last column to the first
    for (std::uint64_t type : {3, 4, 5}) {
        EXPECT_EQ(ReadPps(evolving(2, type, 12)), 0);
        EXPECT_EQ(ReadPps(evolving(2, type, 13)), -16);
        EXPECT_EQ(ReadPps(evolving(3, type, 12)), -16);
    }
    EXPECT_EQ(ReadPps(ids(3, 12, 2)), 0);
    EXPECT_EQ(ReadPps(ids(3, 12, 3)), -16);
    EXPECT_EQ(ReadPps(ids(3, 11, 2)), -16);
    EXPECT_EQ(ReadPps(one_group, 31, 31), 0);
    EXPECT_EQ(ReadPps(one_group, 32, 0), -16);
    EXPECT_EQ(ReadPps(one_group, 0, 32), -16);

    AVCPicParamSet pps;
    const auto read_ids = [&](std::uint64_t pps_id, std::uint64_t sps_id) {
        const Bytes unit = bit_writer().ue(pps_id).ue(sps_id).trailing().nal();
        return Reader(unit).bits.get_pic_param_set_ids(pps);
    };
    EXPECT_EQ(read_ids(255, 31), 0);
    EXPECT_EQ(read_ids(256, 31), -16);
    EXPECT_EQ(read_ids(255, 32), -16);

    ASSERT_EQ(ReadPps(one_group, 2, 3, &pps), 0);
    EXPECT_EQ(pps.num_ref_idx_l0_active, 3u);
    EXPECT_EQ(pps.num_ref_idx_l1_active, 4u);
    EXPECT_TRUE(pps.deblocking_filter_control_present_flag);
    EXPECT_EQ(pps.second_chroma_qp_index_offset, -2);
}

TEST(AvcPicParamSet, MakesNoRoomForGroupIdsThatAreNotThere) {
    AVCSeqParamSet huge;
    ASSERT_EQ(ReadSps({.width = 0x8000, .height = 0x8000}, huge), 0);
    bit_writer w;
    w.u(2, 0).ue(1).ue(6).ue(huge.picture_area() - 1).u(32, 0).trailing();
    const Bytes unit = w.nal();
    AVCPicParamSet pps;
    EXPECT_EQ(Reader(unit).bits.get_pic_param_set(pps, huge), -16);
    EXPECT_EQ(pps.slice_group_id.capacity(), 0u);
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
    w.ue(7).ue(5).ue(9);                             // first macroblock, P, picture parameter set
    w.u(4, 11).u(8, 0xAB);                           // frame_num, order count
    w.u(1, 1).ue(1);                                 // two references
    w.u(1, 1).ue(0).ue(4).ue(2).ue(1).ue(3);         // list modification
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
    Reader reader(bit_writer().u(8, 0x6E).u(1, 1).u(1, 1).u(6, 9).u(1, 0).u(3, 4).u(4, 6).u(3, 1).u(5, 0).u(8, 0x77).bytes());
    reader.bits.get_nal_header(svc);
    EXPECT_TRUE(svc.svc_extension_flag);
    EXPECT_TRUE(svc.idr_flag);
    EXPECT_EQ(svc.dependency_id, 4u);
    EXPECT_EQ(svc.quality_id, 6u);
    EXPECT_EQ(reader.bits.get_bits(8), 0x77u);
}

TEST(AvcSei, ReadsOneMessageAfterTheOther) {
    bit_writer w;
    w.u(8, 0xFF).u(8, 1).u(8, 3).u(24, 0xABCDEF);        // type 256
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
