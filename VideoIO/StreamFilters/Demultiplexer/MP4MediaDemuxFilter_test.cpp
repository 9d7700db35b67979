#include "VideoIO/StreamFilters/Demultiplexer/MP4MediaDemuxFilter.h"

#include "MediaKit/ITrackInformation.h"
#include "MediaKit/Results.h"
#include "Platform/DirectShow/IEnumPins.h"
#include "Platform/Kernel/Event.h"
#include "Testing/Kit/failing_new.h"
#include "Testing/Kit/log_capture.h"
#include "Testing/Kit/movie_tracks.h"
#include "Testing/Kit/playback.h"
#include "VideoIO/StreamFilters/Demultiplexer/MP4MediaDemuxOutputPin.h"
#include "VideoIO/StreamFilters/Demultiplexer/MP4MediaDemuxSeeking.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <future>
#include <stdexcept>
#include <string>

namespace Norvane::MediaKit::Filters {
namespace {

using mediakit_test::aac_track;
using mediakit_test::box_builder;
using mediakit_test::fake;
using mediakit_test::h264_track;
using mediakit_test::log_capture;
using mediakit_test::make_full_box;
using mediakit_test::memory_async_reader;
using mediakit_test::movie_file;
using mediakit_test::movie_track;
using mediakit_test::reader_output;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

using Bytes = std::vector<BYTE>;

movie_file VideoAndAudio() {
    movie_file movie;
    movie.tracks = {h264_track(5), aac_track(10)};
    return movie;
}

movie_track TextTrack() {
    movie_track track = aac_track(1);
    track.handler = "text";
    return track;
}

movie_track UnknownTrack() {
    movie_track track = aac_track(1);
    track.entry = mediakit_test::audio_entry("zzzz", 2, 16, 48000);
    return track;
}

/// Calls back before each read.
class ProbingReader final : public CUnknown, public IAsyncReader {
public:
    ProbingReader(const Bytes& bytes, std::function<void()> probe)
        : m_reader(new memory_async_reader(bytes)), m_probe(std::move(probe)) {}

    DECLARE_IUNKNOWN
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override {
        if (riid == IID_IAsyncReader) return GetInterface<IAsyncReader>(this, ppv);
        return CUnknown::NonDelegatingQueryInterface(riid, ppv);
    }
    HRESULT RequestAllocator(IMemAllocator*, ALLOCATOR_PROPERTIES*, IMemAllocator**) override { return E_NOTIMPL; }
    HRESULT Request(IMediaSample*, DWORD_PTR) override { return E_NOTIMPL; }
    HRESULT WaitForNext(DWORD, IMediaSample**, DWORD_PTR*) override { return E_NOTIMPL; }
    HRESULT SyncReadAligned(IMediaSample*) override { return E_NOTIMPL; }
    HRESULT SyncRead(LONGLONG position, LONG length, BYTE* buffer) override {
        m_probe();
        return m_reader->SyncRead(position, length, buffer);
    }
    HRESULT Length(LONGLONG* total, LONGLONG* available) override { return m_reader->Length(total, available); }
    HRESULT BeginFlush() override { return S_OK; }
    HRESULT EndFlush() override { return S_OK; }

private:
    const ComPtr<IAsyncReader> m_reader;
    const std::function<void()> m_probe;
};

ULONG CountOf(IUnknown* object) {
    object->AddRef();
    return object->Release();
}

class MP4MediaDemuxFilterTest : public testing::Test {
protected:
    ~MP4MediaDemuxFilterTest() override { Disconnect(); }

    ComPtr<IPin> Input() { return mediakit_test::pins_of(&Demux(), PINDIR_INPUT).at(0); }
    HRESULT Connect(ComPtr<IAsyncReader> reader) {
        m_source->reader = std::move(reader);
        return m_source->Connect(Input().get(), nullptr);
    }
    HRESULT Open(const Bytes& bytes) { return Connect(new memory_async_reader(bytes)); }
    void Disconnect() {
        Input()->Disconnect();
        m_source->Disconnect();
        m_source->reader.reset();
    }
    MP4MediaDemuxFilter& Demux() { return *m_demux; }
    std::vector<ReadingFinding> Findings() {
        std::vector<ReadingFinding> findings;
        EXPECT_EQ(m_hold.query<IReadingReport>()->GetFindings(&findings), S_OK);
        return findings;
    }
    std::vector<std::wstring> Excluding() {
        std::vector<std::wstring> texts;
        for (const ReadingFinding& finding : Findings())
            if (finding.excludes) texts.push_back(finding.text);
        return texts;
    }
    std::vector<std::wstring> PinNames() {
        std::vector<std::wstring> names;
        for (int i = 0; i < Demux().GetPinCount(); ++i) names.push_back(Demux().GetPin(i)->Name());
        return names;
    }
    LONGLONG SampleCount(int pin) {
        if (Demux().OutputPin(pin) == nullptr) return -1;
        TrackInformation information;
        Demux().OutputPin(pin)->GetTrackInformation(&information);
        return static_cast<LONGLONG>(information.sampleCount);
    }

    MP4MediaDemuxFilter* const m_demux = new MP4MediaDemuxFilter;
    const ComPtr<IBaseFilter> m_hold{m_demux};
    fake<reader_output> m_source{L"reader"};
};

TEST_F(MP4MediaDemuxFilterTest, OnePinForEachPlayableTrackInFrontOfTheInput) {
    EXPECT_THAT(PinNames(), ElementsAre(L"Input"));
    EXPECT_FALSE(Demux().IsStreamingOptimized());
    ComPtr<IEnumPins> early;
    Demux().EnumPins(early.put());

    movie_file movie = VideoAndAudio();
    movie.tracks.insert(movie.tracks.begin(), TextTrack());
    movie.tracks.insert(movie.tracks.begin() + 2, UnknownTrack());
    ASSERT_EQ(Open(movie.bytes()), S_OK);
    EXPECT_THAT(PinNames(), ElementsAre(L"Output_0", L"Output_1", L"Input"));
    EXPECT_EQ(Demux().GetPin(3), nullptr);
    EXPECT_EQ(Demux().GetPin(-1), nullptr);
    EXPECT_TRUE(Demux().OutputPin(0)->IsVideo());
    EXPECT_TRUE(Demux().OutputPin(1)->IsAudio());
    EXPECT_TRUE(Demux().IsStreamingOptimized());
    ComPtr<IPin> pin;
    EXPECT_EQ(early->Next(1, pin.put(), nullptr), VFW_E_ENUM_OUT_OF_SYNC);
    for (const wchar_t* const id : {L"Output_1", L"2"}) {
        EXPECT_EQ(Demux().FindPin(id, pin.put()), S_OK);
        EXPECT_EQ(pin.get(), static_cast<IPin*>(Demux().OutputPin(1)));
    }
    LONGLONG duration = 0;
    Demux().Seeking()->GetDuration(&duration);
    EXPECT_EQ(duration, 2'000'000);  // five pictures, 25 a second
}

TEST_F(MP4MediaDemuxFilterTest, WhatCannotBeOpened) {
    movie_file refused = VideoAndAudio();
    refused.tracks[1] = h264_track(2);
    refused.tracks[1].entry = mediakit_test::visual_entry("av01", 16, 16);
    Bytes broken = VideoAndAudio().bytes();
    broken.resize(200);
    const struct {
        const char* what;
        ComPtr<IAsyncReader> reader;
        HRESULT hr;
        std::vector<log_capture::message> messages;  ///< all, by what they hold
    } kCases[] = {
        {"no reader", nullptr, E_UNEXPECTED, {{1, L"pReader != nullptr"}}},
        {"empty", new memory_async_reader({}), QZ_E_UNSUPPORTED_FORMAT, {{2, L"mp4_check: moov box not found."}}},
        {"broken",
         new memory_async_reader(broken),
         QZ_E_UNSUPPORTED_FORMAT,
         {{1, L"Unsupported format, failed to set reader: Attempting to read past current chunk "}}},
        {"throws",
         new ProbingReader(broken, [] { throw std::runtime_error("no disk"); }),
         QZ_E_UNSUPPORTED_FORMAT,
         {{1, L"Unsupported format, failed to set reader: no disk"}}},
        {"a track that refuses the file",
         new memory_async_reader(refused.bytes()),
         QZ_E_UNSUPPORTED_FORMAT,
         {{3, L"mp4_check: found 1 mdat box(es)."}, {2, L"Unknown top-level box av01, continuing parsing."}}},
    };
    for (const auto& file : kCases) {
        const log_capture log;
        EXPECT_EQ(Connect(file.reader), file.hr) << file.what;
        EXPECT_EQ(log.messages().size(), file.messages.size()) << file.what;
        for (const auto& [level, text] : file.messages) EXPECT_EQ(log.count(level, text), 1u) << file.what;
        EXPECT_FALSE(Demux().GetPin(Demux().OutputPinCount())->IsConnected());
    }
    double date = 0;
    EXPECT_EQ(Demux().GetCreationTime(&date), S_OK) << "the boxes of what was opened last are there";
    const int before = Demux().OutputPinCount();
    EXPECT_EQ(Open(VideoAndAudio().bytes()), S_OK);
    EXPECT_EQ(Demux().OutputPinCount(), before + 2);
}

TEST_F(MP4MediaDemuxFilterTest, NothingToPlayIsNoFailure) {
    movie_file movie;
    movie.tracks = {TextTrack(), UnknownTrack()};
    EXPECT_EQ(Open(movie.bytes()), S_OK);
    EXPECT_THAT(PinNames(), ElementsAre(L"Input"));
}

TEST_F(MP4MediaDemuxFilterTest, CreationTime) {
    double date = 0;
    EXPECT_EQ(Demux().GetCreationTime(&date), E_UNEXPECTED);
    Open({});
    EXPECT_EQ(Demux().GetCreationTime(&date), E_FAIL);
    movie_file movie = VideoAndAudio();
    movie.replace = mediakit_test::without_box("mvhd");
    Open(movie.bytes());
    EXPECT_EQ(Demux().GetCreationTime(&date), E_FAIL);
    movie.replace = [](std::string_view type, std::size_t, const box_builder& box) {
        if (type != "mvhd") return box;
        return make_full_box("mvhd", 0, 0, box_builder().u32(3'786'955'200).u32(0).u32(1000).zeros(84));
    };
    // What was read of a file that breaks off behind its `moov` tells as well.
    Bytes bytes = movie.bytes();
    mediakit_test::append(bytes, mediakit_test::make_lying_box(100, "free").bytes());
    for (const HRESULT hr : {QZ_E_UNSUPPORTED_FORMAT, S_OK}) {
        EXPECT_EQ(Open(hr == S_OK ? movie.bytes() : bytes), hr);
        date = 0;
        EXPECT_EQ(Demux().GetCreationTime(&date), S_OK);
        EXPECT_EQ(date, 45292.5);  // 2024-01-01, noon
    }
}

TEST_F(MP4MediaDemuxFilterTest, TheReaderStaysWhileTheFilterPlays) {
    const ComPtr<IAsyncReader> first(new memory_async_reader(VideoAndAudio().bytes()));
    ASSERT_EQ(Connect(first), S_OK);
    ASSERT_EQ(Demux().Pause(), S_OK);
    EXPECT_EQ(Demux().SetReader(ComPtr<IAsyncReader>(new memory_async_reader({})).get()), VFW_E_NOT_STOPPED);
    EXPECT_EQ(Demux().Reader(), first.get());
    double date = 0;
    EXPECT_EQ(Demux().GetCreationTime(&date), S_OK) << "the boxes stay as well";
    ASSERT_EQ(Demux().Stop(), S_OK);
    EXPECT_EQ(Demux().SetReader(first.get()), S_OK);
}

// What is being made is nobody's to find: it may yet be deleted.
TEST_F(MP4MediaDemuxFilterTest, PinsAreFoundWhenTheyAreWhole) {
    movie_file movie = VideoAndAudio();
    movie.tracks.push_back(UnknownTrack());
    std::vector<int> counts;
    const auto probe = [&] {
        const int count = Demux().OutputPinCount();
        if (counts.empty() || counts.back() != count) counts.push_back(count);
        EXPECT_EQ(static_cast<int>(mediakit_test::pins_of(&Demux(), PINDIR_OUTPUT).size()), count);
        EXPECT_STREQ(Demux().GetPin(count)->Name(), L"Input");
        EXPECT_EQ(Demux().OutputPin(count), nullptr);
        ComPtr<IPin> pin;
        EXPECT_EQ(Demux().FindPin(std::to_wstring(count + 1).c_str(), pin.put()), VFW_E_NOT_FOUND);
    };
    ASSERT_EQ(Connect(new ProbingReader(movie.bytes(), probe)), S_OK);
    EXPECT_THAT(counts, ElementsAre(0, 1, 2)) << "while the file is read for a pin, that is not there";
}

// All that may fail for want of memory while a file is opened, and the seeking object most of all: its pins ask for it
// again.
TEST_F(MP4MediaDemuxFilterTest, OpeningWithoutMemory) {
    const log_capture quiet(0);
    const Bytes bytes = VideoAndAudio().bytes();
    ASSERT_EQ(Open(bytes), S_OK);  // what the process makes once, such as the table of events, is there from now on
    int withoutSeeking = 0;
    bool failed = true;
    for (int n = 1; failed; ++n) {
        auto* const demux = new MP4MediaDemuxFilter;
        const ComPtr<IBaseFilter> hold(demux);
        const ComPtr<IAsyncReader> reader(new memory_async_reader(bytes));
        HRESULT hr = E_UNEXPECTED;
        {
            const mediakit_test::failing_new failure(n);
            hr = demux->SetReader(reader.get());
            failed = failure.happened();
        }
        ASSERT_TRUE(hr == S_OK || hr == E_OUTOFMEMORY || hr == QZ_E_UNSUPPORTED_FORMAT) << std::hex << hr;
        EXPECT_TRUE(failed || hr == S_OK);
        if (hr != E_OUTOFMEMORY) continue;
        ++withoutSeeking;
        ASSERT_EQ(demux->OutputPinCount(), 2);
        LONGLONG duration = 0;
        {
            const mediakit_test::failing_new failure(1);
            EXPECT_EQ(demux->OutputPin(0)->GetDuration(&duration), E_OUTOFMEMORY);
        }
        EXPECT_EQ(demux->OutputPin(0)->GetDuration(&duration), S_OK);
    }
    EXPECT_GE(withoutSeeking, 1);
}

TEST_F(MP4MediaDemuxFilterTest, ASecondConnectionKeepsThePinsOfTheFirst) {
    const ComPtr<IAsyncReader> first(new memory_async_reader(VideoAndAudio().bytes()));
    ASSERT_EQ(Connect(first), S_OK);
    Disconnect();
    EXPECT_EQ(Demux().Reader(), first.get());
    EXPECT_TRUE(Demux().IsStreamingOptimized());

    movie_file other;
    other.tracks = {aac_track(3)};
    other.moov_first = false;
    const ComPtr<IAsyncReader> second(new memory_async_reader(other.bytes()));
    ASSERT_EQ(Connect(second), S_OK);
    EXPECT_EQ(Demux().Reader(), second.get());
    EXPECT_EQ(CountOf(first.get()), 1u) << "nothing holds on to the first";
    EXPECT_THAT(PinNames(), ElementsAre(L"Output_0", L"Output_1", L"Output_2", L"Input"));
    EXPECT_EQ(SampleCount(0), 5);
    EXPECT_EQ(SampleCount(2), 3);
    EXPECT_FALSE(Demux().IsStreamingOptimized());
    Disconnect();

    // Without media data the order is as it was.
    ASSERT_EQ(Open(VideoAndAudio().bytes()), S_OK);
    Disconnect();
    other.fragments.samples = 10;
    other.replace = mediakit_test::without_box("moof");
    Bytes bytes = other.bytes();
    const std::string_view media = "mdat";
    bytes.resize(static_cast<std::size_t>(std::search(bytes.begin(), bytes.end(), media.begin(), media.end()) -
                                          bytes.begin() - 4));
    ASSERT_EQ(Open(bytes), S_OK);
    EXPECT_TRUE(Demux().IsStreamingOptimized());
}

TEST_F(MP4MediaDemuxFilterTest, ChoicesAreMadeWhileTheInputIsFree) {
    const auto policy = m_hold.query<IReadingPolicy>();
    ASSERT_TRUE(policy);
    movie_file movie = VideoAndAudio();
    movie.fragments.samples = 5;
    movie.replace = [](std::string_view type, std::size_t, const box_builder& box) {
        return type == "moof" ? box_builder().add(mediakit_test::make_box("styp")).add(box) : box;
    };
    const Bytes bytes = movie.bytes();
    EXPECT_EQ(Open(bytes), S_OK);
    EXPECT_EQ(Demux().OutputPinCount(), 0) << "tracks without samples are left out";
    const ReadingOptions skipping{.skipSegmentBoxes = true};
    EXPECT_EQ(policy->SetOptions(&skipping), VFW_E_ALREADY_CONNECTED);
    Disconnect();
    EXPECT_EQ(policy->SetOptions(&skipping), S_OK);
    EXPECT_EQ(Open(bytes), S_OK);
    ASSERT_EQ(Demux().OutputPinCount(), 2);
    EXPECT_EQ(SampleCount(1), 10);
    Disconnect();
    ReadingOptions options;
    EXPECT_EQ(policy->GetOptions(&options), S_OK);
    EXPECT_TRUE(options.skipSegmentBoxes);
    EXPECT_EQ(policy->SetOptions(nullptr), E_POINTER);
    options = {};
    EXPECT_EQ(policy->SetOptions(&options), S_OK);
    EXPECT_EQ(Open(bytes), S_OK);
    EXPECT_EQ(Demux().OutputPinCount(), 2) << "off again";
}

TEST_F(MP4MediaDemuxFilterTest, LeavesOutBrokenPartsWhenAsked) {
    movie_file movie = VideoAndAudio();
    movie.fragments.samples = 5;
    const Bytes whole = movie.bytes();
    const Bytes cut(whole.begin(), whole.end() - 20);  // in the last `mdat`, which may be cut
    movie.replace = [](std::string_view type, std::size_t n, const box_builder& box) {
        if (type == "mdhd" && n == 0) return mediakit_test::make_full_box("mdhd", 9, 0, box_builder().zeros(20));
        return box;
    };
    const Bytes brokenTrack = movie.bytes();
    movie.replace = [](std::string_view type, std::size_t n, const box_builder& box) {
        if (type == "trun" && n == 1) return mediakit_test::make_full_box("trun", 0, 0x100, box_builder().u32(9));
        return box;
    };
    const Bytes brokenFragment = movie.bytes();
    movie.replace = nullptr;
    movie_file defaults = movie;
    defaults.fragments.samples_in_moov = 2;
    defaults.replace = [](std::string_view type, std::size_t n, const box_builder& box) {
        return type == "trex" && n == 1 ? mediakit_test::make_full_box("trex", 0, 0, box_builder().u32(2)) : box;
    };
    const Bytes brokenDefaults = defaults.bytes();
    Bytes brokenEnd = whole;
    const Bytes tail = mediakit_test::make_lying_box(100, "free").bytes();
    brokenEnd.insert(brokenEnd.end(), tail.begin(), tail.end());

    const auto policy = m_hold.query<IReadingPolicy>();
    int pins = 0;
    const auto expect = [&](const Bytes& bytes, const char* what, int lenient) {
        ReadingOptions options;
        ASSERT_EQ(policy->SetOptions(&options), S_OK);
        EXPECT_EQ(Open(bytes), QZ_E_UNSUPPORTED_FORMAT) << what;
        Disconnect();
        pins = Demux().OutputPinCount();  // those made before the break stay
        options.skipBrokenParts = true;
        ASSERT_EQ(policy->SetOptions(&options), S_OK);
        EXPECT_EQ(Open(bytes), S_OK) << what;
        Disconnect();
        EXPECT_EQ(Demux().OutputPinCount() - pins, lenient) << what;
    };
    expect(brokenTrack, "a track of a version that is not known", 1);
    expect(brokenFragment, "runs of one track that are longer than their boxes", 1);
    expect(brokenEnd, "a box that is longer than the file", 2);
    expect(brokenDefaults, "defaults that are longer than their box", 2);
    EXPECT_EQ(SampleCount(pins), 2) << "those of `moov`";
    EXPECT_EQ(Open(cut), S_OK);
}

// A disk that fails must not look like a short file.
TEST_F(MP4MediaDemuxFilterTest, FailedReadRefusesTheFile) {
    const log_capture log(0);
    movie_file movie = VideoAndAudio();
    movie.fragments.samples = 3;
    const Bytes bytes = movie.bytes();
    const auto policy = m_hold.query<IReadingPolicy>();
    for (const bool lenient : {false, true}) {
        const ReadingOptions options{.skipBrokenParts = lenient};
        ASSERT_EQ(policy->SetOptions(&options), S_OK);
        auto* const whole = new memory_async_reader(bytes);
        ASSERT_EQ(Connect(whole), S_OK);
        const int reads = whole->reads();
        ASSERT_GT(reads, 10);
        Disconnect();
        for (int n = 1; n <= reads; ++n) {
            auto* const reader = new memory_async_reader(bytes);
            reader->fail_read(n, STG_E_ACCESSDENIED);
            ASSERT_EQ(Connect(reader), STG_E_ACCESSDENIED) << "read " << n;
            ASSERT_THAT(Findings(), Not(IsEmpty()));
            EXPECT_TRUE(Findings().back().excludes);
            EXPECT_THAT(Findings().back().text, testing::StartsWith(L"cannot read the file at byte "));
        }
        EXPECT_EQ(Open(bytes), S_OK);
        EXPECT_THAT(Excluding(), IsEmpty());
        Disconnect();
    }
}

TEST_F(MP4MediaDemuxFilterTest, FindingsAreThoseOfTheLastConnection) {
    const log_capture quiet(0);
    EXPECT_THAT(Findings(), IsEmpty());
    EXPECT_EQ(m_hold.query<IReadingReport>()->GetFindings(nullptr), E_POINTER);
    movie_file movie = VideoAndAudio();
    movie.tracks.push_back(TextTrack());
    movie.tracks.push_back(UnknownTrack());
    movie.tracks.push_back(aac_track(1));
    movie.tracks.back().entry = box_builder();
    movie.tracks.push_back(aac_track(1));
    movie.tracks.back().entry = mediakit_test::audio_entry("ac-3", 2, 16, 0);
    movie.replace = [](std::string_view type, std::size_t track, const box_builder& box) {
        if (type == "stts" && track == 0) return box_builder();
        if (type == "mdhd" && track == 1) return make_full_box("mdhd", 0, 0, box_builder().zeros(20));
        return box;
    };
    ASSERT_EQ(Open(movie.bytes()), S_OK);
    EXPECT_THAT(Excluding(), ElementsAre(L"track 1 has samples and no decoding times", L"track 2 has a timescale of 0",
                                         L"Ignored track text", L"track 4 has a sample entry of unknown type zzzz",
                                         L"track 5 has no sample entry", L"track 6 cannot be read: error 0x80004005"));
    const std::vector<ReadingFinding> findings = Findings();
    const auto unknown =
        std::ranges::find(findings, L"Unknown top-level box zzzz, continuing parsing.", &ReadingFinding::text);
    ASSERT_NE(unknown, findings.end());
    EXPECT_EQ(unknown->severity, ReadingFinding::Severity::Warning);
    EXPECT_FALSE(unknown->excludes);
    Disconnect();

    movie = VideoAndAudio();
    movie.tracks[0].entry = mediakit_test::visual_entry("av01", 16, 16);
    EXPECT_EQ(Open(movie.bytes()), QZ_E_UNSUPPORTED_FORMAT);
    EXPECT_THAT(Excluding(), ElementsAre(L"track 1 has a sample entry of unknown type av01"));
    EXPECT_EQ(Connect(nullptr), E_UNEXPECTED);
    EXPECT_THAT(Findings(), IsEmpty());
}

TEST_F(MP4MediaDemuxFilterTest, FindingsKeepTheLastExclusion) {
    const log_capture quiet(0);
    movie_file movie;
    movie.tracks.assign(details::ReadingFindings::kMostFindings, TextTrack());
    movie.tracks.push_back(TextTrack());
    movie.tracks.back().handler = "last";
    ASSERT_EQ(Open(movie.bytes()), S_OK);
    EXPECT_EQ(Findings().size(), details::ReadingFindings::kMostFindings);
    EXPECT_EQ(Findings().back().text, L"Ignored track last");
}

// A reader may wait for its data, and the host may ask the filter something meanwhile.
TEST_F(MP4MediaDemuxFilterTest, TheStateLockIsFreeWhileTheFileIsRead) {
    int reads = 0;
    std::vector<std::future<HRESULT>> stops;  // one that waits for the lock ends with the connection
    bool free = true;
    const auto probe = [&] {
        ++reads;
        if (!free) return;
        stops.push_back(std::async(std::launch::async, [this] { return Demux().Stop(); }));
        free = stops.back().wait_for(std::chrono::seconds(20)) == std::future_status::ready;
    };
    EXPECT_EQ(Connect(new ProbingReader(VideoAndAudio().bytes(), probe)), S_OK);
    EXPECT_TRUE(free);
    EXPECT_GT(reads, 10);
}

// In debug builds a wait ends the process unless it is allowed.
TEST_F(MP4MediaDemuxFilterTest, AReaderMayWaitWhileTheFileIsOpened) {
    CAMEvent never;
    int waits = 0;
    const auto probe = [&] { waits += never.Wait(1) ? 0 : 1; };
    EXPECT_EQ(Connect(new ProbingReader(VideoAndAudio().bytes(), probe)), S_OK);
    EXPECT_GT(waits, 10);
}

TEST_F(MP4MediaDemuxFilterTest, AnInputWithoutAllocatorStops) {
    m_source->reader = new memory_async_reader(VideoAndAudio().bytes());
    CMediaType type(&MEDIATYPE_Stream);
    ASSERT_EQ(Input()->ReceiveConnection(m_source.pin, &type), S_OK);
    EXPECT_EQ(Demux().Pause(), S_OK);
    EXPECT_EQ(Demux().Run(0), S_OK);
    EXPECT_EQ(Demux().Stop(), S_OK);
    EXPECT_EQ(Input()->QueryAccept(&type), S_OK);
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters
