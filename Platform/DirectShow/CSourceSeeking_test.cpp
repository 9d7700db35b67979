#include "Platform/DirectShow/CSourceSeeking.h"

#include "Platform/DirectShow/CRendererPosPassThru.h"
#include "Testing/Kit/fake_filters.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace {

constexpr DWORD kAbsolute = AM_SEEKING_AbsolutePositioning;
constexpr DWORD kRelative = AM_SEEKING_RelativePositioning;
constexpr DWORD kIncremental = AM_SEEKING_IncrementalPositioning;

/// Writes down what was changed, with the values at that time.
class Seeking : public CSourceSeeking {
public:
    explicit Seeking(IUnknown* outer = nullptr) : CSourceSeeking("Seeking", outer, nullptr, &m_lock) {}
    HRESULT ChangeStart() override { return Note("start " + std::to_string(m_rtStart)); }
    HRESULT ChangeStop() override { return Note("stop " + std::to_string(m_rtStop)); }
    HRESULT ChangeRate() override { return Note("rate " + std::to_string(static_cast<int>(m_dRateSeeking))); }

    HRESULT Note(const std::string& text) {
        notes += text + ";";
        return S_OK;
    }
    CCritSec m_lock{"seeking", LockRank::FilterInner};
    std::string notes;
};

/// An output pin that can be sought.
class SeekableOutput : public mediakit_test::fake_output {
public:
    using fake_output::fake_output;
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override {
        if (riid == IID_IMediaSeeking) return seeking.NonDelegatingQueryInterface(riid, ppv);
        return fake_output::NonDelegatingQueryInterface(riid, ppv);
    }
    Seeking seeking{GetOwner()};
};

}  // namespace

TEST(SourceSeeking, MovesStartOrStop) {
    Seeking seeking;
    LONGLONG current = 100;
    LONGLONG stop = 500;
    EXPECT_EQ(seeking.SetPositions(&current, kAbsolute, nullptr, 0), S_OK);
    EXPECT_EQ(seeking.SetPositions(nullptr, 0, &stop, kAbsolute), S_OK);
    current = 20;
    EXPECT_EQ(seeking.SetPositions(&current, kRelative | AM_SEEKING_ReturnTime, &stop, kIncremental), S_OK);
    EXPECT_EQ(current, 120);
    EXPECT_EQ(seeking.SetPositions(nullptr, 0, nullptr, 0), S_OK);
    EXPECT_EQ(seeking.notes, "start 100;stop 500;start 120;") << "a start that is given speaks for the stop as well";
    ASSERT_EQ(seeking.GetPositions(&current, &stop), S_OK);
    EXPECT_EQ(stop, 620);
    EXPECT_EQ(seeking.SetRate(2.0), S_OK);
    EXPECT_EQ(seeking.notes, "start 100;stop 500;start 120;rate 2;");
}

TEST(SourceSeeking, StaysWithinTheRange) {
    constexpr LONGLONG highest = std::numeric_limits<LONGLONG>::max();
    constexpr LONGLONG lowest = std::numeric_limits<LONGLONG>::min();
    const struct {
        LONGLONG from;
        LONGLONG by;
        LONGLONG to;
    } moves[] = {{1, highest, highest},    {highest, highest, highest}, {-1, lowest, lowest},
                 {lowest, lowest, lowest}, {highest, lowest, -1},       {lowest, highest, -1},
                 {0, lowest, lowest},      {highest, -1, highest - 1},  {lowest, 1, lowest + 1}};
    for (const auto& move : moves) {
        SCOPED_TRACE(testing::Message() << move.from << " by " << move.by);
        Seeking seeking;
        LONGLONG start = move.from;
        LONGLONG stop = move.from;
        LONGLONG by = move.by;
        const auto expect = [&](LONGLONG startExpected, LONGLONG stopExpected) {
            EXPECT_EQ(seeking.GetPositions(&start, &stop), S_OK);
            EXPECT_EQ(start, startExpected);
            EXPECT_EQ(stop, stopExpected);
        };
        EXPECT_EQ(seeking.SetPositions(&start, kAbsolute, &stop, kAbsolute), S_OK);
        expect(move.from, move.from);
        EXPECT_EQ(seeking.SetPositions(nullptr, 0, &by, kIncremental), S_OK);
        expect(move.from, move.to);
        stop = move.from;
        EXPECT_EQ(seeking.SetPositions(nullptr, 0, &stop, kAbsolute), S_OK);
        EXPECT_EQ(seeking.SetPositions(&by, kRelative, &by, kRelative), S_OK);
        expect(move.to, move.to);
    }
}

TEST(SourceSeeking, RefusesWhatItCannotDo) {
    Seeking seeking;
    LONGLONG position = 0;
    GUID format{};
    EXPECT_EQ(seeking.SetPositions(nullptr, kAbsolute, nullptr, 0), E_POINTER);
    EXPECT_EQ(seeking.SetPositions(&position, kIncremental, nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(seeking.SetPositions(nullptr, 0, &position, kAbsolute | AM_SEEKING_SeekToKeyFrame), E_INVALIDARG);
    EXPECT_EQ(seeking.notes, "");
    EXPECT_EQ(seeking.GetCurrentPosition(&position), E_NOTIMPL);
    EXPECT_EQ(seeking.IsFormatSupported(&TIME_FORMAT_FRAME), S_FALSE);
    EXPECT_EQ(seeking.SetTimeFormat(&TIME_FORMAT_FRAME), E_INVALIDARG);
    EXPECT_EQ(seeking.GetTimeFormat(&format), S_OK);
    EXPECT_EQ(format, TIME_FORMAT_MEDIA_TIME);
    EXPECT_EQ(seeking.ConvertTimeFormat(&position, nullptr, 9, &TIME_FORMAT_MEDIA_TIME), S_OK);
    EXPECT_EQ(position, 9);
    EXPECT_EQ(seeking.ConvertTimeFormat(&position, &TIME_FORMAT_BYTE, 9, nullptr), E_INVALIDARG);
    DWORD wanted = AM_SEEKING_CanSeekAbsolute | AM_SEEKING_CanGetDuration;
    EXPECT_EQ(seeking.CheckCapabilities(&wanted), S_OK);
    wanted |= AM_SEEKING_CanGetCurrentPos;
    EXPECT_EQ(seeking.CheckCapabilities(&wanted), S_FALSE);
}

TEST(RendererPosPassThru, AsksThePeerAndKnowsItsOwnPosition) {
    mediakit_test::fake<SeekableOutput> source(L"out");
    mediakit_test::fake_sink sink(L"in");
    CRendererPosPassThru position("position", nullptr, nullptr, sink.pin);
    LONGLONG value = 7;
    EXPECT_EQ(position.SetPositions(&value, kAbsolute, nullptr, 0), E_NOTIMPL) << "nothing is connected";

    source->types = {mediakit_test::make_type(MEDIATYPE_Stream, GUID_NULL)};
    ASSERT_EQ(source->Connect(sink.pin, nullptr), S_OK);
    EXPECT_EQ(position.SetPositions(&value, kAbsolute, nullptr, 0), S_OK);
    EXPECT_EQ(source->seeking.notes, "start 7;");
    EXPECT_EQ(position.get_Duration(nullptr), E_NOTIMPL) << "the peer has no such interface";

    EXPECT_EQ(position.GetCurrentPosition(&value), E_NOTIMPL) << "the peer's answer";
    EXPECT_EQ(position.EOS(), E_FAIL);
    position.RegisterMediaTime(30, 40);
    EXPECT_EQ(position.GetCurrentPosition(&value), S_OK);
    EXPECT_EQ(value, 30);
    LONGLONG stop = 90;
    position.SetPositions(nullptr, 0, &stop, kAbsolute);
    EXPECT_EQ(position.EOS(), S_OK);
    EXPECT_EQ(position.GetCurrentPosition(&value), S_OK);
    EXPECT_EQ(value, 90);
    position.ResetMediaTime();
    EXPECT_EQ(position.GetCurrentPosition(&value), E_NOTIMPL);
}
