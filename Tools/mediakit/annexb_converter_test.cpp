#include "Tools/mediakit/annexb_converter.h"

#include "Testing/Kit/codec_types.h"
#include "Testing/Kit/log_capture.h"

#include <gmock/gmock.h>

namespace mediakit_tool {
namespace {

using namespace mediakit_test;

byte_vector Joined(const AnnexBSample& sample) {
    byte_vector bytes;
    for (const auto part : {sample.delimiter, sample.parameterSets, sample.units})
        bytes.insert(bytes.end(), part.begin(), part.end());
    return bytes;
}

byte_vector Join(std::initializer_list<byte_vector> parts) {
    byte_vector bytes;
    for (const byte_vector& part : parts) append(bytes, part);
    return bytes;
}

CMediaType WithLengthSize(CMediaType type, DWORD lengthSize) {
    reinterpret_cast<MPEG2VIDEOINFO*>(type.pbFormat)->dwFlags = lengthSize;
    return type;
}

struct Case {
    const char* what;
    byte_vector sample;  ///< Annex B; the test puts lengths
    bool sync;
    byte_vector wanted;
};

void Expect(const CMediaType& type, const std::vector<Case>& cases) {
    for (const unsigned lengthSize : {1u, 2u, 4u}) {
        AnnexBConverter converter;
        ASSERT_TRUE(converter.Open(WithLengthSize(type, lengthSize)));
        for (const Case& one : cases) {
            byte_vector sample = with_lengths(split_annex_b(one.sample), lengthSize);
            const AnnexBSample got = converter.Convert(sample, one.sync);
            EXPECT_EQ(Joined(got), one.wanted) << one.what << ", lengths of " << lengthSize;
            EXPECT_EQ(got.size(), one.wanted.size());
            EXPECT_FALSE(got.broken);
        }
    }
}

TEST(AnnexBConverter, PutsH264SetsWhereTheyLack) {
    const h264_units units;
    const byte_vector sets = Join({units.sps(), units.pps()});
    const byte_vector slice = annex_b(0x65, byte_vector(200, 0x55)), other = annex_b(0x41, {0x9A, 0, 0});
    const byte_vector delimiter = units.delimiter();
    Expect(avc1_type(units),
           {{"the first sample, no sync sample", other, false, Join({sets, other})},
            {"another", other, false, other},
            {"sync", slice, true, Join({sets, slice})},
            {"behind the delimiter", Join({delimiter, units.sei(), slice}), true,
             Join({delimiter, sets, units.sei(), slice})},
            {"a delimiter further back stays", Join({slice, delimiter}), true, Join({sets, slice, delimiter})},
            {"one kind lacks", Join({units.pps(), slice}), true, Join({sets, units.pps(), slice})},
            {"none lacks", Join({delimiter, sets, slice}), true, Join({delimiter, sets, slice})},
            {"nothing", {}, true, {}}});
}

TEST(AnnexBConverter, PutsH265SetsWhereTheyLack) {
    const h265_units units;
    const byte_vector sets = Join({units.vps(), units.sps(), units.pps()});
    const byte_vector slice = units.slice(h265_units::idr_w_radl, 0, 30, 0x77), delimiter = units.delimiter();
    Expect(hvc1_type(units),
           {{"sync", slice, true, Join({sets, slice})},
            {"delimiter", Join({delimiter, slice}), true, Join({delimiter, sets, slice})},
            {"no VPS", Join({units.sps(), units.pps(), slice}), true, Join({sets, units.sps(), units.pps(), slice})},
            {"all there", Join({sets, slice}), true, Join({sets, slice})}});
}

TEST(AnnexBConverter, LeavesOutWhatIsBroken) {
    const byte_vector slice = annex_b(0x41, {1, 2, 3});
    for (const unsigned lengthSize : {1u, 2u, 4u}) {
        AnnexBConverter converter;
        ASSERT_TRUE(converter.Open(WithLengthSize(avc1_type(h264_units()), lengthSize)));
        byte_vector first = with_lengths(split_annex_b(slice), lengthSize);
        converter.Convert(first, true);
        const byte_vector whole = with_lengths(split_annex_b(Join({slice, slice})), lengthSize);
        for (std::size_t cut = 1; cut < whole.size(); ++cut) {
            byte_vector sample(whole.begin(), whole.end() - static_cast<std::ptrdiff_t>(cut));
            const AnnexBSample got = converter.Convert(sample, false);
            const std::size_t unit = whole.size() / 2;
            EXPECT_EQ(got.broken, cut != unit) << cut;
            EXPECT_EQ(Joined(got), cut <= unit ? slice : byte_vector()) << cut;
        }
        byte_vector huge(lengthSize + 4, 0xFF);
        EXPECT_TRUE(converter.Convert(huge, true).broken);
        EXPECT_EQ(converter.Convert(huge, true).size(), 0u);
    }
}

// Zeros behind a unit count for none in a byte stream, so that no reader meets a unit without a header.
TEST(AnnexBConverter, EmptyUnitsLeaveNoTrace) {
    for (const unsigned lengthSize : {1u, 2u, 4u}) {
        AnnexBConverter converter;
        ASSERT_TRUE(converter.Open(WithLengthSize(avc1_type(h264_units()), lengthSize)));
        const byte_vector slice = annex_b(0x41, {1, 2, 3}), empty(lengthSize, 0);
        byte_vector sample = Join({empty, with_lengths(split_annex_b(slice), lengthSize), empty,
                                   with_lengths(split_annex_b(slice), lengthSize), empty});
        const AnnexBSample got = converter.Convert(sample, false);
        EXPECT_FALSE(got.broken);
        std::vector<byte_vector> units = split_annex_b({got.units.begin(), got.units.end()});
        ASSERT_EQ(units.size(), 2u);
        for (byte_vector& unit : units) {
            while (unit.back() == 0) unit.pop_back();
            EXPECT_EQ(unit, (byte_vector{0x41, 1, 2, 3}));
        }
    }
}

TEST(AnnexBConverter, TakesNoOtherType) {
    const log_capture quiet;
    AnnexBConverter converter;
    EXPECT_FALSE(converter.Open(CMediaType()));
    EXPECT_FALSE(converter.Open(h264_type(h264_units())));
    for (const DWORD lengthSize : {0u, 3u, 5u})
        EXPECT_FALSE(converter.Open(WithLengthSize(avc1_type(h264_units()), lengthSize)));
}

}  // namespace
}  // namespace mediakit_tool
