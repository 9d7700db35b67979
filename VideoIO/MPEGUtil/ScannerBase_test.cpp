#include "VideoIO/MPEGUtil/ScannerBase.h"

#include "Testing/Kit/log_capture.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <vector>

namespace qz_MPEGUtil {
namespace {

constexpr std::size_t enough = 588;

/// Bytes that no test of the scanner takes for anything, with others put in at an offset.
std::vector<BYTE> Stream(std::size_t size, std::size_t at, std::initializer_list<int> bytes) {
    std::vector<BYTE> stream(size, 0x10);
    for (const int byte : bytes) {
        stream[at++] = static_cast<BYTE>(byte);
    }
    return stream;
}

std::uint32_t Detect(const std::vector<BYTE>& stream) {
    return ScannerBase::DetectStreamType(stream.data(), stream.size());
}

std::uint32_t DetectSyncsAt(std::initializer_list<std::size_t> offsets, std::size_t size = enough) {
    std::vector<BYTE> stream(size, 0x10);
    for (const std::size_t offset : offsets) {
        stream[offset] = 0x47;
    }
    return Detect(stream);
}

TEST(ScannerBase, NeedsEnoughData) {
    const auto riff = Stream(enough, 0, {'R', 'I', 'F', 'F'});
    EXPECT_EQ(ScannerBase::DetectStreamType(riff.data(), enough - 1), STREAM_UNKNOWN);
    EXPECT_EQ(Detect(riff), 1u);
    EXPECT_EQ(Detect(Stream(enough, 0, {})), STREAM_UNKNOWN);
    mediakit_test::log_capture log;
    EXPECT_EQ(ScannerBase::DetectStreamType(nullptr, enough), STREAM_UNKNOWN);
    EXPECT_EQ(log.count(1, L"pBuffer != 0"), 1u);
}

TEST(ScannerBase, KnowsContainersAndTransportPackets) {
    EXPECT_EQ(Detect(Stream(700, 4, {'f', 't', 'y', 'p'})), 1u);
    EXPECT_EQ(Detect(Stream(700, 4, {'m', 'o', 'o', 'v'})), 1u);
    EXPECT_EQ(Detect(Stream(700, 0, {'F', 'L', 'V', 1})), 1u);
    EXPECT_EQ(Detect(Stream(700, 0, {'F', 'L', 'V', 2})), 0u);
    EXPECT_EQ(Detect(Stream(700, 0, {0x30, 0x26, 0xB2, 0x75})), 1u);
    EXPECT_EQ(DetectSyncsAt({0, 188, 376, 564}), 0x1000u);
    EXPECT_EQ(DetectSyncsAt({100, 288, 476, 664}, 700), 0x1000u);
    EXPECT_EQ(DetectSyncsAt({0, 192, 384, 576}), 0x2000u);
    EXPECT_EQ(DetectSyncsAt({4, 196, 392}), 0x2000u);
    // Too few syncs, or one off its place: what is left is that the byte could be a parameter set's type.
    EXPECT_EQ(DetectSyncsAt({0, 188, 376}), 0x10000u);
    EXPECT_EQ(DetectSyncsAt({4, 196, 388}), 0x10000u);
}

TEST(ScannerBase, TellsSystemStreamsApart) {
    EXPECT_EQ(Detect(Stream(600, 0, {0, 0, 1, 0xBA, 0x21, 0, 1, 0})), 0x80u);
    EXPECT_EQ(Detect(Stream(600, 0, {0, 0, 1, 0xBA, 0x44, 0, 4, 0})), 0x800u);
    // One of the two bits that mark MPEG-1 is not enough.
    EXPECT_EQ(Detect(Stream(600, 0, {0, 0, 1, 0xBA, 0x20, 0, 1, 0})), 0x800u);
    EXPECT_EQ(Detect(Stream(600, 0, {0, 0, 1, 0xBA, 0x01, 0, 1, 0})), 0x800u);
    for (const int code : {0xBC, 0xBD, 0xBE, 0xBF}) {
        EXPECT_EQ(Detect(Stream(600, 9, {0, 0, 1, code, 0x40, 0, 4, 0})), 0x800u) << code;
        EXPECT_EQ(Detect(Stream(600, 9, {0, 0, 1, code, 0x21, 0, 4, 0})), 0x80u) << code;
    }
    EXPECT_EQ(Detect(Stream(600, 9, {0, 0, 1, 0xBB, 0x21, 0, 4, 0})), 0u);
    EXPECT_EQ(Detect(Stream(600, 0, {0, 0, 1, 0xC0})), 0x400u);
    EXPECT_EQ(Detect(Stream(600, 0, {0, 0, 1, 0xEF})), 0x400u);
    EXPECT_EQ(Detect(Stream(600, 0, {0, 0, 1, 0xB3})), 0x800u);
}

TEST(ScannerBase, KnowsElementaryStreams) {
    EXPECT_EQ(Detect(Stream(600, 0, {0, 0, 0, 1, 0x67})), 0x10000u);
    EXPECT_EQ(Detect(Stream(600, 100, {0x27})), 0x10000u);  // any byte that could be a parameter set's type
    EXPECT_EQ(Detect(Stream(600, 0, {0xFF, 0xF1, 0x50, 0x80})), 0x220u);
    EXPECT_EQ(Detect(Stream(600, 0, {'I', 'D', '3', 4})), 0x220u);
    EXPECT_EQ(Detect(Stream(600, 0, {0x0B, 0x77, 0, 0})), 0x8000000u);
    // The second pass looks at more of the stream's end than the first, and not at its last bytes.
    EXPECT_EQ(Detect(Stream(600, 600 - 197, {0x0B, 0x77})), 0x8000000u);
    EXPECT_EQ(Detect(Stream(600, 600 - 196, {0x0B, 0x77})), 0u);
    // Zeros in front say nothing.
    EXPECT_EQ(Detect(Stream(600, 0, {0, 0, 0, 0, 0, 0x0B, 0x77, 0, 0})), 0x8000000u);
    EXPECT_EQ(Detect(std::vector<BYTE>(600, 0)), 0u);
    // Containers win over what comes before them in the bytes, but not over a system stream.
    const auto with_riff = [](std::initializer_list<int> first) {
        auto both = Stream(700, 0, first);
        both[50] = 'R', both[51] = 'I', both[52] = 'F', both[53] = 'F';
        return Detect(both);
    };
    EXPECT_EQ(with_riff({0x0B, 0x77}), 1u);
    EXPECT_EQ(with_riff({0, 0, 1, 0xBA, 0x44, 0, 4, 0}), 0x800u);
}

}  // namespace
}  // namespace qz_MPEGUtil
