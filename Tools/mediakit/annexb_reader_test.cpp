#include "Tools/mediakit/annexb_reader.h"

#include "Platform/DirectShow/MediaFormats.h"
#include "Platform/DirectShow/Uuids.h"
#include "Testing/Kit/bit_writer.h"
#include "Testing/Kit/h264_clips.h"
#include "Tools/mediakit/memory_input_test.h"

#include <gmock/gmock.h>

#include <cstring>
#include <random>
#include <set>

namespace mediakit_tool {
namespace {

using mediakit_test::all_h264_clips;
using mediakit_test::bit_writer;
using mediakit_test::h264_clip;
using mediakit_test::h264_slice_facts;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Bytes = std::vector<std::uint8_t>;

struct Cut {
    bool opened = false;
    std::string failure;
    std::vector<std::string> warnings;
    std::vector<Bytes> units;
    std::vector<std::int64_t> ranks;  ///< start times in pictures
    std::vector<bool> sync;
    TrackFacts facts;
};

Cut CutAll(const Bytes& stream, std::size_t largestRead = 1 << 20, DWORD endError = NO_ERROR) {
    MemoryInput input(stream, largestRead, endError);
    SilentReport report;
    AnnexBReader reader(input, report.Report(), std::nullopt);
    Cut cut;
    cut.opened = reader.Open();
    Unit unit;
    const REFERENCE_TIME duration = reader.Facts().rate.AvgTimePerFrame();
    while (cut.opened && reader.Next(&unit)) {
        cut.units.emplace_back(unit.slice.data, unit.slice.data + unit.slice.size);
        cut.ranks.push_back((unit.start + duration / 2) / duration);
        cut.sync.push_back(unit.sync);
        EXPECT_NEAR(static_cast<double>(unit.stop - unit.start), static_cast<double>(duration), 1);
    }
    cut.failure = reader.Failure();
    cut.warnings = report.Warnings();
    cut.facts = reader.Facts();
    return cut;
}

Bytes Join(const std::vector<Bytes>& parts) {
    Bytes whole;
    for (const Bytes& part : parts) whole.insert(whole.end(), part.begin(), part.end());
    return whole;
}

/// Start codes and what follows each, by looking at every byte.
std::vector<Bytes> UnitsOf(const Bytes& stream) {
    std::vector<Bytes> units;
    std::size_t begin = 0;
    for (std::size_t i = 2; i < stream.size(); ++i) {
        if (stream[i] != 1 || stream[i - 1] != 0 || stream[i - 2] != 0) continue;
        const std::size_t code = i >= 3 && stream[i - 3] == 0 ? i - 3 : i - 2;
        if (code > begin)
            units.emplace_back(stream.begin() + static_cast<std::ptrdiff_t>(begin),
                               stream.begin() + static_cast<std::ptrdiff_t>(code));
        begin = code;
    }
    units.emplace_back(stream.begin() + static_cast<std::ptrdiff_t>(begin), stream.end());
    return units;
}

unsigned TypeOf(const Bytes& unit) {
    const std::size_t header = unit[2] == 1 ? 3 : 4;
    return unit.size() > header ? unit[header] & 0x1Fu : 0;
}

/// A picture's place in output order, from the facts that another parser gave.
std::vector<std::int64_t> ExpectedRanks(const h264_clip& clip) {
    std::vector<std::int64_t> ranks;
    std::vector<std::pair<std::int64_t, std::size_t>> keys;
    std::int64_t sequence = -1;
    for (const h264_slice_facts& slice : clip.slices) {
        if (slice.first_mb_in_slice != 0) continue;
        if (slice.nal_unit_type == 5) ++sequence;
        // Order count type 2 has no order counts: decoding order it is.
        const std::int64_t order = clip.name == std::string("base") ? slice.frame_num : slice.pic_order_cnt_lsb;
        keys.emplace_back(sequence * 1000 + order, keys.size());
    }
    ranks.resize(keys.size());
    std::sort(keys.begin(), keys.end());
    for (std::size_t rank = 0; rank < keys.size(); ++rank) ranks[keys[rank].second] = static_cast<std::int64_t>(rank);
    return ranks;
}

TEST(AnnexBReader, CutsPicturesAndOrdersThemHoweverTheBytesCome) {
    for (const h264_clip& clip : all_h264_clips()) {
        for (const std::size_t largestRead : {std::size_t{1}, std::size_t{7}, std::size_t{1} << 20}) {
            SCOPED_TRACE(clip.name + std::string(" by ") + std::to_string(largestRead));
            const Cut cut = CutAll(clip.bytes, largestRead);
            ASSERT_TRUE(cut.opened) << cut.failure;
            EXPECT_EQ(cut.failure, "");
            EXPECT_THAT(cut.warnings, IsEmpty());
            EXPECT_EQ(cut.ranks, ExpectedRanks(clip));
            EXPECT_EQ(Join(cut.units), clip.bytes);
            for (std::size_t i = 0; i < cut.units.size(); ++i) {
                const h264_slice_facts& first = clip.slices[i * clip.slices_per_picture];
                EXPECT_EQ(cut.sync[i], first.nal_unit_type == 5) << i;
            }
            EXPECT_EQ(cut.facts.width, static_cast<int>(clip.width));
            EXPECT_EQ(cut.facts.height, static_cast<int>(clip.height));
            EXPECT_EQ(cut.facts.rate, (FrameRate{25, 1}));
        }
    }
}

TEST(AnnexBReader, DescribesTheStream) {
    const h264_clip clip = mediakit_test::h264_clip_interlaced();
    MemoryInput input(clip.bytes);
    SilentReport report;
    AnnexBReader reader(input, report.Report(), FrameRate{30000, 1001});
    ASSERT_TRUE(reader.Open());
    EXPECT_EQ(reader.Facts().codec, "H.264");
    EXPECT_EQ(reader.Facts().profile, "High");
    EXPECT_EQ(reader.Facts().level, "2.1");
    EXPECT_TRUE(reader.Facts().interlaced);
    const CMediaType& type = reader.MediaType();
    EXPECT_EQ(type.subtype, MEDIASUBTYPE_H264);
    ASSERT_EQ(type.formattype, FORMAT_MPEG2Video);
    MPEG2VIDEOINFO format;
    ASSERT_EQ(type.cbFormat, sizeof format);
    std::memcpy(&format, type.pbFormat, sizeof format);
    EXPECT_EQ(format.hdr.AvgTimePerFrame, 333667);
    EXPECT_EQ(format.hdr.rcSource, (RECT{0, 0, 64, 64}));
    EXPECT_EQ(format.hdr.bmiHeader.biHeight, 64);
    EXPECT_EQ(format.dwProfile, 100u);
    EXPECT_EQ(format.dwLevel, 21u);
}

TEST(AnnexBReader, PassesOverJunkInFrontWithOneWarning) {
    const h264_clip clip = mediakit_test::h264_clip_main();
    Bytes stream = {'j', 'u', 'n', 'k', 0, 0, 2, 0, 7};
    stream.insert(stream.end(), clip.bytes.begin(), clip.bytes.end());
    const Cut cut = CutAll(stream, 3);
    EXPECT_EQ(Join(cut.units), clip.bytes);
    EXPECT_THAT(cut.warnings, ElementsAre(HasSubstr("byte 0: 9 bytes")));
}

TEST(AnnexBReader, TakesDamagedUnitsOut) {
    const h264_clip clip = mediakit_test::h264_clip_main();
    const std::vector<Bytes> units = UnitsOf(clip.bytes);
    const Bytes broken = {0, 0, 1, 0x85, 1, 2, 3, 4, 5, 6, 7};  // forbidden_zero_bit
    const Bytes noHeader = {0, 0, 1, 0x41, 0x00, 0x80};         // a slice that ends in its header
    for (const Bytes& damage : {broken, noHeader}) {
        for (std::size_t at = 5; at < units.size(); ++at) {
            std::vector<Bytes> damaged = units;
            damaged.insert(damaged.begin() + static_cast<std::ptrdiff_t>(at), 2, damage);
            const Cut cut = CutAll(Join(damaged), 16);
            EXPECT_EQ(Join(cut.units), clip.bytes) << at;
            EXPECT_EQ(cut.ranks, ExpectedRanks(clip));
            EXPECT_EQ(cut.warnings.size(), 1u) << at;
        }
    }
}

TEST(AnnexBReader, StartsWhereDecodingCan) {
    const h264_clip clip = mediakit_test::h264_clip_main();
    const std::vector<Bytes> units = UnitsOf(clip.bytes);
    // Delimiters stand at 0, 6, 10, 14, 20, sets and IDR pictures behind those at 0 and 14.
    ASSERT_EQ(TypeOf(units[14]), 9u);
    ASSERT_EQ(TypeOf(units[17]), 5u);
    const Cut cut = CutAll(Join({units.begin() + 6, units.end()}));
    EXPECT_EQ(Join(cut.units), Join({units.begin() + 14, units.end()}));
    EXPECT_EQ(cut.ranks, (std::vector<std::int64_t>{0, 1}));
    EXPECT_THAT(cut.warnings, ElementsAre(HasSubstr("the recording starts here")));
}

TEST(AnnexBReader, FirstUnitBringsItsParameterSets) {
    const h264_clip clip = mediakit_test::h264_clip_main();
    const std::vector<Bytes> units = UnitsOf(clip.bytes);
    std::vector<Bytes> stream = {units[1], units[2]};                     // sets,
    stream.insert(stream.end(), units.begin() + 6, units.begin() + 14);   // pictures without their IDR,
    stream.insert(stream.end(), units.begin() + 17, units.begin() + 20);  // an IDR picture without sets
    const Cut cut = CutAll(Join(stream));
    ASSERT_EQ(cut.units.size(), 1u);
    EXPECT_EQ(cut.units[0], Join({units[1], units[2], units[17], units[18], units[19]}));
}

TEST(AnnexBReader, SaysWhatIsWrongWithAnInput) {
    const h264_clip clip = mediakit_test::h264_clip_main();
    const std::vector<Bytes> units = UnitsOf(clip.bytes);
    const auto failure = [](const Bytes& stream) {
        const Cut cut = CutAll(stream);
        EXPECT_FALSE(cut.opened);
        return cut.failure;
    };
    EXPECT_THAT(failure({}), HasSubstr("empty"));
    EXPECT_THAT(failure(Bytes(5000, 0)), HasSubstr("no H.264 or H.265 video"));
    EXPECT_THAT(failure({0, 0, 0, 24, 'f', 't', 'y', 'p', 'm', 'p', '4', '2'}), HasSubstr("an MP4 file"));
    EXPECT_THAT(failure(Join({units.begin() + 3, units.begin() + 6})), HasSubstr("no sequence parameter set"));
    EXPECT_THAT(failure(Join({units[1], units[3], units[4]})), HasSubstr("no slice whose parameter sets are there"));
    EXPECT_THAT(failure(Join({units[1], units[2], units[7], units[8]})), HasSubstr("no picture to start at"));
    EXPECT_THAT(CutAll(clip.bytes, 64, ERROR_IO_DEVICE).failure,
                HasSubstr("byte " + std::to_string(clip.bytes.size()) + ": reading failed"));
}

TEST(AnnexBReader, RefusesAProfileThatCannotBeWritten) {
    Bytes stream = mediakit_test::h264_clip_high().bytes;
    stream[5] = 244;  // profile_idc, read alike
    const Cut cut = CutAll(stream);
    EXPECT_FALSE(cut.opened);
    EXPECT_THAT(cut.failure, HasSubstr("High 4:4:4 Predictive cannot be recorded"));
}

TEST(AnnexBReader, ACancelledInputEndsWithItsLastWholePicture) {
    const h264_clip clip = mediakit_test::h264_clip_main();
    MemoryInput input(clip.bytes, 16);
    SilentReport report;
    AnnexBReader reader(input, report.Report(), std::nullopt);
    ASSERT_TRUE(reader.Open());
    reader.Finish();
    Unit unit;
    std::size_t bytes = 0;
    while (reader.Next(&unit)) bytes += unit.slice.size;
    EXPECT_EQ(reader.Failure(), "");
    EXPECT_THAT(report.Warnings(), IsEmpty());
    EXPECT_EQ(Bytes(clip.bytes.begin(), clip.bytes.begin() + static_cast<std::ptrdiff_t>(bytes)),
              Join({CutAll(clip.bytes).units[0]}));
}

// Frames of H.264 made by hand: order count type 0, one slice of no content each.
class HandMade {
public:
    HandMade() {
        Add(0x67, bit_writer()
                      .u(8, 77)
                      .u(8, 0)
                      .u(8, 30)
                      .ue(0)
                      .ue(0)
                      .ue(0)
                      .ue(0)  // Main, order counts of 4 bits
                      .ue(4)
                      .u(1, 0)
                      .ue(3)
                      .ue(3)
                      .u(1, 0)
                      .u(1, 0)
                      .u(1, 0)
                      .u(1, 0)
                      .u(1, 0)
                      .trailing());
        Add(0x68, bit_writer()
                      .ue(0)
                      .ue(0)
                      .u(1, 0)
                      .u(1, 0)
                      .ue(0)
                      .ue(0)
                      .ue(0)
                      .u(1, 0)
                      .u(2, 0)
                      .se(0)
                      .se(0)
                      .se(0)
                      .u(1, 0)
                      .u(1, 0)
                      .u(1, 0)
                      .trailing());
    }
    enum Parity { Frame, Top, Bottom };
    HandMade& Idr(Parity parity, unsigned idrPicId = 0, unsigned firstMb = 0) {
        bit_writer slice;
        Head(slice, 7, 0, parity, firstMb).ue(idrPicId).u(4, 0).u(2, 0).se(0).u(8, 0xA5).trailing();
        return Add(0x65, slice);
    }
    HandMade& Reference(Parity parity, unsigned frameNum, unsigned lsb) {
        bit_writer slice;
        Head(slice, 5, frameNum, parity, 0).u(4, lsb).u(3, 0).se(0).u(8, 0xA5).trailing();
        return Add(0x41, slice);
    }
    HandMade& Intra(unsigned frameNum, unsigned lsb) {
        bit_writer slice;
        Head(slice, 7, frameNum, Frame, 0).u(4, lsb).u(1, 0).se(0).u(8, 0xA5).trailing();
        return Add(0x61, slice);
    }
    HandMade& Prefix() { return Add(0x6E, bit_writer().u(24, 0x808080).trailing()); }
    const Bytes& Stream() const { return m_stream; }

private:
    static bit_writer& Head(bit_writer& slice, unsigned type, unsigned frameNum, Parity parity, unsigned firstMb) {
        slice.ue(firstMb).ue(type).ue(0).u(4, frameNum).u(1, parity != Frame);
        return parity == Frame ? slice : slice.u(1, parity == Bottom);
    }
    HandMade& Add(std::uint8_t header, const bit_writer& payload) {
        const Bytes nal = payload.nal();
        m_stream.insert(m_stream.end(), {0, 0, 0, 1, header});
        m_stream.insert(m_stream.end(), nal.begin(), nal.end());
        return *this;
    }
    Bytes m_stream;
};

TEST(AnnexBReader, AStartThatIsNoIdrPictureIsTold) {
    HandMade tail;
    tail.Reference(HandMade::Frame, 1, 2)
        .Intra(2, 8)
        .Reference(HandMade::Frame, 3, 4)
        .Reference(HandMade::Frame, 4, 10);
    const Cut cut = CutAll(tail.Stream());
    // The P picture in front is lost, and so is the one that is shown before the I picture.
    EXPECT_EQ(cut.ranks, (std::vector<std::int64_t>{0, 1}));
    EXPECT_THAT(cut.warnings, ElementsAre(HasSubstr("no IDR picture"), HasSubstr("frame rate")));
}

TEST(AnnexBReader, TwoFieldsMakeOnePicture) {
    const Bytes stream = HandMade()
                             .Idr(HandMade::Top)
                             .Reference(HandMade::Bottom, 0, 1)
                             .Reference(HandMade::Top, 1, 2)
                             .Reference(HandMade::Bottom, 1, 3)
                             .Reference(HandMade::Top, 2, 4)  // its other field is missing
                             .Reference(HandMade::Frame, 3, 6)
                             .Stream();
    const Cut cut = CutAll(stream, 5);
    EXPECT_EQ(cut.ranks, (std::vector<std::int64_t>{0, 1, 2, 3}));
    EXPECT_EQ(Join(cut.units), stream);
    ASSERT_EQ(cut.units.size(), 4u);
    EXPECT_EQ(UnitsOf(cut.units[0]).size(), 4u);  // sets and two fields
    EXPECT_EQ(UnitsOf(cut.units[1]).size(), 2u);
    EXPECT_EQ(UnitsOf(cut.units[2]).size(), 1u);
}

TEST(AnnexBReader, TellsPicturesApartThatLookAlike) {
    // Two IDR pictures of one idr_pic_id, each of two slices.
    const Cut cut = CutAll(HandMade()
                               .Idr(HandMade::Frame)
                               .Idr(HandMade::Frame, 0, 8)
                               .Idr(HandMade::Frame)
                               .Idr(HandMade::Frame, 0, 8)
                               .Stream());
    EXPECT_EQ(cut.ranks, (std::vector<std::int64_t>{0, 1}));
}

TEST(AnnexBReader, AUnitInFrontOfASliceMayStandInsideAPicture) {
    const Cut cut = CutAll(HandMade()
                               .Prefix()
                               .Idr(HandMade::Frame)
                               .Prefix()
                               .Idr(HandMade::Frame, 0, 8)
                               .Prefix()
                               .Reference(HandMade::Frame, 1, 2)
                               .Stream());
    ASSERT_EQ(cut.units.size(), 2u);
    EXPECT_EQ(UnitsOf(cut.units[0]).size(), 6u);  // two sets, two prefixes, two slices
    EXPECT_EQ(UnitsOf(cut.units[1]).size(), 2u);
}

TEST(AnnexBReader, OutlivesEveryTruncationAndManyMutations) {
    std::mt19937 random(20240217);
    for (const h264_clip& clip : all_h264_clips()) {
        for (std::size_t size = 0; size < clip.bytes.size(); size += 3) {
            const Cut cut = CutAll({clip.bytes.begin(), clip.bytes.begin() + static_cast<std::ptrdiff_t>(size)});
            EXPECT_LE(cut.units.size(), clip.slices.size());
            EXPECT_EQ(cut.opened, !cut.units.empty());
        }
        for (int round = 0; round < 300; ++round) {
            Bytes stream = clip.bytes;
            for (int i = 0; i < 6; ++i) stream[random() % stream.size()] = static_cast<std::uint8_t>(random());
            const Cut cut = CutAll(stream, 1 + random() % 200);
            // No two pictures have one time, and no byte comes twice.
            EXPECT_EQ(std::set(cut.ranks.begin(), cut.ranks.end()).size(), cut.ranks.size());
            EXPECT_LE(Join(cut.units).size(), 2 * stream.size());
        }
    }
}

}  // namespace
}  // namespace mediakit_tool
