// Readers over bytes and sequence parameter sets made by hand, for the tests of the H.264 header readers.
#pragma once

#include "Testing/Kit/bit_writer.h"
#include "VideoIO/MPEGUtil/AVCHeadersBitstream.h"

#include <gtest/gtest.h>

#include <functional>

namespace ProtectedLibrary::testdata {

using mediakit_test::bit_writer;
using Bytes = std::vector<std::uint8_t>;

/// A reader that owns its words. It stands at the start of the unit.
struct Reader {
    explicit Reader(const Bytes& unit) : bits(to_rbsp(words, unit)) {}
    std::vector<std::uint32_t> words;
    AVCHeadersBitstream bits;
};

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

inline Bytes MakeSps(const SpsPlan& plan) {
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

inline std::int32_t ReadSps(const SpsPlan& plan, AVCSeqParamSet& sps) {
    return Reader(MakeSps(plan)).bits.get_seq_param_set(sps);
}

inline AVCSeqParamSet SmallSps() {
    AVCSeqParamSet sps;
    EXPECT_EQ(ReadSps({}, sps), 0);  // 4 x 3 macroblocks
    return sps;
}

}  // namespace ProtectedLibrary::testdata
