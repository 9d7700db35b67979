#include "VideoIO/StreamFilters/Multiplexer/StreamByteStream.h"

#include "Testing/Kit/log_capture.h"
#include "Testing/Kit/memory_istream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>

namespace Norvane::MediaKit::Filters {
namespace {

using mediakit_test::log_capture;
using mediakit_test::memory_file;
using mediakit_test::memory_istream;
using mediakit_test::stream_call;

/// The text of the check of a failed call.
constexpr const wchar_t* kFailedCall = L"(((HRESULT)(hr)) >= 0)";

class StreamByteStreamTest : public testing::Test {
protected:
    /// Bytes that do not repeat at any distance that a test moves by.
    static std::vector<BYTE> Pattern(std::size_t size) {
        std::vector<BYTE> bytes(size);
        std::uint32_t state = 12345;
        for (BYTE& byte : bytes) {
            state = state * 1664525 + 1013904223;
            byte = static_cast<BYTE>(state >> 24);
        }
        return bytes;
    }

    const std::shared_ptr<memory_file> m_file = std::make_shared<memory_file>();
    StreamByteStream m_stream{memory_istream::create(m_file).get()};
};

TEST_F(StreamByteStreamTest, WritesSeeksAndSkips) {
    EXPECT_TRUE(m_stream.write("abcdef", 6));
    EXPECT_EQ(m_stream.tell(), 6u);
    EXPECT_TRUE(m_stream.seek(1));
    EXPECT_TRUE(m_stream.write("X", 1));
    EXPECT_TRUE(m_stream.skip(2));
    EXPECT_TRUE(m_stream.write("Y", 1));
    EXPECT_TRUE(m_stream.skip(-5));
    EXPECT_TRUE(m_stream.write("Z", 1));
    EXPECT_EQ(m_stream.tell(), 1u);
    EXPECT_TRUE(m_stream.seek(8));
    EXPECT_TRUE(m_stream.write_zeros(3));
    EXPECT_EQ(m_stream.tell(), 11u);
    EXPECT_EQ(m_stream.size(), 11u);
    const std::string expected("ZXcdYf\0\0\0\0\0", 11);
    EXPECT_EQ(m_file->bytes(), std::vector<BYTE>(expected.begin(), expected.end()));
}

TEST_F(StreamByteStreamTest, PassesEachWriteOnAndCommitsOnFlush) {
    m_stream.write("a", 1);
    m_stream.write("b", 1);
    EXPECT_EQ(m_file->calls(stream_call::write), 2);
    EXPECT_EQ(m_file->calls(stream_call::commit), 0);
    m_stream.flush();
    EXPECT_EQ(m_file->calls(stream_call::commit), 1);
}

TEST_F(StreamByteStreamTest, NeverReads) {
    m_stream.write("abc", 3);
    m_stream.seek(0);
    char buffer[1] = {'-'};
    EXPECT_FALSE(m_stream.read(buffer, 1));
    EXPECT_EQ(buffer[0], '-');
    EXPECT_EQ(m_stream.tell(), 0u);
}

TEST_F(StreamByteStreamTest, ReportsFailedCalls) {
    ASSERT_TRUE(m_stream.write("abc", 3));
    const struct {
        stream_call call;
        std::function<bool(StreamByteStream&)> act;
        const wchar_t* logged;
    } rows[] = {
        {stream_call::write, [](StreamByteStream& s) { return s.write("d", 1); }, kFailedCall},
        {stream_call::write, [](StreamByteStream& s) { return s.write_zeros(2); }, kFailedCall},
        {stream_call::seek, [](StreamByteStream& s) { return s.seek(3); }, kFailedCall},
        {stream_call::seek, [](StreamByteStream& s) { return s.skip(0); }, kFailedCall},
        {stream_call::stat, [](StreamByteStream& s) { return s.size() != 0; }, kFailedCall},
        {stream_call::commit, [](StreamByteStream& s) { return s.flush(), false; }, L"QZLogHRESULT: "},
    };
    for (const auto& row : rows) {
        const log_capture log;
        m_file->fail(row.call, 1, STG_E_MEDIUMFULL);
        EXPECT_FALSE(row.act(m_stream));
        EXPECT_EQ(log.count(1, row.logged), 1u) << static_cast<int>(row.call);
        EXPECT_EQ(log.messages().size(), 1u);
        EXPECT_EQ(m_stream.tell(), 3u);
    }
}

TEST_F(StreamByteStreamTest, TakesAShortWriteForAFailure) {
    const log_capture log;
    m_file->limit_writes(2);
    EXPECT_FALSE(m_stream.write("abc", 3));
    EXPECT_EQ(m_stream.tell(), 0u);
    EXPECT_EQ(log.count(1, L"cbWritten == size"), 1u);
}

TEST_F(StreamByteStreamTest, DoesNothingAfterClose) {
    const auto stream = memory_istream::create(m_file);
    StreamByteStream closed(stream.get());
    closed.write("abc", 3);
    closed.close();
    EXPECT_EQ(closed.size(), 0u);
    EXPECT_FALSE(closed.write("d", 1));
    EXPECT_FALSE(closed.write_zeros(1));
    EXPECT_FALSE(closed.seek(0));
    EXPECT_FALSE(closed.skip(1));
    closed.flush();
    closed.move(0, 1, 2);
    EXPECT_EQ(m_file->bytes().size(), 3u);
    EXPECT_EQ(stream->AddRef(), 2u);  // the closed stream holds none
    stream->Release();
}

TEST_F(StreamByteStreamTest, MovesRegionsTowardsTheEndWithoutLosingAByte) {
    constexpr std::uint32_t kBuffer = 65536;
    const std::uint32_t counts[] = {1, 100, kBuffer - 1, kBuffer, kBuffer + 1, 2 * kBuffer, 3 * kBuffer + 7, 200000};
    const std::uint32_t distances[] = {1, 8, 4096, kBuffer - 1, kBuffer, kBuffer + 1, 2 * kBuffer + 3, 150000};
    constexpr std::uint32_t from = 13;
    for (const std::uint32_t count : counts) {
        for (const std::uint32_t distance : distances) {
            const std::vector<BYTE> before = Pattern(from + count);
            std::vector<BYTE> expected = before;
            expected.resize(from + distance + count);
            std::copy(before.begin() + from, before.end(), expected.begin() + from + distance);
            m_file->set_bytes(before);

            m_stream.move(from, from + distance, count);

            // between the old place and the new one the old bytes stay
            EXPECT_TRUE(m_file->bytes() == expected) << count << " bytes by " << distance;
        }
    }
}

TEST_F(StreamByteStreamTest, LeavesWhatLiesBehindTheMovedRegion) {
    const std::vector<BYTE> before = Pattern(100000);
    std::vector<BYTE> expected = before;
    std::copy(before.begin() + 10, before.begin() + 70010, expected.begin() + 20);
    m_file->set_bytes(before);
    m_stream.seek(5);
    m_stream.move(10, 20, 70000);
    EXPECT_TRUE(m_file->bytes() == expected);
    EXPECT_EQ(m_stream.tell(), 5u);
}

TEST_F(StreamByteStreamTest, MovesNoMoreThanTheFileHas) {
    m_file->set_bytes({1, 2, 3, 4});
    m_stream.move(1, 3, 1000000);
    EXPECT_EQ(m_file->bytes(), (std::vector<BYTE>{1, 2, 3, 2, 3, 4}));
}

TEST_F(StreamByteStreamTest, MovesNothingTowardsTheStart) {
    const std::vector<BYTE> before = Pattern(300);
    m_file->set_bytes(before);
    m_stream.move(100, 50, 100);
    m_stream.move(100, 100, 100);
    EXPECT_TRUE(m_file->bytes() == before);
    EXPECT_EQ(m_file->calls(stream_call::write), 0);
    m_stream.move(0, 100, 0);
    EXPECT_EQ(m_file->calls(stream_call::clone), 2);  // none for a count of 0
    EXPECT_TRUE(m_stream.seek(0));
}

TEST_F(StreamByteStreamTest, ClosesOnAMoveThatCannotStart) {
    const std::vector<BYTE> before = Pattern(300);
    m_file->set_bytes(before);
    const auto expectClosed = [&](StreamByteStream& stream, const char* what) {
        EXPECT_FALSE(stream.seek(0)) << what;
        EXPECT_FALSE(stream.write("x", 1)) << what;
        EXPECT_TRUE(m_file->bytes() == before) << what;
    };
    for (const std::uint64_t distance : {std::uint64_t{1} << 31, (std::uint64_t{1} << 32) + 1}) {
        StreamByteStream stream(memory_istream::create(m_file).get());
        stream.move(100, 100 + distance, 100);
        expectClosed(stream, "the distance fits no 31 bits");
    }

    const struct {
        stream_call call;
        int n;
    } rows[] = {{stream_call::clone, 1}, {stream_call::seek, 1}, {stream_call::seek, 2}, {stream_call::read, 1}};
    for (const auto& row : rows) {
        StreamByteStream stream(memory_istream::create(m_file).get());
        m_file->fail(row.call, row.n, E_FAIL);
        stream.move(0, 100, 300);
        expectClosed(stream, "a call failed");
    }
}

TEST_F(StreamByteStreamTest, EndsAMoveWhoseCallsFail) {
    const std::vector<BYTE> before = Pattern(400000);
    m_file->set_bytes(before);
    m_file->fail(stream_call::read, 3, E_FAIL);
    m_stream.move(0, 100, 400000);
    EXPECT_EQ(m_file->calls(stream_call::write), 2);

    m_file->fail(stream_call::write, 1, STG_E_MEDIUMFULL);
    m_stream.move(0, 100, 400000);
    EXPECT_EQ(m_file->calls(stream_call::write), 2 + 7);
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters
