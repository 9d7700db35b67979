#include "VideoIO/StreamFilters/Multiplexer/MuxOutputPin.h"

#include "Platform/Kernel/LastError.h"
#include "VideoIO/StreamFilters/Multiplexer/MuxRig_test.h"

namespace Norvane::MediaKit::Filters {
namespace {

using namespace testdata;

struct MuxOutputPinTest : testing::Test, MuxRig {
    void SetUp() override {
        ConnectVideo();
        Play();
    }
};

TEST_F(MuxOutputPinTest, WritesUpToTheLastByteWhoseTimeHasRoom) {
    std::vector<REFERENCE_TIME> stops;
    sink->on_receive = [&](IMediaSample* sample) {
        REFERENCE_TIME start = 0;
        sample->GetTime(&start, &stops.emplace_back());
        return S_FALSE;  // it is not placed in memory
    };
    const BYTE bytes[4]{};
    Output().SetWritePosition(922'337'203'685 - 3);
    EXPECT_EQ(Output().DeliverBytes(bytes, 4), HRESULT_FROM_WIN32(ERROR_FILE_TOO_LARGE)) << "not even a part of it";
    EXPECT_EQ(Output().DeliverBytes(bytes, 3), S_OK);
    EXPECT_EQ(Output().DeliverBytes(bytes, 1), HRESULT_FROM_WIN32(ERROR_FILE_TOO_LARGE));
    EXPECT_EQ(log.count(1, L"m_writePosition + length <= MaxBytePosition"), 2u);
    EXPECT_EQ(stops, std::vector<REFERENCE_TIME>{9'223'372'036'850'000'000});
    EXPECT_EQ(Output().WritePosition(), 922'337'203'685u);
}

TEST_F(MuxOutputPinTest, APeerThatKeepsEveryBufferFailsTheWriteAndHoldsNobodyUp) {
    std::vector<ComPtr<IMediaSample>> kept;
    sink->on_receive = [&](IMediaSample* sample) {
        kept.emplace_back(sample);
        return S_OK;
    };
    for (int n = 0; n < 205; ++n) ASSERT_EQ(Send(0, n), S_OK);
    EXPECT_EQ(kept.size(), 200u);
    EXPECT_GE(log.count(1, L"QZCheckHRESULT: 0x8004022e"), 1u) << "the time-out";
    const std::size_t written = Index(0).size();
    EXPECT_EQ(written, 200u);
    kept.clear();
    for (int n = 205; n < 210; ++n) ASSERT_EQ(Send(0, n), S_OK);
    EXPECT_GE(Index(0).size(), written + 4) << "it goes on";
    kept.clear();
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters
