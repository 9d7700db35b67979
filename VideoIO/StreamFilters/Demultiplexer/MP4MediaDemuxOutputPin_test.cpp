#include "VideoIO/StreamFilters/Demultiplexer/MP4MediaDemuxOutputPin.h"

#include "MediaKit/IMediaSampleMarker.h"
#include "Platform/DirectShow/CMediaSample.h"
#include "Platform/DirectShow/CMemAllocator.h"
#include "Testing/Kit/log_capture.h"
#include "Testing/Kit/movie_tracks.h"
#include "Testing/Kit/playback.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeReaders.h"
#include "VideoIO/StreamFilters/Demultiplexer/MP4MediaDemuxFilter.h"

#include <gtest/gtest.h>

#include <limits>
#include <set>

namespace Norvane::MediaKit::Filters {
namespace {

using mediakit_test::aac_track;
using mediakit_test::box_builder;
using mediakit_test::h264_track;
using mediakit_test::log_capture;
using mediakit_test::movie_file;
using mediakit_test::playback;
using qz_DSFilters::IMediaSampleMarker;
using qz_DSFilters::IOverrideMediaType;
using qz_DSFilters::IStreamRate;
using qz_DSFilters::IVideoOrientation;
using qz_DSFilters::StreamRate;

constexpr REFERENCE_TIME kFrame = 400'000;
constexpr std::size_t kPictures = 50;
constexpr std::size_t kSounds = 90;

/// A picture every 1/25 s, of which each tenth is a sync sample, and sound.
movie_file TwoTracks() {
    movie_file file;
    file.tracks = {h264_track(kPictures, 10), aac_track(kSounds)};
    return file;
}

class DemuxOutputPin : public testing::Test {
protected:
    void Open(const movie_file& file, bool connect = true) { Open(file.bytes(), connect); }
    void Open(std::vector<BYTE> bytes, bool connect = true) {
        m_demux = new MP4MediaDemuxFilter;
        m_play = std::make_unique<playback>(ComPtr<IBaseFilter>(m_demux), std::move(bytes), connect);
        ASSERT_EQ(m_play->open_result, S_OK);
    }
    std::size_t Received(std::size_t pin) { return m_play->recorder(pin).samples().size(); }
    template <class Interface>
    ComPtr<Interface> Ask(std::size_t pin) {
        return m_play->outputs[pin].query<Interface>();
    }
    REFERENCE_TIME Position() {
        LONGLONG start = -1;
        EXPECT_EQ(m_play->seeking(0)->GetPositions(&start, nullptr), S_OK);
        return start;
    }

    MP4MediaDemuxFilter* m_demux = nullptr;
    std::unique_ptr<playback> m_play;
};

TEST_F(DemuxOutputPin, TellsItsThreadsLifeAndAsksForTheLengthOnce) {
    Open(TwoTracks());
    const int queries = m_play->reader.length_queries();
    const log_capture log;
    ASSERT_TRUE(m_play->play());
    m_play->stop();
    for (const wchar_t* pin : {L"Output_0", L"Output_1"}) {
        for (const wchar_t* text : {L"OnThreadCreate: ", L"OnThreadStartPlay: ", L"OnThreadDestroy: "})
            EXPECT_EQ(log.count(5, std::wstring(text) + pin), 1u) << pin[7] - L'0';
    }
    EXPECT_EQ(Received(0), kPictures);
    EXPECT_EQ(Received(1), kSounds);
    EXPECT_EQ(m_play->reader.length_queries(), queries + 2) << "once a stream, not once a sample";
    EXPECT_TRUE(m_play->events->events().empty());
}

TEST_F(DemuxOutputPin, AppliesOverridesToWhatItOffers) {
    movie_file file = TwoTracks();
    file.tracks[0].matrix = {0, 0x10000, 0, 0xFFFF0000, 0, 0, 0, 0, 0x40000000};
    Open(file, false);
    const auto typeOf = [&](std::size_t pin) {
        CMediaType type;
        EXPECT_EQ(m_demux->OutputPin(static_cast<int>(pin))->GetMediaType(0, &type), S_OK);
        return type;
    };
    const CMediaType before = typeOf(0);
    StreamRate rate{};
    DWORD orientation = 9;
    ASSERT_EQ(Ask<IStreamRate>(0)->GetRate(&rate), S_OK);
    EXPECT_EQ(rate.m_numerator / rate.m_denominator, 25);
    ASSERT_EQ(Ask<IVideoOrientation>(0)->GetOrientation(&orientation), S_OK);
    EXPECT_EQ(orientation, qz_DSFilters::VideoOrientation_90);

    const auto set = Ask<IOverrideMediaType>(0);
    const SIZE aspect{4, 3};
    const StreamRate half{1, 0};
    EXPECT_EQ(set->SetRate(&half), S_OK);
    ASSERT_EQ(Ask<IStreamRate>(0)->GetRate(&rate), S_OK);
    EXPECT_EQ(rate.m_numerator / rate.m_denominator, 25) << "a rate is told only whole";
    EXPECT_EQ(typeOf(0), before);
    const StreamRate other{1, 50};
    EXPECT_EQ(set->SetRate(&other), S_OK);
    EXPECT_EQ(set->SetAspectRatio(&aspect), S_OK);
    EXPECT_EQ(set->SetInterlaceFlags(5), S_OK);
    EXPECT_EQ(set->SetOrientation(qz_DSFilters::VideoOrientation_180), S_OK);
    ASSERT_EQ(Ask<IStreamRate>(0)->GetRate(&rate), S_OK);
    EXPECT_EQ(rate, other);
    ASSERT_EQ(Ask<IVideoOrientation>(0)->GetOrientation(&orientation), S_OK);
    EXPECT_EQ(orientation, qz_DSFilters::VideoOrientation_180);
    SIZE told{};
    DWORD flags = 0;
    REFERENCE_TIME interval = 0;
    const CMediaType after = typeOf(0);
    EXPECT_EQ(qz_DSFilters::GetAspectRatio(after, told), S_OK);
    EXPECT_EQ(told, aspect);
    EXPECT_EQ(qz_DSFilters::GetInterlaceFlags(after, flags), S_OK);
    EXPECT_EQ(flags, 5u);
    EXPECT_EQ(qz_DSFilters::GetAvgTimePerFrame(after, interval), S_OK);
    EXPECT_EQ(interval, 200'000);
    EXPECT_EQ(m_demux->OutputPin(0)->QueryAccept(&after), S_OK);
    EXPECT_EQ(m_demux->OutputPin(0)->QueryAccept(&before), S_FALSE);

    const CMediaType sound = typeOf(1);
    EXPECT_EQ(Ask<IOverrideMediaType>(1)->SetRate(&other), S_OK);
    ASSERT_EQ(Ask<IStreamRate>(1)->GetRate(&rate), S_OK);
    EXPECT_NE(rate, other) << "sound keeps its rate";
    CMediaType none;
    EXPECT_EQ(m_demux->OutputPin(1)->GetMediaType(1, &none), VFW_S_NO_MORE_ITEMS);
    EXPECT_EQ(m_demux->OutputPin(1)->GetMediaType(-1, &none), E_INVALIDARG);
    EXPECT_EQ(m_demux->OutputPin(1)->GetMediaType(0, nullptr), E_POINTER);
}

TEST_F(DemuxOutputPin, RestatesTimesAtTheRateThatIsSet) {
    movie_file file;
    file.tracks = {h264_track(30, 10)};
    for (auto& sample : file.tracks[0].samples) sample.duration = 3000;  // 30 a second
    Open(file);
    const StreamRate rate{25, 1};
    ASSERT_EQ(Ask<IOverrideMediaType>(0)->SetRate(&rate), S_OK);
    ASSERT_TRUE(m_play->play());
    const auto samples = m_play->recorder(0).samples();
    ASSERT_EQ(samples.size(), 30u);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const auto n = static_cast<REFERENCE_TIME>(i);
        EXPECT_EQ(samples[i].start, n * kFrame);
        EXPECT_EQ(samples[i].stop, (n + 1) * kFrame);
        EXPECT_EQ(samples[i].media_start, (n * 10'000'000 + 15) / 30) << "media times stay";
    }
}

TEST_F(DemuxOutputPin, AsksForTenBuffersOfItsLargestSample) {
    movie_file file = TwoTracks();
    Open(file);
    LONG largest = 0;
    for (const auto& sample : file.tracks[0].samples)
        largest = std::max(largest, static_cast<LONG>(sample.bytes.size()));
    ALLOCATOR_PROPERTIES properties{};
    ASSERT_EQ(m_play->recorder(0).allocator()->GetProperties(&properties), S_OK);
    EXPECT_EQ(properties.cBuffers, 10);
    EXPECT_EQ(properties.cbBuffer, largest);
    EXPECT_EQ(m_demux->OutputPin(0)->DecideBufferSize(nullptr, &properties), E_INVALIDARG);
}

TEST_F(DemuxOutputPin, ReckonsWithWhatAReaderHasNotLoadedYet) {
    movie_file file;
    file.tracks = {h264_track(1), mediakit_test::pcm_track("sowt", 100'000)};
    file.tracks[0].samples[0].bytes.resize(200'000);
    for (auto& sample : file.tracks[1].samples) sample.bytes.resize(1);
    file.tracks[1].samples.back().duration = 2;  // no groups
    std::vector<BYTE> bytes = file.bytes();
    const auto size = static_cast<LONGLONG>(bytes.size());
    bytes.resize(10'000);
    auto* const reader = new mediakit_test::memory_async_reader(bytes);
    const ComPtr<IAsyncReader> holdReader(reader);
    reader->set_pending(size - 10'000);

    auto* const demux = new MP4MediaDemuxFilter;
    const ComPtr<IBaseFilter> hold(demux);
    ASSERT_EQ(demux->SetReader(reader), S_OK);
    ASSERT_EQ(demux->OutputPinCount(), 2);
    TrackInformation told;
    ASSERT_EQ(demux->OutputPin(1)->GetTrackInformation(&told), S_OK);
    EXPECT_EQ(told.sampleCount, 100'000u);
    ComPtr<IMemAllocator> allocator;
    ASSERT_EQ(CreateMemoryAllocator(allocator.put()), S_OK);
    ALLOCATOR_PROPERTIES properties{};
    ASSERT_EQ(demux->OutputPin(0)->DecideBufferSize(allocator.get(), &properties), S_OK);
    EXPECT_EQ(properties.cbBuffer, 200'000);
}

/// One pin fails while the other plays to its end.
TEST_F(DemuxOutputPin, EndsAloneWhenItsSamplesCannotBeRead) {
    struct {
        const char* what;
        std::uint32_t size;
        std::uint32_t offset;
        HRESULT failure;
    } const cases[] = {{"larger than the file", 0x7FFFFFFF, 0, VFW_E_BUFFER_OVERFLOW},
                       {"larger than any buffer", 0xFFFFFFFF, 0, VFW_E_BUFFER_OVERFLOW},
                       {"cut off by the end of the file", 0, 0xFFFFFF00, E_FAIL}};
    for (const auto& broken : cases) {
        SCOPED_TRACE(broken.what);
        movie_file file = TwoTracks();
        file.tracks[1].samples_per_chunk = 1;
        file.replace = [&](std::string_view type, std::size_t track, const box_builder& box) {
            std::vector<std::uint8_t> bytes = box.bytes();
            if (track == 1 && type == (broken.size != 0 ? "stsz" : "stco")) {
                // The eighth value of the table.
                const std::size_t at = (broken.size != 0 ? 20 : 16) + 7 * 4;
                for (std::size_t i = 0; i < 4; ++i)
                    bytes[at + i] = static_cast<std::uint8_t>((broken.size | broken.offset) >> (24 - 8 * i));
            }
            return box_builder().add(bytes);
        };
        Open(file);
        const log_capture log;
        ASSERT_TRUE(m_play->play());
        m_play->stop();  // the event comes after the end of stream
        EXPECT_EQ(Received(0), kPictures);
        EXPECT_EQ(Received(1), 7u);
        const auto events = m_play->events->events();
        ASSERT_EQ(events.size(), 1u);
        EXPECT_EQ(events[0].code, EC_ERRORABORT);
        EXPECT_EQ(events[0].first, broken.failure);
        EXPECT_EQ(log.count(1, broken.failure == E_FAIL ? L"Error from FillBuffer, aborting 0x80004005"
                                                        : L"Error from FillBuffer, aborting 0x8004020d"),
                  1u);
    }
}

/// PCM in groups counts 4 bytes a sample; the last groups of a file with less end with it.
TEST_F(DemuxOutputPin, PlaysGroupsThatClaimMoreThanTheFileHas) {
    struct {
        const char* what;
        std::size_t sampleSize;
        std::size_t inChunk;
        std::vector<std::size_t> sizes;
    } const cases[] = {{"16-bit mono", 2, 1000, {4000, 4000, 2000}},
                       {"8-bit mono", 1, 1000, {3000, 2000, 1000}},
                       {"one group, larger than the file", 1, 3000, {3000}},
                       {"stereo", 4, 1000, {4000, 4000, 4000}}};
    for (const auto& of : cases) {
        SCOPED_TRACE(of.what);
        movie_file file;
        file.tracks = {mediakit_test::pcm_track("sowt", 3000, of.inChunk)};
        for (auto& sample : file.tracks[0].samples) sample.bytes.resize(of.sampleSize);
        const mediakit_test::built_movie built = file.build();
        Open(built.bytes);
        ASSERT_TRUE(m_play->play());
        const auto samples = m_play->recorder(0).samples();
        ASSERT_EQ(samples.size(), of.sizes.size());
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const auto at = built.bytes.begin() + static_cast<std::ptrdiff_t>(built.positions[0][i * of.inChunk]);
            const std::vector<BYTE> expected(at, at + static_cast<std::ptrdiff_t>(of.sizes[i]));
            EXPECT_EQ(samples[i].data, expected);
        }
        EXPECT_TRUE(m_play->events->events().empty());
        TrackInformation told;
        ASSERT_EQ(Ask<ITrackInformation>(0)->GetTrackInformation(&told), S_OK);
        EXPECT_EQ(told.totalBytes, 3000u * 4) << "as they count";
    }
}

TEST_F(DemuxOutputPin, EndsAloneWhenAReadFails) {
    Open(TwoTracks());
    m_play->reader.fail_read(20, E_ABORT);
    ASSERT_TRUE(m_play->play());
    ASSERT_TRUE(m_play->events->wait_for_events(1));
    ASSERT_EQ(m_play->events->events().size(), 1u);
    EXPECT_EQ(m_play->events->events()[0].code, EC_ERRORABORT);
    EXPECT_EQ(m_play->events->events()[0].first, E_ABORT) << "as the reader said";
    EXPECT_NE(Received(0) == kPictures, Received(1) == kSounds) << "one of them, whichever came twentieth";
    // The pin that failed plays again after a seek.
    ASSERT_EQ(m_play->seek(0, 0), S_OK);
    ASSERT_TRUE(m_play->wait_for_end());
    EXPECT_EQ(m_play->recorder(0).segment_samples().size(), kPictures);
    EXPECT_EQ(m_play->recorder(1).segment_samples().size(), kSounds);
}

TEST_F(DemuxOutputPin, AsksAReaderThatDoesNotTellItsLengthOnce) {
    Open(TwoTracks());
    m_play->reader.set_length_result(E_NOTIMPL);
    const int queries = m_play->reader.length_queries();
    ASSERT_TRUE(m_play->play());
    EXPECT_EQ(Received(0), kPictures);
    EXPECT_EQ(Received(1), kSounds);
    EXPECT_EQ(m_play->reader.length_queries(), queries + 2);
}

TEST_F(DemuxOutputPin, HeedsWhatTheReceiverAnswers) {
    Open(TwoTracks());
    const auto answerAtThird = [&](std::size_t pin, HRESULT answer) {
        auto& recorder = m_play->recorder(pin);
        recorder.on_receive = [&recorder, answer](IMediaSample*) {
            return recorder.samples().size() == 3 ? answer : S_OK;
        };
    };
    answerAtThird(0, E_FAIL);
    answerAtThird(1, S_FALSE);
    ASSERT_EQ(m_play->run(), S_OK);
    EXPECT_TRUE(m_play->recorder(1).wait_for_end());
    EXPECT_TRUE(m_play->recorder(0).wait_for_samples(3));
    EXPECT_EQ(m_play->stop(), S_OK);
    EXPECT_EQ(Received(0), 3u);
    EXPECT_EQ(Received(1), 3u);
    EXPECT_EQ(m_play->recorder(0).ends(), 0) << "a failed receiver hears no more";
    EXPECT_EQ(m_play->recorder(1).ends(), 1);
    EXPECT_TRUE(m_play->events->events().empty());
}

TEST_F(DemuxOutputPin, SeeksForAllAsTheMasterAlone) {
    movie_file file;
    file.tracks = {aac_track(20), h264_track(20, 5), h264_track(20, 5), aac_track(20)};
    Open(file);
    // Which pins move something, as pins are disconnected from the second on.
    const std::pair<int, std::set<std::size_t>> steps[] = {{-1, {1, 2}}, {1, {2}}, {2, {0}}, {0, {3}}, {3, {}}};
    REFERENCE_TIME at = 0;
    for (const auto& [disconnected, masters] : steps) {
        if (disconnected >= 0) m_play->disconnect(static_cast<std::size_t>(disconnected));
        for (std::size_t pin = 0; pin < file.tracks.size(); ++pin) {
            SCOPED_TRACE(std::to_string(disconnected) + " gone, pin " + std::to_string(pin));
            const bool master = masters.count(pin) != 0;
            const REFERENCE_TIME before = Position();
            EXPECT_EQ(m_play->seek(pin, at += 1000), S_OK);
            EXPECT_EQ(Position(), master ? at : before);
            const auto seeking = m_play->seeking(pin);
            EXPECT_EQ(seeking->SetTimeFormat(&GUID_NULL), master ? E_INVALIDARG : S_OK);
            double rate = 0;
            EXPECT_EQ(seeking->SetRate(static_cast<double>(at)), S_OK);
            ASSERT_EQ(seeking->GetRate(&rate), S_OK);
            EXPECT_EQ(rate == static_cast<double>(at), master);
        }
    }
}

TEST_F(DemuxOutputPin, MayBeStartedAndStoppedBetweenTheHalvesOfASeek) {
    Open(TwoTracks());
    MP4MediaDemuxOutputPin* const pin = m_demux->OutputPin(0);
    pin->StopForSeek();
    ASSERT_TRUE(m_play->play());
    pin->RestartAt(20 * kFrame);
    ASSERT_TRUE(m_play->wait_for_end());
    EXPECT_EQ(m_play->recorder(0).segment().first, 20 * kFrame);
    EXPECT_EQ(m_play->recorder(0).segment_samples().size(), kPictures - 20);

    pin->StopForSeek();
    EXPECT_TRUE(m_play->recorder(0).IsFlushing());
    m_demux->Stop();
    EXPECT_FALSE(m_play->recorder(0).IsFlushing());
    pin->RestartAt(30 * kFrame);
    ASSERT_TRUE(m_play->play());
    EXPECT_EQ(m_play->recorder(0).segment().first, 30 * kFrame);
    EXPECT_EQ(m_play->recorder(0).segment_samples().size(), kPictures - 30);
}

TEST_F(DemuxOutputPin, KeepsTheStopPositionForTheNextSegment) {
    Open(TwoTracks());
    LONGLONG stop = 4 * kFrame;
    ASSERT_EQ(m_play->seeking(0)->SetPositions(nullptr, 0, &stop, AM_SEEKING_AbsolutePositioning), S_OK);
    ASSERT_TRUE(m_play->play());
    EXPECT_EQ(m_play->recorder(0).segment(), std::pair(REFERENCE_TIME{0}, 4 * kFrame));
    EXPECT_EQ(Received(0), kPictures) << "told, not kept to";
    LONGLONG duration = 0;
    ASSERT_EQ(m_play->seeking(1)->GetDuration(&duration), S_OK);
    EXPECT_EQ(duration, 20'000'000) << "the pictures' two seconds";
}

TEST_F(DemuxOutputPin, TakesAStartAndAStopAtOnceAndDistances) {
    constexpr DWORD kAbsolute = AM_SEEKING_AbsolutePositioning;
    constexpr DWORD kRelative = AM_SEEKING_RelativePositioning;
    constexpr REFERENCE_TIME kNever = std::numeric_limits<REFERENCE_TIME>::max();
    Open(TwoTracks());
    const auto seeking = m_play->seeking(0);
    EXPECT_EQ(seeking->SetRate(2.0), S_OK);
    const struct {
        LONGLONG start;
        DWORD startFlags;
        LONGLONG stop;
        DWORD stopFlags;
        std::pair<LONGLONG, LONGLONG> told;
        std::pair<REFERENCE_TIME, REFERENCE_TIME> segment;
    } steps[] = {
        // A stop that comes with a start waits for one that comes alone.
        {5 * kFrame, kAbsolute, 30 * kFrame, kAbsolute, {5 * kFrame, 30 * kFrame}, {5 * kFrame, kNever}},
        {7 * kFrame,
         kRelative,
         10 * kFrame,
         AM_SEEKING_IncrementalPositioning,
         {12 * kFrame, 22 * kFrame},
         {12 * kFrame, kNever}},
        {0, 0, kFrame, kRelative, {12 * kFrame, 23 * kFrame}, {12 * kFrame, 23 * kFrame}},
        {-2 * kFrame, kRelative, 0, 0, {10 * kFrame, 23 * kFrame}, {10 * kFrame, 23 * kFrame}},
    };
    for (auto step : steps) {
        ASSERT_EQ(seeking->SetPositions(&step.start, step.startFlags, &step.stop, step.stopFlags), S_OK);
        std::pair<LONGLONG, LONGLONG> told;
        ASSERT_EQ(m_play->seeking(1)->GetPositions(&told.first, &told.second), S_OK);
        EXPECT_EQ(told, step.told);
        ASSERT_TRUE(m_play->play());
        for (std::size_t pin = 0; pin < 2; ++pin) {
            EXPECT_EQ(m_play->recorder(pin).segment(), step.segment);
            EXPECT_EQ(m_play->recorder(pin).segment_rate(), 1.0) << "a rate is kept, not told";
        }
        EXPECT_EQ(m_play->recorder(0).segment_samples().size(), kPictures - step.told.first / (10 * kFrame) * 10);
        m_play->stop();
    }
}

TEST_F(DemuxOutputPin, SeeksToTheEndsOfTheRange) {
    constexpr REFERENCE_TIME highest = std::numeric_limits<REFERENCE_TIME>::max();
    constexpr REFERENCE_TIME lowest = std::numeric_limits<REFERENCE_TIME>::min();
    const struct {
        DWORD flags;
        LONGLONG to;
        REFERENCE_TIME start;
        std::size_t pictures;
        std::size_t sounds;
    } steps[] = {{AM_SEEKING_AbsolutePositioning, highest, highest, 10, 1},
                 {AM_SEEKING_RelativePositioning, highest, highest, 10, 1},
                 {AM_SEEKING_RelativePositioning, lowest, -1, kPictures, kSounds},
                 {AM_SEEKING_RelativePositioning, lowest, lowest, kPictures, kSounds},
                 {AM_SEEKING_AbsolutePositioning, lowest, lowest, kPictures, kSounds},
                 {AM_SEEKING_RelativePositioning, lowest, lowest, kPictures, kSounds}};
    Open(TwoTracks());
    ASSERT_TRUE(m_play->play());
    for (auto step : steps) {
        SCOPED_TRACE(testing::Message() << step.to << " from " << Position());
        ASSERT_EQ(m_play->seeking(0)->SetPositions(&step.to, step.flags, nullptr, 0), S_OK);
        ASSERT_TRUE(m_play->wait_for_end());
        EXPECT_EQ(m_play->recorder(0).segment().first, step.start);
        EXPECT_EQ(m_play->recorder(0).segment_samples().size(), step.pictures);
        EXPECT_EQ(m_play->recorder(1).segment_samples().size(), step.sounds);
        REFERENCE_TIME nearest = -1;
        EXPECT_EQ(m_demux->GetNearestSyncPoint(step.start, 1, &nearest), S_OK);
        EXPECT_EQ(nearest, step.start == highest ? 40 * kFrame : 0);
    }
    EXPECT_TRUE(m_play->events->events().empty());
}

TEST_F(DemuxOutputPin, StopsAllPinsOfASeekBeforeItStartsTheFirst) {
    Open(TwoTracks());
    ASSERT_TRUE(m_play->play());
    std::vector<std::pair<std::size_t, bool>> flushes;  // written by the thread that seeks
    for (std::size_t pin = 0; pin < 2; ++pin)
        m_play->recorder(pin).on_flush = [&flushes, pin](bool begins) { flushes.emplace_back(pin, begins); };
    ASSERT_EQ(m_play->seek(0, 20 * kFrame), S_OK);
    ASSERT_TRUE(m_play->wait_for_end());
    EXPECT_EQ(flushes, (decltype(flushes){{0, true}, {1, true}, {0, false}, {1, false}}));
}

TEST_F(DemuxOutputPin, FindsTheNearestSyncPoint) {
    movie_file file = TwoTracks();
    struct {
        bool sync;
        REFERENCE_TIME start;
        REFERENCE_TIME time;
        int frames;
        REFERENCE_TIME nearest;
    } const cases[] = {
        // Sync samples are ten frames apart. One at exactly the time counts where the pin starts there, too.
        {true, 0, -5, 0, 0},
        {true, 0, 10 * kFrame, 0, 0},
        {true, 0, 10 * kFrame + 1, 0, 10 * kFrame},
        {true, 0, 1'000'000'000, 0, 40 * kFrame},
        {true, 20 * kFrame, 20 * kFrame, 0, 20 * kFrame},
        {true, 20 * kFrame, 10 * kFrame, 0, 0},
        // Units of the timescale, from the pin's start; the time plays no part.
        {true, 0, 1'000'000'000, 36'001, 10 * kFrame},
        {true, 20 * kFrame, 0, 36'000, 20 * kFrame},
        {true, 20 * kFrame, 30 * kFrame, -1, 20 * kFrame},
        // Without a table of sync samples every picture will do.
        {false, 20 * kFrame, 7 * kFrame, 36'000, 7 * kFrame},
        {false, 0, 7 * kFrame - 1'000, 0, 6 * kFrame},
        {false, 0, -1'000'000, 0, 0},
        {false, 0, 1'000'000'000, 0, 49 * kFrame},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.sync << " " << c.start << " " << c.time << " " << c.frames);
        file.tracks[0].with_stss = c.sync;
        Open(file);
        ASSERT_EQ(m_play->seek(0, c.start), S_OK);
        REFERENCE_TIME nearest = -1;
        EXPECT_EQ(m_demux->GetNearestSyncPoint(c.time, c.frames, &nearest), S_OK);
        EXPECT_EQ(nearest, c.nearest);
    }
    REFERENCE_TIME nearest = -1;
    m_play->disconnect(0);
    EXPECT_EQ(m_demux->GetNearestSyncPoint(0, 0, &nearest), E_FAIL);
}

/// A sample with room for marks.
class MarkedSample final : public CMediaSample, public IMediaSampleMarker {
public:
    MarkedSample(BYTE* buffer, LONG size) : CMediaSample("marked", nullptr, nullptr, buffer, size) { AddRef(); }
    HRESULT QueryInterface(REFIID riid, void** ppv) override {
        if (riid == qz_DSFilters::IID_IMediaSampleMarker) return GetInterface<IMediaSampleMarker>(this, ppv);
        return CMediaSample::QueryInterface(riid, ppv);
    }
    ULONG AddRef() override { return CMediaSample::AddRef(); }
    ULONG Release() override { return CMediaSample::Release(); }
    HRESULT SetMarkerValue(DWORD) override { return E_UNEXPECTED; }
    DWORD GetMarkerValue() override { return 0; }
    HRESULT SetMarkerOffset(REFERENCE_TIME offset) override {
        offsets.push_back(offset);
        return S_OK;
    }
    REFERENCE_TIME GetMarkerOffset() override { return 0; }
    HRESULT SetMarkerTime(REFERENCE_TIME) override { return E_UNEXPECTED; }
    REFERENCE_TIME GetMarkerTime() override { return 0; }

    // The read request is in the times as well, and must get through.
    HRESULT SetTime(REFERENCE_TIME* start, REFERENCE_TIME* stop) override {
        CMediaSample::SetTime(start, stop);
        return ++m_times % 2 == 0 ? stamp_result : S_OK;
    }
    HRESULT SetMediaTime(LONGLONG*, LONGLONG*) override { return stamp_result; }
    HRESULT SetSyncPoint(BOOL) override { return stamp_result; }
    HRESULT SetPreroll(BOOL) override { return stamp_result; }

    std::vector<REFERENCE_TIME> offsets;
    HRESULT stamp_result = S_OK;

private:
    int m_times = 0;
};

TEST_F(DemuxOutputPin, MarksTheFirstSampleOfASegmentWithItsDistance) {
    Open(TwoTracks());
    ASSERT_EQ(m_play->seek(0, 13 * kFrame), S_OK);
    MP4MediaDemuxOutputPin* const pin = m_demux->OutputPin(0);
    std::vector<BYTE> buffer(4096);
    MarkedSample sample(buffer.data(), static_cast<LONG>(buffer.size()));
    for (int segment = 0; segment < 2; ++segment) {
        pin->OnThreadStartPlay();
        for (int i = 0; i < 3; ++i) ASSERT_EQ(pin->FillBuffer(&sample), S_OK);
    }
    EXPECT_EQ(sample.offsets, (std::vector<REFERENCE_TIME>{3 * kFrame, 3 * kFrame}));

    const log_capture log;
    sample.stamp_result = E_NOTIMPL;
    EXPECT_EQ(pin->FillBuffer(&sample), S_OK) << "the data are what counts";
    EXPECT_EQ(log.count(1, L"QZLogHRESULT: "), 4u);
}

TEST_F(DemuxOutputPin, TellsOfItsTrack) {
    movie_file file = TwoTracks();
    file.tracks[0].edits = {{2000, 7200}};
    Open(file, false);
    std::uint64_t bytes = 0;
    for (const auto& sample : file.tracks[0].samples) bytes += sample.bytes.size();
    TrackInformation told;
    ASSERT_EQ(Ask<ITrackInformation>(0)->GetTrackInformation(&told), S_OK);
    EXPECT_EQ(told.trackId, 1u);
    EXPECT_EQ(told.handler, 0x76696465u);
    EXPECT_EQ(told.sampleEntry, 0x61766331u);
    EXPECT_EQ(told.timescale, 90'000u);
    EXPECT_EQ(told.sampleCount, kPictures);
    EXPECT_EQ(told.syncSampleCount, kPictures / 10);
    EXPECT_EQ(told.totalBytes, bytes);
    EXPECT_EQ(told.duration, kPictures * kFrame);
    EXPECT_EQ(told.presentation, kPictures * kFrame);
    EXPECT_EQ(told.edit, 7200);
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters
