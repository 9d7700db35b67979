#include "VideoIO/StreamFilters/Multiplexer/MP4MediaMuxFilter2.h"

#include "MediaKit/Factories.h"
#include "MediaKit/Results.h"
#include "Testing/Kit/adts_frame.h"
#include "Testing/Kit/box_builder.h"
#include "VideoIO/StreamFilters/Multiplexer/MuxRig_test.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <thread>

namespace Norvane::MediaKit::Filters {
namespace {

template <class Whole, class Part>
bool Contains(const Whole& whole, const Part& part) {
    return std::search(whole.begin(), whole.end(), part.begin(), part.end()) != whole.end();
}

using namespace testdata;
using testing::ElementsAre;
using testing::SizeIs;

struct Recorder : testing::Test, MuxRig {
    void StartVideo() {
        ConnectVideo();
        Play();
    }
    void StartVideoAndAudio() {
        ConnectVideoAndAudio();
        Play();
    }
};

TEST_F(Recorder, WritesWhatItReceivesAndFinishesTheFile) {
    StartVideoAndAudio();
    for (int n = 0; n < 50; ++n) {
        ASSERT_EQ(Send(0, n, 100), S_OK);
        ASSERT_EQ(Send(1, n, 20), S_OK);
    }
    EXPECT_EQ(Boxes()[1].type, "mdat");
    EXPECT_EQ(Boxes()[1].size, 8u) << "while recording";
    EXPECT_GT(sink->file().calls(mediakit_test::stream_call::commit), 0);
    (*this)[0].end();
    EXPECT_EQ(sink->ends(), 0);
    (*this)[1].end();
    EXPECT_EQ(sink->ends(), 1);
    EXPECT_EQ(Stop(), S_OK);

    EXPECT_EQ(Layout(), "ftyp mdat moov");
    const auto boxes = Boxes();
    EXPECT_EQ(boxes[1].size, 8u + 50 * 120);
    EXPECT_EQ(boxes[2].offset + boxes[2].size, sink->file().bytes().size());
    for (const std::uint32_t track : {0u, 1u}) {
        const auto samples = Index(track);
        ASSERT_THAT(samples, SizeIs(50));
        for (int n = 0; n < 50; ++n) {
            const auto& sample = samples[static_cast<std::size_t>(n)];
            EXPECT_EQ(sample.start, n * Frame);
            const auto value = static_cast<BYTE>(track * 100 + static_cast<unsigned>(n));
            EXPECT_EQ(Read(sample), std::vector<BYTE>(track == 0 ? 100 : 20, value));
        }
    }
}

TEST_F(Recorder, SamplesBeyondABufferArriveInParts) {
    ASSERT_EQ(AddSource(mediakit_test::avc1_type(mediakit_test::h264_units()), 100000), S_OK);
    ASSERT_EQ(ConnectSink(), S_OK);
    Play();
    ASSERT_EQ(Send(0, 0, 9000), S_OK);
    ASSERT_EQ(Send(0, 1, 4096), S_OK);
    using placed = mediakit_test::file_sink_input::placed;
    EXPECT_THAT(sink->placements(), ElementsAre(placed{32, 4096}, placed{32 + 4096, 4096}, placed{32 + 8192, 808},
                                                placed{32 + 9000, 4096}));
    EXPECT_EQ(sink->samples()[1].start, REFERENCE_TIME{10000000} * (32 + 4096));
    EXPECT_EQ(sink->samples()[1].stop, REFERENCE_TIME{10000000} * (32 + 8192));
}

TEST_F(Recorder, EndsOnceHoweverOftenAStreamEnds) {
    StartVideoAndAudio();
    for (int n = 0; n < 3; ++n) ASSERT_EQ(Send(0, n), S_OK);
    ASSERT_EQ(Send(1, 0), S_OK);
    mux->AddConsumer(0, 5, L"reader", 0, 0, nullptr);
    for (int times = 0; times < 2; ++times)
        for (const std::size_t source : {0u, 1u}) (*this)[source].end();

    EXPECT_EQ(sink->ends(), 1);
    EXPECT_EQ(log.count(3, L"-----> Track Input_0("), 2u);
    EXPECT_EQ(log.count(3, L") is EOS."), 4u);
    EXPECT_EQ(log.count(3, L"-----> All tracks are EOS, delivering EOS."), 1u);
    EXPECT_THAT(Index(0), SizeIs(3)) << "the tail is written";
    EXPECT_THAT(Index(1), SizeIs(1));
    std::vector<LiveSampleInfo> samples;
    const wil::unique_event abort{wil::EventOptions::ManualReset};
    EXPECT_EQ(mux->GetSamples(0, 5, &samples, 0, abort.get()), S_OK);
    EXPECT_EQ(mux->GetSamples(0, 5, &samples, 60000, abort.get()), S_FALSE);
    EXPECT_EQ(Send(0, 4), S_FALSE) << "behind the end";
}

TEST_F(Recorder, ATrackThatEndsEarlyDoesNotStopTheOther) {
    StartVideoAndAudio();
    for (int n = 0; n < 2; ++n) ASSERT_EQ(Send(1, n), S_OK);
    (*this)[1].end();
    // More than the allocator has buffers: a file that stood still would block the source.
    for (int n = 0; n < 300; ++n) ASSERT_EQ(Send(0, n), S_OK);
    (*this)[0].end();
    EXPECT_THAT(Index(0), SizeIs(300));
    EXPECT_EQ(sink->ends(), 1);
}

TEST_F(Recorder, TheEndOfATrackLetsGoOfWhatTheOthersHeldBack) {
    StartVideoAndAudio();
    for (int n = 0; n < 2; ++n) ASSERT_EQ(Send(1, n), S_OK);
    for (int n = 0; n < 90; ++n) ASSERT_EQ(Send(0, n), S_OK);
    EXPECT_GT(Input(0).State().queue.size(), 70u) << "nearly all of the source's buffers";
    (*this)[1].end();
    EXPECT_LT(Input(0).State().queue.size(), 10u);
}

TEST_F(Recorder, APinThatIsNeverFedBlocksTheFile) {
    StartVideoAndAudio();
    for (int n = 0; n < 50; ++n) ASSERT_EQ(Send(0, n), S_OK);
    (*this)[0].end();
    (*this)[1].end();
    EXPECT_EQ(Stop(), S_OK);
    EXPECT_TRUE(sink->file().bytes().empty());
    EXPECT_EQ(sink->ends(), 1) << "the end is told all the same";
}

TEST_F(Recorder, StopDropsWhatWaits) {
    StartVideoAndAudio();
    for (int n = 0; n < 20; ++n) {
        ASSERT_EQ(Send(0, n), S_OK);
        ASSERT_EQ(Send(1, n), S_OK);
    }
    const std::size_t written = Index(0).size() + Index(1).size();
    EXPECT_LT(written, 40u);
    EXPECT_EQ(Stop(), S_OK);
    EXPECT_EQ(Layout(), "ftyp mdat moov");
    EXPECT_EQ(Boxes()[1].size, 8 + 10 * written);
    EXPECT_EQ(Index(0).size() + Index(1).size(), written);
    EXPECT_EQ(sink->ends(), 0);
}

TEST_F(Recorder, ASecondRunMakesTheSameFile) {
    ConnectVideoAndAudio();
    std::vector<BYTE> first;
    for (int run = 0; run < 2; ++run) {
        sink->file().set_bytes({});
        Play();
        for (const int n : {0, 3, 1, 2, 4}) {
            ASSERT_EQ(Send(0, n), S_OK);
            ASSERT_EQ(Send(1, n), S_OK);
        }
        for (const std::size_t source : {0u, 1u}) (*this)[source].end();
        EXPECT_EQ(Stop(), S_OK);
        EXPECT_EQ(sink->ends(), run + 1);
        EXPECT_THAT(Index(0), SizeIs(5 * (run + 1))) << "the index is kept from run to run";
        if (run == 0) first = sink->file().bytes();
    }
    EXPECT_EQ(Layout(), "ftyp mdat moov");
    EXPECT_EQ(sink->file().bytes(), first);
    EXPECT_EQ(mux->Counters().Count(), 2u);
}

TEST_F(Recorder, ReorderingBeforeTheFileStartsIsNotForgotten) {
    StartVideoAndAudio();
    for (const int n : {0, 2, 1, 3, 4}) ASSERT_EQ(Send(0, n), S_OK);
    for (int n = 0; n < 5; ++n) ASSERT_EQ(Send(1, n), S_OK);
    for (const std::size_t source : {0u, 1u}) (*this)[source].end();
    Stop();
    const auto bytes = sink->file().bytes();
    EXPECT_NE(std::string(bytes.begin(), bytes.end()).find("ctts"), std::string::npos);
}

TEST_F(Recorder, SettingsAreForTheTimeBeforeTheFirstConnection) {
    const auto settings = ComPtr<IBaseFilter>(mux.get()).query<qz_MPEGSystemFilters::IMPEG4Mux>();
    ASSERT_TRUE(settings);
    EXPECT_EQ(settings->SetMoveMoovToFront(TRUE), S_OK);
    EXPECT_EQ(settings->SetSoftware(L"tool"), S_OK);
    EXPECT_EQ(settings->SetSecondSoftware(L"\u00FC"), S_OK);
    EXPECT_EQ(settings->SetDescription(L"text"), S_OK);
    EXPECT_EQ(settings->SetDescription(nullptr), E_POINTER);
    EXPECT_EQ(settings->Reserved1(), S_OK);
    EXPECT_EQ(settings->Reserved6(), E_NOTIMPL);
    EXPECT_EQ(settings->SetFlag(TRUE), S_OK);

    StartVideo();
    for (const HRESULT hr : {settings->SetMoveMoovToFront(FALSE), settings->SetSoftware(L"x"),
                             settings->SetSecondSoftware(L"x"), settings->SetDescription(L"x")})
        EXPECT_EQ(hr, E_UNEXPECTED);
    EXPECT_EQ(log.count(1,
                        L"m_inputPins.empty() || (m_inputPins.front() == nullptr) || "
                        L"!m_inputPins.front()->IsConnected()"),
              4u);
    for (int n = 0; n < 3; ++n) ASSERT_EQ(Send(0, n), S_OK);
    Stop();
    EXPECT_EQ(Layout(), "ftyp moov mdat");
    const auto bytes = sink->file().bytes();
    const std::string content(bytes.begin(), bytes.end());
    EXPECT_NE(content.find("\xA9swr\x00\x07\x15\xC7tool/\xC3\xBC", 0, 15), std::string::npos);
    EXPECT_NE(content.find("\xA9"
                           "des"),
              std::string::npos);
}

TEST_F(Recorder, ReadersFindTheirSamplesBehindAMoovThatMovedToTheFront) {
    mux->Settings().moveMoovToFront = true;
    StartVideoAndAudio();
    for (int n = 0; n < 20; ++n)
        for (const std::size_t source : {0u, 1u}) ASSERT_EQ(Send(source, n, 10 + 5 * source), S_OK);
    for (const std::size_t source : {0u, 1u}) (*this)[source].end();
    Stop();
    ASSERT_EQ(Layout(), "ftyp moov mdat");
    for (const std::uint32_t track : {0u, 1u}) {
        const auto samples = Index(track);
        ASSERT_THAT(samples, SizeIs(20));
        for (std::size_t n = 0; n < 20; ++n)
            EXPECT_EQ(Read(samples[n]), std::vector<BYTE>(10 + 5 * track, static_cast<BYTE>(100 * track + n))) << n;
    }
}

TEST_F(Recorder, AFileWhoseDataCannotBeMovedKeepsItsMoovAtTheEnd) {
    mux->Settings().moveMoovToFront = true;
    StartVideo();
    for (int n = 0; n < 5; ++n) ASSERT_EQ(Send(0, n), S_OK);
    (*this)[0].end();
    sink->file().fail(mediakit_test::stream_call::clone, 1, E_FAIL);
    Stop();
    EXPECT_EQ(log.count(1, L"Exception when finalizing the file "), 1u);
    EXPECT_EQ(Layout(), "ftyp mdat moov");
    const auto boxes = Boxes();
    EXPECT_EQ(boxes[2].offset + boxes[2].size, sink->file().bytes().size());
    const auto samples = Index(0);
    ASSERT_THAT(samples, SizeIs(5));
    EXPECT_EQ(Read(samples[4]), std::vector<BYTE>(10, 4));
}

TEST_F(Recorder, AFrameThatIsOnlyAHeaderIsInTheTablesAndNotInTheIndex) {
    CMediaType adts = mediakit_test::aac_type();
    adts.subtype = MEDIASUBTYPE_MPEG_ADTS_AAC;
    ASSERT_EQ(AddSource(adts), S_OK);
    ASSERT_EQ(ConnectSink(), S_OK);
    Play();
    int n = 0;
    for (const std::vector<std::uint8_t>& payload : {std::vector<std::uint8_t>{1, 2, 3}, {}, {4, 5}}) {
        ASSERT_EQ((*this)[0].send({mediakit_test::adts_frame(payload), n * Frame, (n + 1) * Frame, true}), S_OK);
        ++n;
    }
    (*this)[0].end();
    Stop();
    EXPECT_EQ(log.count(2, L"Failed to notify sample written, invalid size, at time 00:00:00.040_0000."), 1u);
    const auto samples = Index(0);
    ASSERT_THAT(samples, SizeIs(2));
    EXPECT_EQ(Read(samples[1]), (std::vector<BYTE>{4, 5}));
    const auto sizes = mediakit_test::make_full_box("stsz", 0, 0, mediakit_test::box_builder().words({0, 3, 3, 0, 2}));
    const auto bytes = sink->file().bytes();
    EXPECT_TRUE(Contains(bytes, sizes.bytes()));
}

TEST_F(Recorder, TheSettingsOfARunAreThoseOfItsStart) {
    StartVideoAndAudio();
    for (int n = 0; n < 20; ++n)
        for (const std::size_t source : {0u, 1u}) ASSERT_EQ(Send(source, n), S_OK);
    const std::size_t before = Index(0).size();
    ASSERT_GT(before, 0u);
    mux->Settings().interleaveDuration = 1000 * Frame;
    for (int n = 20; n < 40; ++n)
        for (const std::size_t source : {0u, 1u}) ASSERT_EQ(Send(source, n), S_OK);
    EXPECT_GT(Index(0).size(), before + 10) << "not held back for the new span";
}

TEST_F(Recorder, ASecondRunDoesNotWaitForAPinThatWasFedInTheFirst) {
    ConnectVideoAndAudio();
    Play();
    for (int n = 0; n < 3; ++n)
        for (const std::size_t source : {0u, 1u}) ASSERT_EQ(Send(source, n), S_OK);
    Stop();
    sink->file().set_bytes({});
    Play();
    for (int n = 0; n < 20; ++n) ASSERT_EQ(Send(0, n), S_OK);
    for (const std::size_t source : {0u, 1u}) (*this)[source].end();
    EXPECT_EQ(Stop(), S_OK);
    EXPECT_EQ(Layout(), "ftyp mdat moov");
    EXPECT_EQ(Boxes()[1].size, 8u + 20 * 10);
    const auto empty = mediakit_test::make_full_box("stsz", 0, 0, mediakit_test::box_builder().words({0, 0}))
                           .add(mediakit_test::make_full_box("co64", 0, 0, mediakit_test::box_builder().u32(0)));
    const auto bytes = sink->file().bytes();
    EXPECT_TRUE(Contains(bytes, empty.bytes())) << "the other track is there, without samples";
}

TEST_F(Recorder, TellsTheGraphOnceWhenEveryTrackHasASecond) {
    StartVideoAndAudio();
    for (int n = 0; n < 24; ++n) ASSERT_EQ(Send(0, n), S_OK);
    for (int n = 0; n < 40; ++n) ASSERT_EQ(Send(1, n), S_OK);
    EXPECT_THAT(graph->events(), SizeIs(0)) << "0.96 s of video";
    for (int n = 24; n < 60; ++n) ASSERT_EQ(Send(0, n), S_OK);
    for (int n = 40; n < 60; ++n) ASSERT_EQ(Send(1, n), S_OK);
    const auto events = graph->events();
    ASSERT_THAT(events, SizeIs(1));
    EXPECT_EQ(events[0].code, QZ_EC_ENOUGH_RECORDED);
    EXPECT_EQ(events[0].first, 0);
    EXPECT_EQ(events[0].second, 0);
}

TEST_F(Recorder, AStopPositionEndsTheStream) {
    StartVideo();
    LONGLONG stop = 5 * Frame;
    EXPECT_EQ(Output().SetPositions(nullptr, 0, &stop, AM_SEEKING_AbsolutePositioning), S_OK);
    EXPECT_EQ(log.count(3, L"Muxer: Stop position requested: 00:00:00.200_0000, current position: 00:00:00.000_0000"),
              1u);
    LONGLONG told = 0;
    EXPECT_EQ(Output().GetStopPosition(&told), S_OK);
    EXPECT_EQ(told, stop);
    for (int n = 0; n <= 5; ++n) EXPECT_EQ(Send(0, n), S_OK);
    EXPECT_EQ(Send(0, 6), S_FALSE);
    EXPECT_EQ(log.count(3, L"Done receiving sample -> Input_0("), 1u);
    EXPECT_THAT(Index(0), SizeIs(6));

    Input(0).NewSegment(1, MaxTime, 1.0);
    EXPECT_EQ(Send(0, 5), S_FALSE) << "the segment's start counts";
}

TEST_F(Recorder, APeerWithoutAStreamIsRefused) {
    sink->offer_stream = false;
    StartVideo();
    for (int n = 0; n < 3; ++n) EXPECT_EQ(Send(0, n), S_OK);
    EXPECT_EQ(log.count(1, L"QZLogHRESULT"), 2u) << "at each sample from the second on";
    EXPECT_THAT(Index(0), SizeIs(0));
    EXPECT_EQ(Stop(), S_OK);
}

TEST_F(Recorder, AFailedWriteCostsItsChunkAlone) {
    StartVideo();
    for (int n = 0; n < 3; ++n) ASSERT_EQ(Send(0, n), S_OK);
    sink->file().fail(mediakit_test::stream_call::write, 1, STG_E_MEDIUMFULL);
    EXPECT_EQ(Send(0, 3), S_OK);
    EXPECT_GE(log.count(1, L"QZLogHRESULT"), 1u);
    ASSERT_EQ(Send(0, 4), S_OK);
    (*this)[0].end();
    Stop();
    const auto samples = Index(0);
    ASSERT_THAT(samples, SizeIs(4));
    EXPECT_EQ(samples[3].offset, samples[2].offset + 10) << "no hole is left";
    EXPECT_EQ(Read(samples[3]), std::vector<BYTE>(10, 4));
    EXPECT_EQ(Layout(), "ftyp mdat moov");
}

TEST_F(Recorder, TheNextSampleTakesThePlaceOfOneThatBrokeOff) {
    ASSERT_EQ(AddSource(mediakit_test::avc1_type(mediakit_test::h264_units()), 100000), S_OK);
    ASSERT_EQ(ConnectSink(), S_OK);
    Play();
    for (int n = 0; n < 3; ++n) ASSERT_EQ(Send(0, n), S_OK);
    sink->file().fail(mediakit_test::stream_call::write, 2, STG_E_MEDIUMFULL);
    EXPECT_EQ(Send(0, 3, 9000), S_OK) << "its first 4096 bytes arrive, the others do not";
    for (int n = 4; n < 6; ++n) ASSERT_EQ(Send(0, n), S_OK);
    (*this)[0].end();
    Stop();
    EXPECT_EQ(Boxes()[1].size, 8u + 5 * 10);
    EXPECT_EQ(Boxes()[2].type, "moov");
    const auto samples = Index(0);
    ASSERT_THAT(samples, SizeIs(5));
    EXPECT_EQ(Read(samples[3]), std::vector<BYTE>(10, 4));
    EXPECT_EQ(Read(samples[4]), std::vector<BYTE>(10, 5)) << "moov lies behind it";
}

TEST_F(Recorder, FlushEmptiesTheQueueAndGoesOn) {
    StartVideoAndAudio();
    for (int n = 0; n < 5; ++n) ASSERT_EQ(Send(0, n), S_OK);
    EXPECT_EQ(Input(0).State().queue.size(), 5u);
    EXPECT_EQ(Input(0).BeginFlush(), S_OK);
    EXPECT_TRUE(Input(0).State().queue.empty());
    EXPECT_EQ(Send(0, 5), S_OK) << "between the flush's begin and its end";
    EXPECT_EQ(Input(0).EndFlush(), S_OK);
    EXPECT_EQ(Input(0).State().queue.size(), 1u);
}

TEST_F(Recorder, RefusesSamplesThatItCannotPlace) {
    EXPECT_EQ(Input(0).Receive(nullptr), E_POINTER);
    EXPECT_EQ(log.count(1, L"pSample != 0"), 1u);
    StartVideo();
    const auto untimed = [&] {
        ComPtr<IMediaSample> sample;
        (*this)[0].GetDeliveryBuffer(sample.put(), nullptr, nullptr, 0);
        return sample;
    }();
    EXPECT_EQ(Input(0).Receive(untimed.get()), VFW_E_SAMPLE_TIME_NOT_SET);
}

TEST_F(Recorder, ALateTypeChangeIsTakenAndLogged) {
    StartVideo();
    ASSERT_EQ(Send(0, 0), S_OK);
    const CMediaType other = mediakit_test::avc1_type(mediakit_test::h264_units(4, 3), Frame);
    EXPECT_EQ((*this)[0].send({{1}, Frame, 2 * Frame, true, false, other}), S_OK);
    EXPECT_EQ(log.count(3,
                        L"Media type has changed after receiving samples. The new type has been discarded and this "
                        L"may result in an invalid file."),
              1u);
    EXPECT_EQ(Input(0).TrackMediaType(), other);
}

TEST_F(Recorder, MediaTypeOfATrackAsReadersNeedIt) {
    CMediaType type;
    ConnectVideoAndAudio();
    EXPECT_EQ(mux->GetTrackCount(), 2);
    EXPECT_EQ(mux->GetTrackMediaType(0, &type), VFW_E_WRONG_STATE) << "stopped";
    Play();
    EXPECT_EQ(mux->GetTrackMediaType(0, &type), VFW_E_WRONG_STATE) << "no sample yet";
    ASSERT_EQ(Send(0, 0), S_OK);
    ASSERT_EQ(mux->GetTrackMediaType(0, &type), S_OK);
    EXPECT_EQ(type.subtype, MEDIASUBTYPE_AVC1);
    EXPECT_EQ(mux->GetTrackMediaType(2, &type), E_INVALIDARG);
    EXPECT_EQ(mux->GetTrackMediaType(-1, &type), E_INVALIDARG);
    EXPECT_FALSE(mux->GetBeginTime(0, nullptr));
    EXPECT_FALSE(mux->GetEndTime(0, nullptr));
    EXPECT_EQ(mux->GetSample(0, 0, 0, nullptr, nullptr), E_NOTIMPL);
}

TEST_F(Recorder, LogsWhoReads) {
    StartVideo();
    for (int n = 0; n < 3; ++n) ASSERT_EQ(Send(0, n), S_OK);
    mux->AddConsumer(0, 9, L"reader", 0, 0, nullptr);
    EXPECT_EQ(log.count(5,
                        L"AddConsumer 'reader' Input_0, 3 samples\n               firstSampleTime: "
                        L"00:00:00.000_0000 (10 bytes)\n                lastSampleTime: 00:00:00.080_0000"),
              1u);
    mux->RemoveConsumer(0, 9);
    mux->RemoveConsumer(0, 9);
    EXPECT_EQ(log.count(3, L"Removed consumer 'reader'"), 1u);
    EXPECT_EQ(mux->GetTrackPosition(0), 2 * Frame);
    LONGLONG position = 0;
    EXPECT_EQ(Output().GetCurrentPosition(&position), S_OK);
    EXPECT_EQ(position, 2 * Frame);
}

TEST_F(Recorder, KeepsStatisticsOnceAsked) {
    const auto info = ComPtr<IBaseFilter>(mux.get()).query<qz_ChannelIO::IPerformanceInfoProvider>();
    ASSERT_TRUE(info);
    const wchar_t* name = nullptr;
    EXPECT_EQ(info->GetWriterName(&name), S_OK);
    EXPECT_STREQ(name, L"MP4-Mux");
    StartVideoAndAudio();
    ASSERT_EQ(Send(0, 0, 7), S_OK);
    EXPECT_EQ(info->EnableStatistics(), S_OK);
    ASSERT_EQ(Send(0, 1, 20), S_OK);
    ASSERT_EQ(Send(0, 2, 30), S_OK);

    qz_ChannelIO::StreamStatistic statistic;
    EXPECT_EQ(info->UpdateTotals(MEDIATYPE_Video), S_OK);
    EXPECT_EQ(info->GetStatistic(MEDIATYPE_Video, &statistic), S_OK);
    EXPECT_EQ(statistic.samples, 2u);
    EXPECT_EQ(statistic.bytes, 50u);
    EXPECT_EQ(statistic.smallestSample, 20u);
    EXPECT_EQ(statistic.largestSample, 30u);
    EXPECT_EQ(statistic.firstStart, Frame);
    EXPECT_EQ(statistic.lastStop, 3 * Frame);
    EXPECT_DOUBLE_EQ(statistic.bitsPerSecond, 400 / 0.08);
    EXPECT_DOUBLE_EQ(statistic.samplesPerSecond, 25);
    std::vector<qz_ChannelIO::StreamSummary> summaries;
    EXPECT_EQ(info->GetSummaries(&summaries), S_OK);
    ASSERT_THAT(summaries, SizeIs(2));
    EXPECT_EQ(summaries[0].statistic.samples, 2u);
    EXPECT_EQ(summaries[1].majorType, MEDIATYPE_Audio);
    Input(0).NewSegment(0, MaxTime, 1.0);
    EXPECT_EQ(info->GetStatistic(MEDIATYPE_Video, &statistic), S_OK);
    EXPECT_EQ(statistic.samples, 0u);
    EXPECT_EQ(info->GetStatistic(MEDIATYPE_Stream, &statistic), S_OK);
}

/// Two sources, each on its own thread, and two readers that follow the file.
TEST_F(Recorder, RecordsAndIsReadAtTheSameTime) {
    constexpr int count = 500;
    ConnectVideoAndAudio();
    for (const std::size_t source : {0u, 1u})
        for (int n = 0; n < count; ++n)
            (*this)[source].script.push_back(
                {std::vector<BYTE>(static_cast<std::size_t>(1 + n % 200), static_cast<BYTE>(n)), n * Frame,
                 (n + 1) * Frame, true});
    std::vector<std::thread> readers;
    std::atomic<int> verified{0};
    for (const std::uint32_t track : {0u, 1u})
        readers.emplace_back([this, track, &verified] {
            const wil::unique_event abort{wil::EventOptions::ManualReset};
            mux->AddConsumer(track, track, L"reader", 0, 0, nullptr);
            std::vector<LiveSampleInfo> samples;
            int n = 0;
            while (mux->GetSamples(track, track, &samples, 60000, abort.get()) == S_OK)
                for (const LiveSampleInfo& sample : samples) {
                    const std::vector<BYTE> expected(static_cast<std::size_t>(1 + n % 200), static_cast<BYTE>(n));
                    verified += Read(sample) == expected ? 1 : 0;
                    ++n;
                }
            mux->RemoveConsumer(track, track);
        });
    Play();
    for (std::thread& reader : readers) reader.join();
    EXPECT_EQ(verified, 2 * count);
    EXPECT_TRUE((*this)[0].wait_until_done());
    EXPECT_TRUE((*this)[1].wait_until_done());
    EXPECT_EQ(Stop(), S_OK);
    EXPECT_EQ(Layout(), "ftyp mdat moov");
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters
