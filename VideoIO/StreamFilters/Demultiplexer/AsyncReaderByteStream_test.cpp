#include "VideoIO/StreamFilters/Demultiplexer/AsyncReaderByteStream.h"

#include "Testing/Kit/log_capture.h"
#include "Testing/Kit/memory_async_reader.h"

#include <gtest/gtest.h>

namespace Norvane::MediaKit::Filters {
namespace {

using mediakit_test::log_capture;
using mediakit_test::memory_async_reader;

class AsyncReaderByteStreamTest : public testing::Test {
protected:
    memory_async_reader& Reader() { return *m_reader; }

    memory_async_reader* const m_reader = new memory_async_reader({0, 1, 2, 3, 4, 5, 6, 7, 8, 9});
    const ComPtr<IAsyncReader> m_hold{m_reader};
    AsyncReaderByteStream m_stream{m_reader};
};

TEST_F(AsyncReaderByteStreamTest, ReadsAtItsPosition) {
    BYTE buffer[3] = {};
    EXPECT_TRUE(m_stream.read(buffer, 3));
    EXPECT_EQ(m_stream.tell(), 3u);
    EXPECT_TRUE(m_stream.skip(2));
    EXPECT_TRUE(m_stream.read(buffer, 3));
    EXPECT_EQ(buffer[0], 5);
    EXPECT_TRUE(m_stream.skip(-7));
    EXPECT_TRUE(m_stream.read(buffer, 1));
    EXPECT_EQ(buffer[0], 1);
    EXPECT_TRUE(m_stream.seek(9));
    EXPECT_TRUE(m_stream.read(buffer, 1));
    EXPECT_EQ(buffer[0], 9);
    EXPECT_EQ(m_stream.tell(), 10u);
    EXPECT_EQ(Reader().reads(), 4);  // moving asks nothing of the reader
}

TEST_F(AsyncReaderByteStreamTest, ShowsTheEndAtTheNextReadOnly) {
    BYTE buffer[4] = {};
    EXPECT_TRUE(m_stream.seek(8));
    EXPECT_FALSE(m_stream.read(buffer, 3));
    EXPECT_EQ(m_stream.tell(), 8u);
    EXPECT_TRUE(m_stream.skip(1000));
    EXPECT_EQ(m_stream.tell(), 1008u);
    EXPECT_FALSE(m_stream.read(buffer, 1));
    EXPECT_TRUE(m_stream.seek(10));
    EXPECT_TRUE(m_stream.read(buffer, 0));
    EXPECT_TRUE(m_stream.seek(~std::uint64_t{0}));
    EXPECT_FALSE(m_stream.read(buffer, 1));
    EXPECT_TRUE(m_stream.seek(0));
    EXPECT_FALSE(m_stream.read(buffer, 0x80000000));
}

TEST_F(AsyncReaderByteStreamTest, FollowsASourceThatGrows) {
    BYTE buffer[12] = {};
    Reader().set_pending(2);
    EXPECT_EQ(m_stream.size(), 10u);  // what is available, not what is to come
    EXPECT_EQ(m_stream.WholeSize(), 12u);
    EXPECT_FALSE(m_stream.read(buffer, 12));
    Reader().append({10, 11});
    Reader().set_pending(-12);
    EXPECT_EQ(m_stream.size(), 12u);
    EXPECT_EQ(m_stream.WholeSize(), 12u);  // a reader that does not know the total
    EXPECT_TRUE(m_stream.read(buffer, 12));
    EXPECT_EQ(buffer[11], 11);
}

TEST_F(AsyncReaderByteStreamTest, AsksForTheLengthOnlyWhenItMustKnow) {
    BYTE buffer[1] = {};
    for (int i = 0; i < 10; ++i) EXPECT_TRUE(m_stream.read(buffer, 1));
    EXPECT_EQ(Reader().length_queries(), 1);
}

TEST_F(AsyncReaderByteStreamTest, ReportsFailedCalls) {
    const log_capture log;
    BYTE buffer[2] = {};
    EXPECT_EQ(m_stream.LastResult(), S_OK);
    Reader().fail_read(1, E_ABORT);
    EXPECT_FALSE(m_stream.read(buffer, 1));
    EXPECT_EQ(m_stream.LastResult(), E_ABORT);
    EXPECT_EQ(m_stream.tell(), 0u);
    EXPECT_EQ(log.count(1, L"(((HRESULT)(hr)) >= 0)"), 1u);
    Reader().set_length_result(E_NOTIMPL);
    EXPECT_EQ(m_stream.size(), 0u);
    EXPECT_EQ(m_stream.WholeSize(), 0u);
    EXPECT_EQ(log.count(1, L"(((HRESULT)(hr)) >= 0)"), 3u);
    // A reader that does not tell its length is trusted, and need not say so again.
    AsyncReaderByteStream untold(m_reader);
    EXPECT_TRUE(untold.read(buffer, 1));
    EXPECT_EQ(untold.LastResult(), S_OK);
    AsyncReaderByteStream next(m_reader, untold.KnownSize());
    EXPECT_TRUE(next.read(buffer, 1));
    EXPECT_EQ(log.count(1, L"(((HRESULT)(hr)) >= 0)"), 4u);
    // One that does tell after all is believed.
    Reader().set_length_result(S_OK);
    EXPECT_EQ(next.size(), 10u);
    EXPECT_TRUE(next.seek(9));
    EXPECT_FALSE(next.read(buffer, 2));
}

TEST_F(AsyncReaderByteStreamTest, NeverWritesAndGivesUpItsReader) {
    EXPECT_FALSE(m_stream.write("a", 1));
    EXPECT_FALSE(m_stream.write_zeros(1));
    m_stream.close();
    BYTE buffer[1] = {};
    EXPECT_FALSE(m_stream.read(buffer, 1));
    EXPECT_EQ(m_stream.size(), 0u);
    EXPECT_EQ(m_hold->AddRef(), 2u);
    m_hold->Release();
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters
