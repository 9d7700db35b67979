#include "Testing/Kit/bit_writer.h"
#include "VideoIO/MPEGUtil/H26xSyntaxReader.h"
#include "VideoIO/MPEGUtil/RbspReader.h"

#include <gtest/gtest.h>

#include <random>

namespace qz_MPEGUtil {
namespace {

using mediakit_test::bit_writer;

DataBuffer& Filled(DataBuffer& buffer, const std::vector<BYTE>& bytes) {
    buffer.Reset();
    EXPECT_EQ(buffer.Add(bytes.data(), bytes.size()), bytes.size());
    return buffer;
}

TEST(H26xSyntaxReader, DropsEmulationPreventionBytes) {
    struct Case {
        std::vector<BYTE> stored;
        std::vector<BYTE> seen;
    };
    const Case cases[] = {
        {{0, 0, 3, 1}, {0, 0, 1}},
        {{0, 0, 0, 3, 7}, {0, 0, 0, 7}},
        {{0, 0, 3, 0, 0, 3, 0}, {0, 0, 0, 0, 0}},
        {{0, 3, 0, 3, 3}, {0, 3, 0, 3, 3}},
        {{0, 0, 3, 3, 0, 0, 1}, {0, 0, 3, 0, 0, 1}},
    };
    DataBuffer buffer;
    for (const Case& one : cases) {
        H26xSyntaxReader reader(Filled(buffer, one.stored));
        RbspReader light(one.stored);
        std::uint32_t first = 0;
        // Off the byte grid, so that the dropped byte lies in the middle of a value.
        ASSERT_EQ(reader.ReadBits(3, first), S_OK);
        EXPECT_EQ(first, light.Bits(3));
        std::uint64_t value = first;
        for (std::size_t byte = 1; byte < one.seen.size(); ++byte) {
            std::uint32_t bits = 0;
            ASSERT_EQ(reader.ReadBits(8, bits), S_OK);
            EXPECT_EQ(bits, light.Bits(8));
            value = value << 8 | bits;
        }
        std::uint64_t expected = 0;
        for (const BYTE byte : one.seen) {
            expected = expected << 8 | byte;
        }
        EXPECT_EQ(value, expected >> 5);
        std::uint32_t rest = 0;
        EXPECT_EQ(reader.ReadBits(6, rest), QZ_E_MORE_DATA);
        light.Bits(6);
        EXPECT_EQ(light.Result(), QZ_E_MORE_DATA);
    }
}

/// Values of all lengths in a stream that is full of emulation prevention.
struct Element {
    int kind;  // 0 u, 1 ue, 2 se
    unsigned bits;
    std::int64_t value;
};

std::vector<Element> RandomElements(std::mt19937& random) {
    std::vector<Element> elements;
    for (int i = 0; i < 200; ++i) {
        const unsigned bits = 1 + random() % 32;
        const std::uint32_t small = random() % 3 == 0 ? random() >> (32 - bits) : 0;  // mostly zeros
        switch (random() % 3) {
            case 0: elements.push_back({0, bits, small}); break;
            case 1: elements.push_back({1, 0, std::min(small, 0xFFFFFFFEu)}); break;
            default: elements.push_back({2, 0, static_cast<std::int32_t>(small >> 1) * (random() % 2 ? 1 : -1)});
        }
    }
    return elements;
}

TEST(H26xSyntaxReader, ReadsBackWhatWasWritten) {
    std::mt19937 random(7);
    DataBuffer buffer;
    for (int round = 0; round < 40; ++round) {
        const auto elements = RandomElements(random);
        bit_writer writer;
        for (const Element& element : elements) {
            element.kind == 0   ? writer.u(element.bits, static_cast<std::uint64_t>(element.value))
            : element.kind == 1 ? writer.ue(static_cast<std::uint64_t>(element.value))
                                : writer.se(element.value);
        }
        const auto nal = writer.trailing().nal();
        H26xSyntaxReader reader(Filled(buffer, nal));
        RbspReader light(nal);
        for (const Element& element : elements) {
            std::uint32_t value = 0;
            std::int32_t signed_value = 0;
            if (element.kind == 0) {
                ASSERT_EQ(reader.ReadBits(element.bits, value), S_OK);
                ASSERT_EQ(value, element.value);
                ASSERT_EQ(light.Bits(element.bits), element.value);
            } else if (element.kind == 1) {
                ASSERT_EQ(reader.ReadUE(value), S_OK);
                ASSERT_EQ(value, element.value);
                ASSERT_EQ(light.UE(), element.value);
            } else {
                ASSERT_EQ(reader.ReadSE(signed_value), S_OK);
                ASSERT_EQ(signed_value, element.value);
                ASSERT_EQ(light.SE(), element.value);
            }
        }
        EXPECT_FALSE(light.Failed());
    }
}

TEST(H26xSyntaxReader, RefusesCodesThatNoValueHas) {
    const auto nal = bit_writer().u(32, 0).u(32, 0xFFFFFFFF).nal();
    DataBuffer buffer;
    H26xSyntaxReader reader(Filled(buffer, nal));
    std::uint32_t value = 0;
    EXPECT_EQ(reader.ReadUE(value), QZ_E_BAD_DATA);
    RbspReader light(nal);
    EXPECT_EQ(light.UE(), 0u);
    EXPECT_EQ(light.Result(), QZ_E_BAD_DATA);
    EXPECT_EQ(light.Bits(8), 0u);  // stays failed
    EXPECT_EQ(light.Result(), QZ_E_BAD_DATA);
}

TEST(H26xSyntaxReader, GoesOnWhenMoreDataHaveCome) {
    // A value that begins in the middle of a byte, right in front of an emulation prevention byte.
    const auto nal = bit_writer().u(8, 1).u(27, 0).ue(70000).u(7, 0x55).trailing().nal();
    ASSERT_EQ(nal[6], 3);
    DataBuffer buffer;
    H26xSyntaxReader reader(buffer);
    std::uint32_t value = 0;
    ASSERT_EQ(buffer.Add(nal.data(), 6), 6u);
    ASSERT_EQ(reader.ReadBits(8, value), S_OK);
    EXPECT_EQ(value, 1u);
    ASSERT_EQ(reader.ReadBits(27, value), S_OK);
    EXPECT_EQ(value, 0u);
    for (std::size_t held = 6;; ++held) {
        H26xSyntaxReader::Position start;
        ASSERT_EQ(reader.SavePosition(start), S_OK);
        H26xSyntaxCursor cursor(reader);
        const std::uint32_t number = cursor.UE();
        const std::uint32_t tail = cursor.Bits(7);
        if (!cursor.Failed()) {
            EXPECT_EQ(number, 70000u);
            EXPECT_EQ(tail, 0x55u);
            EXPECT_GT(held, 10u);
            break;
        }
        EXPECT_EQ(cursor.Result(), QZ_E_MORE_DATA);
        EXPECT_EQ(tail, 0u);
        reader.RestorePosition(start);
        ASSERT_LT(held, nal.size());
        // The byte that is half read stays in front of what comes.
        std::vector<BYTE> longer(nal.begin(), nal.begin() + static_cast<std::ptrdiff_t>(held) + 1);
        const std::size_t read = reader.GetBytesRead();
        Filled(buffer, longer);
        start.readPointer = buffer.Begin() + read;
        reader.RestorePosition(start);
        EXPECT_EQ(reader.GetBytesRead(), read);
    }
}

TEST(H26xSyntaxReader, RestoresWhatTheBufferHasDropped) {
    // Two zeros are read whole, or all but their last four bits, and every further byte comes on its own.
    for (const std::uint32_t first : {24u, 20u}) {
        const BYTE front[] = {0x11, 0, 0}, rest[] = {3, 0x5A, 0xC0};
        DataBuffer buffer;
        H26xSyntaxReader reader(buffer);
        ASSERT_EQ(buffer.Add(front, 3), 3u);
        std::uint32_t value = 0;
        ASSERT_EQ(reader.ReadBits(first, value), S_OK);
        const std::uint32_t count = 24 - first + 12;
        for (const BYTE& byte : rest) {
            H26xSyntaxReader::Position position;
            ASSERT_EQ(reader.SavePosition(position), S_OK);
            ASSERT_EQ(reader.ReadBits(count, value), QZ_E_MORE_DATA);
            reader.RestorePosition(position);
            ASSERT_EQ(buffer.Add(&byte, 1), 1u);
        }
        ASSERT_EQ(reader.ReadBits(count, value), S_OK);
        EXPECT_EQ(value, 0x5ACu);
    }
    // Zeros in the middle of a byte that is put back, and the 3 behind it taken for what it is.
    const BYTE bytes[] = {0, 0x10, 3};
    DataBuffer buffer;
    H26xSyntaxReader reader(Filled(buffer, {std::begin(bytes), std::end(bytes)}));
    std::uint32_t value = 0;
    ASSERT_EQ(reader.ReadBits(12, value), S_OK);
    EXPECT_EQ(value, 1u);
    H26xSyntaxReader::Position position;
    ASSERT_EQ(reader.SavePosition(position), S_OK);
    for (int again = 0; again < 2; ++again) {
        ASSERT_EQ(reader.ReadBits(12, value), S_OK);
        EXPECT_EQ(value, 3u);
        reader.RestorePosition(position);
    }
}

TEST(RbspReader, EndsWithTheLastByte) {
    const std::vector<BYTE> three = {0, 0, 3};  // the dropped byte is the last one
    RbspReader reader(three);
    EXPECT_EQ(reader.Bits(16), 0u);
    EXPECT_FALSE(reader.Failed());
    EXPECT_FALSE(reader.Flag());
    EXPECT_EQ(reader.Result(), QZ_E_MORE_DATA);
    RbspReader empty;
    EXPECT_EQ(empty.UE(), 0u);
    EXPECT_EQ(empty.Result(), QZ_E_MORE_DATA);
    RbspReader skipping(three);
    skipping.Skip(17);
    EXPECT_TRUE(skipping.Failed());
}

}  // namespace
}  // namespace qz_MPEGUtil
