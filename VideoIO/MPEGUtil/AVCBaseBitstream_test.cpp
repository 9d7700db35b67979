#include "VideoIO/MPEGUtil/AVCBaseBitstream.h"

#include "VideoIO/MPEGUtil/AVCReader_test.h"

#include <gtest/gtest.h>

#include <random>

namespace ProtectedLibrary {
namespace {

using namespace testdata;

TEST(AvcBitstream, TakesEmulationPreventionOut) {
    struct Case {
        Bytes unit;
        Bytes rbsp;
    };
    for (const auto& [unit, rbsp] :
         {Case{{0x67, 0, 0, 3, 1, 9}, {0x67, 0, 0, 1, 9}}, Case{{0x67, 0, 0, 3, 0, 0, 3, 0}, {0x67, 0, 0, 0, 0, 0}},
          Case{{0, 0, 3, 3, 0, 3}, {0, 0, 3, 0, 3}}, Case{{0x67, 0, 0, 0, 3, 5}, {0x67, 0, 0, 0, 5}},
          Case{{3, 0, 3, 0, 0}, {3, 0, 3, 0, 0}}, Case{{0x67}, {0x67}}, Case{{}, {}}}) {
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

}  // namespace
}  // namespace ProtectedLibrary
