#include "VideoIO/MPEGUtil/AVC_Spl.h"

#include "Testing/Kit/bit_writer.h"
#include "Testing/Kit/h264_clips.h"

#include <gtest/gtest.h>

#include <random>

namespace ProtectedLibrary {
namespace {

using mediakit_test::bit_writer;
using Bytes = std::vector<std::uint8_t>;

Bytes Stream(const std::vector<Bytes>& units) {
    Bytes all;
    for (const Bytes& unit : units) {
        all.insert(all.end(), {0, 0, 0, 1});
        all.insert(all.end(), unit.begin(), unit.end());
    }
    return all;
}

struct Frame {
    Bytes data;
    std::vector<AVCSliceInfo> slices;
    std::uint32_t first_field_slices;
    std::int64_t time;
};

Frame Copy(const AVCFrame& frame) {
    return {Bytes(frame.data, frame.data + frame.data_size),
            std::vector<AVCSliceInfo>(frame.slices, frame.slices + frame.slice_count), frame.first_field_slices,
            frame.time};
}

/// Takes all frames that the data give.
void Feed(AVC_Spl& splitter, nal_buffer* data, std::vector<Frame>& frames) {
    const AVCFrame* frame = nullptr;
    for (;;) {
        const std::int32_t status = splitter.next_frame(data, frame);
        if (frame == nullptr) {
            ASSERT_TRUE(status == AVC_ERR_NOT_ENOUGH_DATA || status == AVC_ERR_NOT_ENOUGH_BUFFER) << status;
            if (status == AVC_ERR_NOT_ENOUGH_DATA) return;
            continue;
        }
        ASSERT_EQ(status, AVC_OK);
        frames.push_back(Copy(*frame));
        splitter.clear_frame();
    }
}

std::vector<Frame> Frames(AVC_Spl& splitter, const Bytes& stream, std::size_t part = ~std::size_t{0}) {
    std::vector<Frame> frames;
    Bytes held;
    for (std::size_t at = 0; at < stream.size();) {
        const std::size_t count = std::min(part, stream.size() - at);
        held.insert(held.end(), stream.begin() + static_cast<std::ptrdiff_t>(at),
                    stream.begin() + static_cast<std::ptrdiff_t>(at + count));
        at += count;
        // In a block of its own that goes away, as a caller's buffer does.
        const Bytes block = held;
        nal_buffer data{.time = static_cast<std::int64_t>(at),
                        .base = block.data(),
                        .offset = 0,
                        .size = static_cast<std::uint32_t>(block.size()),
                        .flags = 0};
        Feed(splitter, &data, frames);
        held.assign(block.begin() + data.offset, block.end());
    }
    Feed(splitter, nullptr, frames);
    return frames;
}

// Headers by hand: 4 x 2 macroblocks of the frame, frame_num of 4 and order count of 4 bits, CAVLC, field coding
// allowed.

Bytes Sps(unsigned id = 0, unsigned nal = 0x67, unsigned profile = 77) {
    bit_writer w;
    w.u(8, nal).u(8, profile).u(8, 0).u(8, 30).ue(id);
    if (profile == 118) w.ue(1).ue(0).ue(0).u(2, 0);
    return w.ue(0).ue(0).ue(0).ue(2).u(1, 0).ue(3).ue(0).u(1, 0).u(1, 0).u(1, 1).u(1, 0).u(1, 0).trailing().nal();
}

Bytes Pps(unsigned id = 0, unsigned sps = 0) {
    bit_writer w;
    w.u(8, 0x68).ue(id).ue(sps).u(2, 0).ue(0).ue(0).ue(0).u(3, 0).se(0).se(0).se(0).u(3, 0);
    return w.trailing().nal();
}

struct SlicePlan {
    unsigned ref = 1;
    unsigned type = 1;
    unsigned first_mb = 0;
    unsigned slice_type = 2;  // I
    unsigned pps = 0;
    unsigned frame_num = 0;
    unsigned field = 0;  // 0 frame, 1 top, 2 bottom
    unsigned idr_id = 0;
    unsigned order = 0;
    unsigned view = 0;
};

Bytes Slice(const SlicePlan& plan) {
    bit_writer w;
    w.u(1, 0).u(2, plan.ref).u(5, plan.type);
    if (plan.type == 20) w.u(1, 0).u(1, 1).u(6, 0).u(10, plan.view).u(6, 1);
    w.ue(plan.first_mb).ue(plan.slice_type).ue(plan.pps).u(4, plan.frame_num).u(1, plan.field != 0);
    if (plan.field != 0) w.u(1, plan.field == 2);
    if (plan.type == 5) w.ue(plan.idr_id);
    w.u(4, plan.order);
    if (plan.slice_type == 1) w.u(1, 0);          // direct_spatial_mv_pred_flag
    if (plan.slice_type != 2) w.u(1, 0).u(1, 0);  // no override, no modification
    if (plan.slice_type == 1) w.u(1, 0);
    if (plan.ref != 0) w.u(plan.type == 5 ? 2 : 1, 0);
    return w.se(0).u(16, 0xBEEF).trailing().nal();
}

const Bytes kRecovery = {0x06, 0x06, 0x01, 0x84, 0x80};

std::vector<std::size_t> SliceCounts(const std::vector<Frame>& frames) {
    std::vector<std::size_t> counts;
    for (const Frame& frame : frames) counts.push_back(frame.slices.size());
    return counts;
}

std::vector<std::size_t> CountsOf(std::vector<Bytes> units) {
    AVC_Spl splitter;
    units.insert(units.begin(), {Sps(), Pps()});
    return SliceCounts(Frames(splitter, Stream(units)));
}

TEST(AvcSplitter, GathersThePicturesOfEncodersStreams) {
    for (const auto& clip : mediakit_test::all_h264_clips()) {
        SCOPED_TRACE(clip.name);
        AVC_Spl splitter;
        const std::vector<Frame> frames = Frames(splitter, clip.bytes);
        ASSERT_EQ(frames.size(), clip.slices.size() / clip.slices_per_picture);
        std::size_t slice = 0;
        for (const Frame& frame : frames) {
            ASSERT_EQ(frame.slices.size(), clip.slices_per_picture);
            EXPECT_EQ(frame.first_field_slices, clip.slices_per_picture);
            for (const AVCSliceInfo& info : frame.slices) {
                const auto& facts = clip.slices[slice++];
                static constexpr std::uint32_t types[] = {1, 2, 0};  // of P, B and I
                EXPECT_EQ(info.type, types[facts.slice_type]);
                ASSERT_LE(info.offset + info.size, frame.data.size());
                const std::uint8_t* unit = frame.data.data() + info.offset;
                EXPECT_EQ(Bytes(unit, unit + 4), (Bytes{0, 0, 0, 1}));
                EXPECT_EQ(unit[4] & 0x1Fu, facts.nal_unit_type);
                // None of these headers holds emulation prevention.
                EXPECT_EQ(info.header_size, 4 + (facts.header_bits + 7) / 8);
            }
        }
        EXPECT_EQ(splitter.seq_param_sets().current()->frame_width_in_mbs * 16, clip.width);
    }
}

TEST(AvcSplitter, IsIndifferentToTheSizeOfTheBuffers) {
    const auto clip = mediakit_test::h264_clip_main();
    AVC_Spl whole;
    const std::vector<Frame> expected = Frames(whole, clip.bytes);
    for (const std::size_t part : {1, 2, 3, 5, 7, 64, 100, 250}) {
        AVC_Spl splitter;
        const std::vector<Frame> frames = Frames(splitter, clip.bytes, part);
        ASSERT_EQ(frames.size(), expected.size()) << part;
        for (std::size_t i = 0; i < frames.size(); ++i) EXPECT_EQ(frames[i].data, expected[i].data) << part << " " << i;
    }
}

TEST(AvcSplitter, GivesNothingWithoutParameterSets) {
    const Bytes slice = Slice({.type = 5});
    for (const std::vector<Bytes>& units : {std::vector<Bytes>{slice}, {Sps(), slice}, {Pps(), Sps(), slice}}) {
        AVC_Spl splitter;
        EXPECT_TRUE(Frames(splitter, Stream(units)).empty());
    }
    AVC_Spl splitter;
    EXPECT_EQ(Frames(splitter, Stream({Sps(), Pps(), slice})).size(), 1u);
    EXPECT_EQ(splitter.query(), 0);
}

TEST(AvcSplitter, WaitsForAnIntraSliceOrARecoveryPoint) {
    const Bytes inter = Slice({.slice_type = 0, .frame_num = 1, .order = 2});
    const Bytes intra = Slice({.type = 5});
    EXPECT_EQ(CountsOf({inter, inter}), (std::vector<std::size_t>{}));
    EXPECT_EQ(CountsOf({inter, intra, inter}), (std::vector<std::size_t>{1, 1}));
    EXPECT_EQ(CountsOf({inter, kRecovery, inter}), (std::vector<std::size_t>{1}));

    AVC_Spl splitter;
    Frames(splitter, Stream({Sps(), Pps(), kRecovery}));
    EXPECT_NE(splitter.sei_messages().find(kSeiRecoveryPoint), nullptr);
    Frames(splitter, Stream({inter}));
    EXPECT_EQ(splitter.sei_messages().find(kSeiRecoveryPoint), nullptr);
    // A reset waits again, and keeps the parameter sets.
    splitter.reset_stream();
    EXPECT_TRUE(Frames(splitter, Stream({inter})).empty());
    EXPECT_EQ(Frames(splitter, Stream({intra})).size(), 1u);
}

TEST(AvcSplitter, TellsPicturesApart) {
    const SlicePlan first = {.frame_num = 3, .order = 6};
    const auto second = [&](auto change) {
        SlicePlan plan = first;
        plan.first_mb = 4;
        change(plan);
        return CountsOf({Pps(1, 0), Slice({.type = 5}), Slice(first), Slice(plan)});
    };
    const std::vector<std::size_t> same = {1, 2}, other = {1, 1, 1};
    EXPECT_EQ(second([](SlicePlan&) {}), same);
    EXPECT_EQ(second([](SlicePlan& plan) { plan.ref = 3; }), same);
    EXPECT_EQ(second([](SlicePlan& plan) { plan.slice_type = 0; }), same);
    EXPECT_EQ(second([](SlicePlan& plan) { plan.first_mb = 0; }), other);
    EXPECT_EQ(second([](SlicePlan& plan) { plan.frame_num = 4; }), other);
    EXPECT_EQ(second([](SlicePlan& plan) { plan.pps = 1; }), other);
    EXPECT_EQ(second([](SlicePlan& plan) { plan.order = 7; }), other);
    EXPECT_EQ(second([](SlicePlan& plan) { plan.ref = 0; }), other);
    EXPECT_EQ(second([](SlicePlan& plan) { plan.field = 1; }), other);
    EXPECT_EQ(second([](SlicePlan& plan) { plan.type = 5; }), other);

    const auto idr = [](unsigned id, unsigned mb) { return Slice({.type = 5, .first_mb = mb, .idr_id = id}); };
    EXPECT_EQ(CountsOf({idr(0, 0), idr(0, 4), idr(1, 5)}), (std::vector<std::size_t>{2, 1}));
}

TEST(AvcSplitter, JoinsTheTwoFieldsOfAFrame) {
    const auto field = [](unsigned parity, unsigned mb, unsigned order, unsigned ref = 1) {
        return Slice({.ref = ref, .first_mb = mb, .field = parity, .order = order});
    };
    AVC_Spl splitter;
    const std::vector<Frame> frames =
        Frames(splitter, Stream({Sps(), Pps(), field(1, 0, 0), field(1, 2, 0), field(2, 0, 1), field(1, 0, 2),
                                 field(2, 0, 3), field(2, 1, 3)}));
    ASSERT_EQ(SliceCounts(frames), (std::vector<std::size_t>{3, 3}));
    EXPECT_EQ(frames[0].first_field_slices, 2u);
    EXPECT_EQ(frames[1].first_field_slices, 1u);
    // Not with one field of reference and one not, and not twice the same.
    EXPECT_EQ(CountsOf({field(1, 0, 0), field(2, 0, 1, 0)}), (std::vector<std::size_t>{1, 1}));
    EXPECT_EQ(CountsOf({field(1, 0, 0), field(1, 0, 1)}), (std::vector<std::size_t>{1, 1}));
    EXPECT_EQ(CountsOf({field(1, 0, 0), field(2, 0, 1), field(1, 0, 0)}), (std::vector<std::size_t>{2, 1}));
}

TEST(AvcSplitter, KeepsTheViewsOfAPictureTogether) {
    const Bytes subset = Sps(1, 0x6F, 118), pps = Pps(1, 1);
    const auto view = [](unsigned id, unsigned order) {
        return Slice({.type = 20, .pps = 1, .order = order, .view = id});
    };
    AVC_Spl splitter;
    const std::vector<Frame> frames =
        Frames(splitter, Stream({Sps(), Pps(), subset, pps, Slice({.order = 0}), view(1, 0),
                                 Slice({.frame_num = 1, .order = 2}), view(1, 2)}));
    EXPECT_EQ(SliceCounts(frames), (std::vector<std::size_t>{2, 2}));
    ASSERT_NE(splitter.subset_seq_param_sets().find(1), nullptr);
    EXPECT_EQ(splitter.seq_param_sets().find(1), nullptr);
    // A subset of another profile is not kept.
    AVC_Spl plain;
    Frames(plain, Stream({Sps(1, 0x6F, 77)}));
    EXPECT_EQ(plain.subset_seq_param_sets().find(1), nullptr);
}

TEST(AvcSplitter, PutsTheUnitsOfAFrameBehindStartCodes) {
    const Bytes delimiter = {0x09, 0x10}, filler = {0x0C, 0xFF, 0x80}, prefix = {0x6E, 0x40, 0x00, 0x07, 0x80};
    const Bytes sei = {0x06, 0x05, 0x02, 0x11, 0x22, 0x80};
    const Bytes first = Slice({.type = 5}), second = Slice({.slice_type = 0, .frame_num = 1, .order = 2});
    AVC_Spl splitter;
    const std::vector<Frame> frames =
        Frames(splitter, Stream({delimiter, Sps(), Pps(), sei, filler, prefix, first, {0x0A}, second}));
    ASSERT_EQ(frames.size(), 2u);
    EXPECT_EQ(frames[0].data, Stream({delimiter, Sps(), Pps(), sei, prefix, first, {0x0A}}));
    EXPECT_EQ(frames[1].data, Stream({second}));
    EXPECT_EQ(frames[0].slices[0].offset, Stream({delimiter, Sps(), Pps(), sei, prefix}).size());
    EXPECT_EQ(frames[0].slices[0].size, first.size() + 4);
    ASSERT_NE(splitter.sei_messages().find(5), nullptr);
    EXPECT_EQ(splitter.sei_messages().find(5)->payload, (Bytes{0x11, 0x22}));
    EXPECT_TRUE(splitter.prefix().anchor_pic_flag);
}

TEST(AvcSplitter, CountsEmulationPreventionInAHeader) {
    // The end of idr_pic_id and what follows it are zeros over two bytes, so that a 3 stands in the header.
    bit_writer w;
    w.u(8, 0x65).ue(0).ue(7).ue(0).u(4, 0).u(1, 0).ue(0xFFFF).u(4, 0).u(2, 0).se(1);
    const std::size_t bits = w.size();
    const Bytes unit = w.u(16, 0xBEEF).trailing().nal();
    AVC_Spl splitter;
    const std::vector<Frame> frames = Frames(splitter, Stream({Sps(), Pps(), unit}));
    ASSERT_EQ(frames.size(), 1u);
    const Bytes plain = w.bytes();
    const std::size_t added = unit.size() - plain.size();
    ASSERT_GT(added, 0u);
    EXPECT_EQ(frames[0].slices[0].header_size, 4 + (bits + 7) / 8 + added);
}

TEST(AvcSplitter, TakesTheTimeOfTheFirstSlice) {
    AVC_Spl splitter;
    std::vector<Frame> frames;
    const auto feed = [&](const std::vector<Bytes>& units, std::int64_t time) {
        const Bytes bytes = Stream(units);
        nal_buffer data{.time = time,
                        .base = bytes.data(),
                        .offset = 0,
                        .size = static_cast<std::uint32_t>(bytes.size()),
                        .flags = nal_buffer::complete};
        Feed(splitter, &data, frames);
    };
    feed({Sps(), Pps()}, 10);
    feed({Slice({.type = 5})}, 20);
    feed({Slice({.type = 5, .first_mb = 3})}, 30);
    feed({Slice({.frame_num = 1, .order = 2})}, 40);
    Feed(splitter, nullptr, frames);
    ASSERT_EQ(frames.size(), 2u);
    EXPECT_EQ(frames[0].time, 20);
    EXPECT_EQ(frames[1].time, 40);
}

TEST(AvcSplitter, LeavesOutWhatDoesNotFitTheFrame) {
    Bytes large = Slice({.type = 5});
    large.resize(600000, 0x55);
    Bytes more = Slice({.type = 5, .first_mb = 4});
    more.resize(600000, 0x66);
    const Bytes small = Slice({.type = 5, .first_mb = 5});
    const Bytes stream = Stream({Sps(), Pps(), large, more, small});
    AVC_Spl splitter;
    nal_buffer data{
        .base = stream.data(), .size = static_cast<std::uint32_t>(stream.size()), .flags = nal_buffer::complete};
    const AVCFrame* frame = nullptr;
    EXPECT_EQ(splitter.next_frame(&data, frame), AVC_ERR_NOT_ENOUGH_BUFFER);
    EXPECT_EQ(frame, nullptr);
    EXPECT_EQ(splitter.next_frame(&data, frame), AVC_ERR_NOT_ENOUGH_DATA);
    ASSERT_EQ(splitter.next_frame(nullptr, frame), AVC_OK);
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(Copy(*frame).data, Stream({Sps(), Pps(), large, small}));

    // The buffer takes one byte less than its size.
    for (const std::uint32_t length : {1048571u, 1048572u}) {
        AVC_Spl exact;
        Bytes unit = {0x09};
        unit.resize(length, 0x11);
        Bytes bytes = Stream({unit});
        nal_buffer one{
            .base = bytes.data(), .size = static_cast<std::uint32_t>(bytes.size()), .flags = nal_buffer::complete};
        EXPECT_EQ(exact.next_frame(&one, frame),
                  length == 1048571 ? AVC_ERR_NOT_ENOUGH_DATA : AVC_ERR_NOT_ENOUGH_BUFFER);
    }
}

TEST(AvcSplitter, OpensNoFrameWithASliceThatDoesNotFit) {
    Bytes large = Slice({.frame_num = 1, .order = 2});
    large.resize(1048576, 0x55);
    const Bytes intra = Slice({.type = 5}), next = Slice({.slice_type = 0, .frame_num = 2, .order = 4});
    const auto frames_of = [](const Bytes& stream) {
        AVC_Spl splitter;
        std::vector<Frame> frames;
        nal_buffer data{
            .base = stream.data(), .size = static_cast<std::uint32_t>(stream.size()), .flags = nal_buffer::complete};
        Feed(splitter, &data, frames);
        Feed(splitter, nullptr, frames);
        return frames;
    };
    // The first slice of all, and one that ended the frame before.
    const std::vector<Frame> first = frames_of(Stream({Sps(), Pps(), large, next}));
    ASSERT_EQ(SliceCounts(first), (std::vector<std::size_t>{1}));
    EXPECT_EQ(first[0].data, Stream({Sps(), Pps(), next}));
    const std::vector<Frame> second = frames_of(Stream({Sps(), Pps(), intra, large, next}));
    ASSERT_EQ(SliceCounts(second), (std::vector<std::size_t>{1, 1}));
    EXPECT_EQ(second[0].data, Stream({Sps(), Pps(), intra}));
    EXPECT_EQ(second[1].data, Stream({next}));
}

TEST(AvcSplitter, LeavesOutASliceOfAnUnknownPictureParameterSet) {
    const Bytes first = Slice({.type = 5}), unknown = Slice({.type = 5, .first_mb = 2, .pps = 7});
    const Bytes second = Slice({.type = 5, .first_mb = 4});
    AVC_Spl splitter;
    const std::vector<Frame> frames = Frames(splitter, Stream({Sps(), Pps(), first, unknown, second}));
    ASSERT_EQ(SliceCounts(frames), (std::vector<std::size_t>{2}));
    EXPECT_EQ(frames[0].data, Stream({Sps(), Pps(), first, second}));
}

TEST(AvcSplitter, KeepsMessagesOfTypesUpTo255LessTheOneThatMarksNone) {
    const Bytes sei = {0x06, 19, 1, 0xAA, 0xFF, 0x01, 1, 0xBB, 0xFF, 0x00, 1, 0xCC, 5, 1, 0xDD, 0x80};
    AVC_Spl splitter;
    Frames(splitter, Stream({Sps(), Pps(), sei}));
    EXPECT_EQ(splitter.sei_messages().find(19), nullptr);
    EXPECT_EQ(splitter.sei_messages().find(256), nullptr);
    ASSERT_NE(splitter.sei_messages().find(255), nullptr);
    EXPECT_EQ(splitter.sei_messages().find(255)->payload, Bytes{0xCC});
    ASSERT_NE(splitter.sei_messages().find(5), nullptr);
    EXPECT_EQ(splitter.sei_messages().find(5)->payload, Bytes{0xDD});
}

TEST(AvcSplitter, KeepsASequenceParameterSetWhenItsSuccessorIsRefused) {
    const Bytes cut = {0x67, 66, 0, 30};
    Bytes level = Sps(0, 0x67, 66);
    level[3] = 33;
    for (const Bytes& refused : {Sps(0, 0x67, 99), level, cut}) {
        AVC_Spl splitter;
        const std::vector<Frame> frames = Frames(splitter, Stream({Sps(), Pps(), refused, Slice({.type = 5})}));
        EXPECT_EQ(SliceCounts(frames), (std::vector<std::size_t>{1}));
        ASSERT_NE(splitter.seq_param_sets().find(0), nullptr);
        EXPECT_EQ(splitter.seq_param_sets().find(0)->profile_idc, 77);
        EXPECT_EQ(splitter.seq_param_sets().find(0)->frame_width_in_mbs, 4u);
    }
}

TEST(AvcSplitter, RaisesTheUnitLimitByThePictureArea) {
    // 4 x 2 macroblocks of 384 bytes stay below the first limit of 10240; 64 x 2 raise it to 49152.
    const auto sps = [](unsigned width, unsigned id, unsigned nal) {
        return bit_writer()
            .u(8, nal)
            .u(8, 77)
            .u(8, 0)
            .u(8, 30)
            .ue(id)
            .ue(0)
            .ue(0)
            .ue(0)
            .ue(2)
            .u(1, 0)
            .ue(width - 1)
            .ue(0)
            .u(1, 0)
            .u(1, 0)
            .u(1, 1)
            .u(1, 0)
            .u(1, 0)
            .trailing()
            .nal();
    };
    Bytes slice = Slice({.type = 5});
    slice.resize(20000, 0x55);
    const auto size_of_slice = [&](unsigned width, unsigned subset_width) {
        AVC_Spl splitter;
        const std::vector<Frame> frames =
            Frames(splitter, Stream({sps(width, 0, 0x67), Pps(), sps(subset_width, 1, 0x6F), slice}), 1000);
        return frames.empty() ? 0u : frames[0].slices[0].size;
    };
    EXPECT_EQ(size_of_slice(64, 4), 20004u);
    EXPECT_EQ(size_of_slice(4, 64), 20004u);
    EXPECT_NE(size_of_slice(4, 4), 20004u);
}

TEST(AvcSplitter, HoldsManySlicesAPicture) {
    std::vector<Bytes> units = {Sps(), Pps(), Slice({.type = 5})};
    for (unsigned i = 1; i < 400; ++i) units.push_back(Slice({.type = 5, .first_mb = i}));
    AVC_Spl splitter;
    EXPECT_EQ(SliceCounts(Frames(splitter, Stream(units))), (std::vector<std::size_t>{400}));
}

TEST(AvcSplitter, SurvivesDamagedStreams) {
    std::mt19937 random(5);
    for (const auto& clip : mediakit_test::all_h264_clips()) {
        for (int run = 0; run < 300; ++run) {
            Bytes stream = clip.bytes;
            for (unsigned flips = 1 + random() % 20; flips > 0; --flips) {
                stream[random() % stream.size()] ^= static_cast<std::uint8_t>(1u << random() % 8);
            }
            stream.resize(random() % (stream.size() + 1));
            AVC_Spl splitter;
            for (const Frame& frame : Frames(splitter, stream, 1 + random() % 200)) {
                for (const AVCSliceInfo& info : frame.slices) {
                    ASSERT_LE(info.offset + info.size, frame.data.size());
                    ASSERT_LE(info.header_size, info.size);
                }
            }
        }
    }
}

}  // namespace
}  // namespace ProtectedLibrary
