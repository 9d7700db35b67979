#include "VideoIO/StreamFilters/Handlers/H265ByteStreamHandler.h"

#include "Testing/Kit/log_capture.h"
#include "VideoIO/StreamFilters/Handlers/HandlerWriting_test.h"

#include <gtest/gtest.h>

namespace Norvane::MediaKit::Filters::details {
namespace {

using namespace testdata;
using mediakit_test::log_capture;

// Parameter sets of an encoder: Main, level 1, 64 x 64.
const Bytes kVps = {0x40, 0x01, 0x0C, 0x01, 0xFF, 0xFF, 0x01, 0x60, 0x00, 0x00, 0x03, 0x00,
                    0x90, 0x00, 0x00, 0x03, 0x00, 0x00, 0x03, 0x00, 0x1E, 0x91, 0x10, 0x09};
const Bytes kSps = {0x42, 0x01, 0x01, 0x01, 0x60, 0x00, 0x00, 0x03, 0x00, 0x90, 0x00, 0x00, 0x03, 0x00,
                    0x00, 0x03, 0x00, 0x1E, 0xA0, 0x20, 0x81, 0x05, 0x96, 0x44, 0x49, 0x24, 0xCA, 0xF0,
                    0x16, 0x80, 0x80, 0x00, 0x00, 0x03, 0x00, 0x80, 0x00, 0x00, 0x0C, 0x84};
const Bytes kPps = {0x44, 0x01, 0xC1, 0x72, 0xB4, 0x22, 0x40};

Bytes Unit(std::uint8_t type) { return {static_cast<std::uint8_t>(type << 1), 0x01, 0xAF, 0x09, 0x55}; }

CMediaType H265Type() { return TypeOf(MEDIATYPE_Video, MEDIASUBTYPE_H265); }

TEST(H265Handler, WritesAllUnitsButThoseOfType0) {
    for (std::uint8_t type = 0; type < 64; ++type) {
        Writing writing(H265Type());
        ASSERT_EQ(writing.Write(AnnexB({Unit(39), Unit(type), Unit(1)})), S_OK);
        EXPECT_EQ(writing.last, type == 0 ? Prefixed({Unit(39), Unit(1)}) : Prefixed({Unit(39), Unit(type), Unit(1)}));
        EXPECT_EQ(writing.written.size, writing.last.size());
        EXPECT_EQ(writing.written.isSync, type == 19) << int{type};
        ASSERT_EQ(writing.Write(AnnexB({Unit(type)}), true), S_OK);  // the sample's own mark does not count
        EXPECT_EQ(writing.last, type == 0 ? Bytes{} : Prefixed({Unit(type)}));
        EXPECT_EQ(writing.written.isSync, type == 19) << int{type};
    }
}

TEST(H265Handler, KeepsEveryUnitWhenAsked) {
    Writing writing(H265Type(), nullptr, {.keepEveryH265Unit = true});
    const Bytes sample = AnnexB({Unit(35), Unit(0), Unit(0), Unit(1), Unit(0)});
    ASSERT_EQ(writing.Write(Join({sample, {0, 0}})), S_OK);
    EXPECT_EQ(writing.last, Prefixed({Unit(35), Unit(0), Unit(0), Unit(1), Unit(0)}));
    EXPECT_EQ(writing.written.offset, 100u);
    ASSERT_EQ(writing.Write(AnnexB({kVps, kSps, kPps, Unit(19)})), S_OK);
    EXPECT_TRUE(writing.written.isSync);
    EXPECT_GT(writing.Configuration().size(), kVps.size() + kSps.size() + kPps.size());
    for (const Bytes& bytes : {Bytes{}, Bytes{0, 0, 1}, Bytes{0, 0, 1, 0, 0, 1, 0}, Bytes{9, 9, 9, 9, 9, 9}}) {
        ASSERT_EQ(writing.Write(bytes), S_OK);
        EXPECT_TRUE(writing.last.empty());
    }
}

TEST(H265Handler, MarksEveryRandomAccessPictureWhenAsked) {
    for (std::uint8_t type = 1; type < 64; ++type) {
        Writing writing(H265Type(), nullptr, {.everyRandomAccessPictureIsSync = true});
        ASSERT_EQ(writing.Write(AnnexB({Unit(type), Unit(1)})), S_OK);
        EXPECT_EQ(writing.written.isSync, type >= 16 && type <= 21) << int{type};
    }
}

TEST(H265Handler, WritesALastUnitOfAnySizeWithoutACopy) {
    Bytes large = Unit(1);
    large.resize(300000, 0x77);
    Writing writing(H265Type());
    ASSERT_EQ(writing.Write(AnnexB({Unit(35), large})), S_OK);
    EXPECT_EQ(writing.last, Prefixed({Unit(35), large}));
    EXPECT_EQ(writing.stream.writes, 4u);
    writing.stream.failing_write = 5;
    EXPECT_EQ(writing.Write(AnnexB({Unit(1)})), E_FAIL);
}

TEST(H265Handler, DescribesTheStreamByTheFirstSetOfEachKind) {
    Bytes otherSps = kSps, otherPps = kPps;
    otherSps[17] = 0x5D;  // another level
    otherPps.back() = 0x80;
    Writing writing(H265Type());
    ASSERT_EQ(writing.Write(AnnexB({kPps, kVps, kSps, otherSps, Unit(19)})), S_OK);
    ASSERT_EQ(writing.Write(AnnexB({otherPps, otherSps, Unit(19)})), S_OK);
    const Bytes fields = {1,                          // version
                          0x01,                       // profile space, tier, profile: Main
                          0x60, 0,    0,    0,        // compatibility
                          0x90, 0,    0,    0, 0, 0,  // constraints
                          30,                         // level 1
                          0xF0, 0,    0xFC,           // segmentation, parallelism: not told
                          0xFD, 0xF8, 0xF8,           // 4:2:0, 8 bits
                          0,    0,                    // frame rate: not told
                          0x0F,                       // one temporal layer, nested, lengths of 4 bytes
                          3};
    EXPECT_EQ(
        writing.Configuration(),
        Join({fields, {0x80 | 32, 0, 1, 0, 24}, kVps, {0x80 | 33, 0, 1, 0, 40}, kSps, {0x80 | 34, 0, 1, 0, 7}, kPps}));
}

TEST(H265Handler, ReportsEachUnitWhenTheLogIsAskedForIt) {
    Writing writing(H265Type());
    const auto lines = [&](int level) {
        const log_capture log(level);
        writing.Write(AnnexB({Unit(35), Unit(1)}));
        return log.messages();
    };
    EXPECT_EQ(lines(3),
              (std::vector<log_capture::message>{{3, L"NAL_UNIT_TYPE: 35 (5)"}, {3, L"NAL_UNIT_TYPE: 1 (5)"}}));
    EXPECT_TRUE(lines(2).empty());
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters::details
