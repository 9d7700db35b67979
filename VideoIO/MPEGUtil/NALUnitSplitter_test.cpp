#include "VideoIO/MPEGUtil/NALUnitSplitter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

namespace qz_MPEGUtil {
namespace {

using Bytes = std::vector<std::uint8_t>;

struct Unit {
    std::uint32_t type;
    Bytes bytes;
    std::int64_t time = -1;
    bool operator==(const Unit&) const = default;
};

void PrintTo(const Unit& unit, std::ostream* os) {
    *os << unit.type << ":" << testing::PrintToString(unit.bytes) << "@" << unit.time;
}

Bytes Join(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

const Bytes kCode3 = {0, 0, 1};
const Bytes kCode4 = {0, 0, 0, 1};

nal_buffer Buffer(const Bytes& bytes, std::int64_t time = -1, bool complete = false) {
    return {.time = time,
            .base = bytes.data(),
            .offset = 0,
            .size = static_cast<std::uint32_t>(bytes.size()),
            .flags = complete ? nal_buffer::complete : 0};
}

Unit Copy(std::uint32_t type, const nal_buffer& unit) { return {type, Bytes(unit.begin(), unit.end()), unit.time}; }

/// Feeds the parts one after the other, presenting what one leaves over in front of the next, and flushes.
std::vector<Unit> Split(nal_unit_splitter_base& splitter, const std::vector<Bytes>& parts, std::int64_t time = -1) {
    std::vector<Unit> units;
    nal_buffer* out = nullptr;
    Bytes data;
    for (const Bytes& part : parts) {
        data.insert(data.end(), part.begin(), part.end());
        nal_buffer buffer = Buffer(data, time);
        std::uint32_t left = 0;
        do {  // as long as a call takes bytes or gives a unit
            left = buffer.size;
            if (const std::uint32_t type = splitter.next_nal_unit(&buffer, out); out) units.push_back(Copy(type, *out));
        } while (out != nullptr || buffer.size != left);
        EXPECT_LE(buffer.size, 4u);
        data.erase(data.begin(), data.begin() + buffer.offset);
    }
    if (const std::uint32_t type = splitter.next_nal_unit(nullptr, out); out) units.push_back(Copy(type, *out));
    return units;
}

TEST(NalBuffer, AdvancesWithinItsBounds) {
    const Bytes bytes(10);
    nal_buffer buffer = Buffer(bytes);
    EXPECT_EQ(advance(&buffer, 4), 0);
    EXPECT_EQ(advance(&buffer, 7), -16);
    EXPECT_EQ(advance(&buffer, -5), -16);
    EXPECT_EQ(std::pair(buffer.offset, buffer.size), std::pair(4u, 6u));
    EXPECT_EQ(advance(&buffer, -4), 0);
    EXPECT_EQ(advance(&buffer, 10), 0);
    EXPECT_EQ(std::pair(buffer.offset, buffer.size), std::pair(10u, 0u));
    EXPECT_EQ(advance(nullptr, 1), -2);
}

TEST(NalUnitSplitter, GivesUnitsWithTypeAndTime) {
    const Bytes data = Join({{0xAA, 0xBB}, kCode4, {0x09, 0x10}, kCode3, {0x67, 0x42, 0}, kCode4, {0x65, 1, 2, 3}});
    NALUnitSplitter splitter;
    splitter.init();
    EXPECT_EQ(Split(splitter, {data}, 77),
              (std::vector<Unit>{{9, {0x09, 0x10}, 77}, {7, {0x67, 0x42, 0}, 77}, {5, {0x65, 1, 2, 3}, 77}}));
}

TEST(NalUnitSplitter, IsIndifferentToWhereTheStreamIsCut) {
    const Bytes data = Join({{0, 0},
                             kCode4,
                             {0x67, 0x42, 0, 0x1E, 0, 0, 3, 0, 9},
                             kCode3,
                             {0x68, 0xCE, 0, 0, 0},  // trailing zeros and a four-byte code behind them
                             kCode4,
                             {0x06, 5, 0x80, 0},
                             kCode3,
                             {0x65, 0x88, 0, 0, 2, 1, 1, 0},
                             kCode4,
                             {0x41, 0x9A, 0x12, 0x34, 0x56}});
    NALUnitSplitter whole;
    const std::vector<Unit> expected = Split(whole, {data});
    ASSERT_EQ(expected.size(), 5u);
    EXPECT_EQ(expected[1].bytes, (Bytes{0x68, 0xCE, 0, 0, 0}));
    for (std::size_t first = 0; first <= data.size(); ++first) {
        for (std::size_t second = first; second <= data.size(); ++second) {
            NALUnitSplitter splitter;
            const auto at = [&](std::size_t n) { return data.begin() + static_cast<std::ptrdiff_t>(n); };
            ASSERT_EQ(Split(splitter, {Bytes(at(0), at(first)), Bytes(at(first), at(second)),
                                       Bytes(at(second), at(data.size()))}),
                      expected)
                << "cut at " << first << " and " << second;
        }
    }
    // And one byte at a time.
    std::vector<Bytes> parts;
    for (std::uint8_t byte : data) parts.push_back({byte});
    NALUnitSplitter splitter;
    EXPECT_EQ(Split(splitter, parts), expected);
}

TEST(NalUnitSplitter, PointsIntoTheCallersBufferForAWholeUnit) {
    const Bytes data = Join({kCode3, {0x67, 1, 2}, kCode3, {0x68, 3, 4}});
    NALUnitSplitter splitter;
    nal_buffer buffer = Buffer(data, 5, true);
    nal_buffer* out = nullptr;
    ASSERT_EQ(splitter.next_nal_unit(&buffer, out), 7u);
    EXPECT_EQ(out->begin(), data.data() + 3);
    EXPECT_FALSE(splitter.unit_reached_end());
    ASSERT_EQ(splitter.next_nal_unit(&buffer, out), 8u);
    EXPECT_EQ(out->begin(), data.data() + 9);
    EXPECT_EQ(out->offset, 0u);
    EXPECT_EQ(out->size, 3u);
    EXPECT_EQ(out->time, 5);
    EXPECT_TRUE(splitter.unit_reached_end());
    EXPECT_EQ(buffer.size, 0u);
    EXPECT_EQ(splitter.next_nal_unit(nullptr, out), 0u);
    EXPECT_EQ(out, nullptr);
}

TEST(NalUnitSplitter, KeepsWhatMayBeginAStartCode) {
    struct Case {
        const char* what;
        Bytes data;
        std::uint32_t left;
    };
    for (const auto& [what, data, left] :
         {Case{"two zeros", {7, 7, 0, 0}, 2}, Case{"five zeros", {7, 0, 0, 0, 0, 0}, 3},
          Case{"zeros alone", {0, 0, 0, 0, 0, 0}, 3}, Case{"a lone start code", {0, 0, 1}, 3},
          Case{"a start code at the end", {7, 0, 0, 0, 0, 1}, 4}, Case{"nothing", {7, 7, 7}, 0}}) {
        for (const bool complete : {false, true}) {
            NALUnitSplitter splitter;
            nal_buffer buffer = Buffer(data, -1, complete);
            nal_buffer* out = nullptr;
            EXPECT_EQ(splitter.next_nal_unit(&buffer, out), 0u) << what;
            EXPECT_EQ(out, nullptr) << what;
            EXPECT_EQ(buffer.size, left) << what;
            EXPECT_EQ(splitter.first_nal_type(buffer), 0u) << what;
            EXPECT_EQ(splitter.next_nal_unit(nullptr, out), 0u) << what;
            EXPECT_EQ(out, nullptr) << what;
        }
    }
}

TEST(NalUnitSplitter, GoesOnBehindAFlushWithAStartCodeAlone) {
    for (const Bytes& code : {kCode3, kCode4}) {
        NALUnitSplitter splitter;
        EXPECT_TRUE(Split(splitter, {code}).empty());
        EXPECT_EQ(Split(splitter, {Join({code, {0x65, 7}})}), (std::vector<Unit>{{5, {0x65, 7}}}));
    }
}

TEST(NalUnitSplitter, EndsAUnitAtOneOfType0AndPassesOverThat) {
    const Bytes data =
        Join({kCode4, {0x65, 1, 2, 3}, kCode4, {0x60, 8, 8, 8}, kCode3, {0x00, 9}, kCode3, {0x41, 4, 5}});
    const std::vector<Unit> expected = {{5, {0x65, 1, 2, 3}}, {1, {0x41, 4, 5}}};
    for (std::size_t cut = 0; cut <= data.size(); ++cut) {
        NALUnitSplitter splitter;
        const auto middle = data.begin() + static_cast<std::ptrdiff_t>(cut);
        ASSERT_EQ(Split(splitter, {Bytes(data.begin(), middle), Bytes(middle, data.end())}), expected) << cut;
    }
}

TEST(NalUnitSplitter, GivesTheLastUnitOnlyAtTheFlushUnlessTheDataAreComplete) {
    const Bytes data = Join({kCode3, {0x65, 1, 2, 0, 0}});
    NALUnitSplitter splitter;
    nal_buffer buffer = Buffer(data, 9);
    nal_buffer* out = nullptr;
    EXPECT_EQ(splitter.next_nal_unit(&buffer, out), 0u);
    EXPECT_EQ(buffer.size, 2u);
    ASSERT_EQ(splitter.next_nal_unit(nullptr, out), 5u);
    EXPECT_EQ(Copy(5, *out), (Unit{5, {0x65, 1, 2}, 9}));
    EXPECT_EQ(splitter.next_nal_unit(nullptr, out), 0u);

    buffer = Buffer(data, 9, true);
    ASSERT_EQ(splitter.next_nal_unit(&buffer, out), 5u);
    EXPECT_EQ(Copy(5, *out), (Unit{5, {0x65, 1, 2}, 9}));
}

TEST(NalUnitSplitter, ForgetsAtReset) {
    const Bytes data = Join({kCode3, {0x65, 1, 2, 3}});
    NALUnitSplitter splitter;
    nal_buffer buffer = Buffer(data);
    nal_buffer* out = nullptr;
    splitter.next_nal_unit(&buffer, out);
    splitter.reset();
    EXPECT_EQ(splitter.next_nal_unit(nullptr, out), 0u);
    EXPECT_EQ(out, nullptr);
}

TEST(NalUnitSplitter, RestartsAUnitAboveTheLimit) {
    constexpr std::size_t kLimit = 0x2800;
    Bytes first = Join({kCode3, {0x65}});
    first.resize(3 + kLimit, 0x11);  // fills the limit to the byte
    const Bytes second(100, 0x22);
    {
        NALUnitSplitter splitter;
        splitter.raise_max_unit_size(100);  // below the limit in force: no effect
        const std::vector<Unit> units = Split(splitter, {first, second});
        ASSERT_EQ(units.size(), 1u);
        EXPECT_EQ(units[0].type, 5u);
        EXPECT_EQ(units[0].bytes, second);
    }
    {
        NALUnitSplitter splitter;
        splitter.raise_max_unit_size(kLimit + 100);
        const std::vector<Unit> units = Split(splitter, {first, second});
        ASSERT_EQ(units.size(), 1u);
        EXPECT_EQ(units[0].bytes.size(), kLimit + 100);
    }
    // Not when it lies whole in the buffer.
    Bytes whole = Join({first, second});
    NALUnitSplitter splitter;
    nal_buffer buffer = Buffer(whole, -1, true);
    nal_buffer* out = nullptr;
    ASSERT_EQ(splitter.next_nal_unit(&buffer, out), 5u);
    EXPECT_EQ(out->size, kLimit + 100);
}

TEST(NalUnitSplitter, FindsTheFirstTypeWithoutConsuming) {
    const Bytes data = Join({{9, 9}, kCode4, {0x68, 1}, kCode3, {0x65, 1}});
    NALUnitSplitter avc;
    HEVCNALUnitSplitter hevc;
    const nal_buffer buffer = Buffer(data);
    EXPECT_EQ(avc.first_nal_type(buffer), 8u);
    EXPECT_EQ(hevc.first_nal_type(buffer), 0x34u);
    EXPECT_EQ(avc.first_nal_type(nal_buffer{}), 0u);
    EXPECT_EQ(Split(avc, {data}), (std::vector<Unit>{{8, {0x68, 1}}, {5, {0x65, 1}}}));
}

TEST(HevcNalUnitSplitter, PassesOverTrailNAndKeepsItsNeighboursWhole) {
    const Bytes idr = {0x26, 0x01, 0xAF, 9};
    const Bytes trail_n = {0x00, 0x01, 0xD0, 8, 8};
    const Bytes trail_r = {0x02, 0x01, 0xD0, 7};
    const std::vector<Unit> expected = {{19, idr}, {1, trail_r}};
    for (const Bytes& data : {Join({kCode4, idr, kCode4, trail_n, kCode3, trail_n, kCode4, trail_r}),
                              Join({kCode3, trail_n, kCode4, idr, kCode4, trail_r, kCode4, trail_n})}) {
        for (std::size_t cut = 0; cut <= data.size(); ++cut) {
            HEVCNALUnitSplitter splitter;
            const auto middle = data.begin() + static_cast<std::ptrdiff_t>(cut);
            ASSERT_EQ(Split(splitter, {Bytes(data.begin(), middle), Bytes(middle, data.end())}), expected) << cut;
        }
    }
    HEVCNALUnitSplitter splitter;
    EXPECT_TRUE(Split(splitter, {Join({kCode4, trail_n})}).empty());
}

TEST(NalUnitSplitter, MakesProgressOnAnything) {
    std::mt19937 random(7);
    for (int run = 0; run < 2000; ++run) {
        Bytes data(random() % 200);
        std::generate(data.begin(), data.end(), [&] { return static_cast<std::uint8_t>(random() % 3); });
        NALUnitSplitter splitter;
        std::size_t total = 0;
        for (const Unit& unit : Split(splitter, {data})) {
            EXPECT_EQ(unit.type, unit.bytes.front() & 0x1Fu);
            total += unit.bytes.size();
        }
        EXPECT_LE(total, data.size());
    }
}

}  // namespace
}  // namespace qz_MPEGUtil
