#include "VideoIO/StreamFilters/Demultiplexer/MovieCheck.h"

#include "MediaKit/Results.h"
#include "Testing/Kit/log_capture.h"
#include "Testing/Kit/memory_async_reader.h"
#include "Testing/Kit/movie_tracks.h"
#include "VideoIO/StreamFilters/Container/exception.h"
#include "VideoIO/StreamFilters/Demultiplexer/AsyncReaderByteStream.h"
#include "VideoIO/StreamFilters/Demultiplexer/FileParser.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace Norvane::MediaKit::Filters::details {
namespace {

using mediakit_test::box_builder;
using mediakit_test::log_capture;
using mediakit_test::make_box;
using mediakit_test::make_full_box;
using mediakit_test::movie_file;
using mediakit_test::movie_track;
using testing::ElementsAre;
using testing::IsEmpty;

using Bytes = std::vector<BYTE>;
using Messages = std::vector<log_capture::message>;

/// A track that was asked for, and what came with it.
struct Asked {
    std::uint32_t id;
    std::size_t fragments;
    bool trex;
    bool elst;
    friend bool operator==(const Asked&, const Asked&) = default;
};

/// What the n-th track that is asked for answers.
struct Answer {
    HRESULT hr;
    REFERENCE_TIME duration;
};

struct Outcome {
    HRESULT hr = E_UNEXPECTED;
    MovieFacts facts;
    std::vector<Asked> asked;
    std::vector<FragmentRecord> fragments;  ///< of the last track
    Messages messages;
    ReadingFindings findings;
};

Outcome Check(const Bytes& bytes, const ReadingOptions& options = {}, const std::vector<Answer>& answers = {},
              int level = 5) {
    Outcome outcome;
    const log_capture log(level);
    const ComPtr<IAsyncReader> reader(new mediakit_test::memory_async_reader(bytes));
    const ReadingContext context{options, outcome.findings};
    const auto parser = MakeFileParser(std::make_shared<AsyncReaderByteStream>(reader.get()), context);
    parser->parse();
    const auto create = [&](const TrackBoxes& track, REFERENCE_TIME& duration) {
        outcome.asked.push_back(
            {track.tkhd->track_ID, track.fragments->size(), track.trex != nullptr, track.elst != nullptr});
        outcome.fragments = *track.fragments;
        const std::size_t n = outcome.asked.size() - 1;
        duration = n < answers.size() ? answers[n].duration : 0;
        return n < answers.size() ? answers[n].hr : S_OK;
    };
    outcome.hr = mp4_check(*parser, context, create, outcome.facts);
    outcome.messages = log.messages();
    if (level == 5 && answers.empty()) {
        Messages reported;
        for (const ReadingFinding& finding : outcome.findings.Findings())
            reported.push_back({static_cast<int>(finding.severity), finding.text});
        EXPECT_EQ(reported, outcome.messages) << "every line is a finding";
    }
    return outcome;
}

movie_track Track(const char* handler, std::size_t samples = 2) {
    movie_track track;
    track.handler = handler;
    for (std::size_t i = 0; i < samples; ++i) track.samples.push_back({{1, 2, 3}, 40});
    return track;
}

movie_file Movie(const std::vector<const char*>& handlers = {"vide"}) {
    movie_file movie;
    for (const char* const handler : handlers) movie.tracks.push_back(Track(handler));
    return movie;
}

/// Replaces all boxes of a type.
auto With(std::string type, box_builder instead) {
    return [type = std::move(type), instead = std::move(instead)](
               std::string_view at, std::size_t, const box_builder& box) { return at == type ? instead : box; };
}

/// Boxes of the top level put in another order, or left out.
Bytes TopLevel(const std::vector<std::string>& order) {
    const Bytes whole = Movie().bytes();
    Bytes bytes;
    for (const std::string& type : order) {
        const auto found = std::search(whole.begin(), whole.end(), type.begin(), type.end()) - 4;
        const std::size_t size = static_cast<std::size_t>(found[2]) << 8 | found[3];
        bytes.insert(bytes.end(), found, found + static_cast<std::ptrdiff_t>(size));
    }
    return bytes;
}

std::wstring At(const Bytes& bytes, std::string_view type) {
    return std::to_wstring(std::search(bytes.begin(), bytes.end(), type.begin(), type.end()) - bytes.begin() - 4);
}

const log_capture::message kOneMediaData{3, L"mp4_check: found 1 mdat box(es)."};
const log_capture::message kNoMediaData{2, L"mp4_check: mdat box not found. The file should be fragmented."};

}  // namespace

TEST(MovieCheck, TellsWhatIsOddAboutTheTopLevel) {
    Outcome found = Check(Movie().bytes());
    EXPECT_EQ(found.hr, S_OK);
    EXPECT_THAT(found.messages, ElementsAre(kOneMediaData));
    EXPECT_EQ(found.facts.streamingOrder, true);

    for (const Bytes& bytes : {Bytes(), TopLevel({"ftyp", "mdat"})}) {
        found = Check(bytes);
        EXPECT_EQ(found.hr, QZ_E_UNSUPPORTED_FORMAT);
        EXPECT_THAT(found.messages, ElementsAre(log_capture::message{2, L"mp4_check: moov box not found."}));
    }

    found = Check(TopLevel({"moov"}));
    EXPECT_EQ(found.hr, S_OK);
    EXPECT_THAT(found.messages, ElementsAre(kNoMediaData, log_capture::message{2, L"mp4_check: ftyp box not found."}));
    EXPECT_EQ(found.facts.streamingOrder, std::nullopt);

    const Bytes reversed = TopLevel({"mdat", "moov", "ftyp", "mdat"});
    found = Check(reversed);
    EXPECT_EQ(found.hr, S_OK);
    EXPECT_THAT(found.messages,
                ElementsAre(log_capture::message{3, L"mp4_check: found 2 mdat box(es)."},
                            log_capture::message{
                                2, L"mp4check: ftyp box placed after mdat box (" + At(reversed, "ftyp") + L" > 0)."},
                            log_capture::message{2, L"mp4check: ftyp box placed after moov box (" +
                                                        At(reversed, "ftyp") + L" > " + At(reversed, "moov") + L")."},
                            log_capture::message{2,
                                                 L"mp4check: warning: moov after mdat, the file is not optimized "
                                                 L"for streaming (" +
                                                     At(reversed, "moov") + L" > 0)."}));
    EXPECT_EQ(found.facts.streamingOrder, false);

    movie_file headless = Movie();
    headless.replace = mediakit_test::without_box("mvhd");
    found = Check(headless.bytes());
    EXPECT_EQ(found.hr, QZ_E_UNSUPPORTED_FORMAT);
    EXPECT_THAT(found.messages,
                ElementsAre(kOneMediaData, log_capture::message{1, L"mp4check: error: mvhd box not found."}));
    EXPECT_THAT(found.asked, IsEmpty());
}

TEST(MovieCheck, LeavesATrackOutThatLacksABoxAndTellsEach) {
    const auto missing = [](const std::wstring& box) {
        return log_capture::message{2, L"mp4check: missing required " + box};
    };
    const box_builder external = make_full_box("url ", 0, 0, box_builder().text("x"));
    const struct {
        std::string type;
        box_builder instead;
        bool kept;
        Messages messages;
    } kCases[] = {
        {"tkhd", {}, false, {missing(L"tkhd box")}},
        {"mdia", {}, false, {missing(L"mdia box"), missing(L"mdhd box"), missing(L"hdlr box"), missing(L"minf box")}},
        {"mdia", make_box("mdia"), false, {missing(L"mdhd box"), missing(L"hdlr box"), missing(L"minf box")}},
        {"hdlr", {}, false, {missing(L"hdlr box")}},
        {"minf", {}, false, {missing(L"minf box")}},
        {"dinf", {}, true, {missing(L"dinf box.")}},
        {"dref", {}, true, {missing(L"dref box.")}},
        {"dref", make_full_box("dref", 0, 0, box_builder().u32(0)), true, {{2, L"mp4check: no url of urn box."}}},
        {"dref",
         make_full_box("dref", 0, 0, box_builder().u32(2).add(external).add(external)),
         true,
         {{2, L"mp4check: unsupported number of external reference for track 2."}}},
        {"dref",
         make_full_box("dref", 0, 0, box_builder().u32(1).add(external)),
         false,
         {{2, L"mp4check: track 2 uses an external reference. This is unsupported."}}},
        {"dref", make_full_box("dref", 0, 0, box_builder().u32(1).add(make_full_box("urn ", 0, 0))), true, {}},
        {"dref", make_full_box("dref", 0, 0, box_builder().u32(1)), true, {}},
        {"hdlr",
         make_full_box("hdlr", 0, 0, box_builder().u32(0).text("text").zeros(13)),
         false,
         {{3, L"Ignored track text"}}},
        {"hdlr",
         make_full_box("hdlr", 0, 0, box_builder().u32(0).u32(0x01614280).zeros(13)),
         false,
         {{3, L"Ignored track .aB."}}},
    };
    for (const auto& odd : kCases) {
        movie_file movie = Movie({"soun", "vide", "soun"});
        movie.replace = [&](std::string_view type, std::size_t track, const box_builder& box) {
            return type == odd.type && track == 1 ? odd.instead : box;
        };
        const Outcome found = Check(movie.bytes());
        Messages expected = odd.messages;
        expected.insert(expected.begin(), kOneMediaData);
        EXPECT_EQ(found.hr, S_OK);
        EXPECT_EQ(found.messages, expected) << odd.type;
        std::vector<Asked> tracks = {{1, 0, false, false}, {2, 0, false, false}, {3, 0, false, false}};
        if (!odd.kept) tracks.erase(tracks.begin() + 1);
        EXPECT_EQ(found.asked, tracks) << odd.type;
        EXPECT_EQ(found.findings.ExclusionCount(), odd.kept ? 0 : odd.messages.size()) << odd.type;
    }
}

TEST(MovieCheck, GathersFragmentsByTrack) {
    movie_file movie = Movie({"vide", "soun", "text"});
    movie.tracks[0].id = 30;
    movie.tracks[0].edits = {{40, 0}};
    movie.tracks[1].id = 20;
    movie.tracks[2].id = 10;
    movie.fragments.samples = 1;
    movie.replace = [](std::string_view type, std::size_t track, const box_builder& box) {
        return type == "trex" && track == 1 ? box_builder() : box;
    };
    const Bytes bytes = movie.bytes();
    Outcome found = Check(bytes);
    EXPECT_EQ(found.hr, S_OK);
    EXPECT_THAT(found.messages, ElementsAre(log_capture::message{3, L"mp4_check: found 2 mdat box(es)."},
                                            log_capture::message{3, L"mp4check: track 10, found 2 fragments"},
                                            log_capture::message{2, L"mp4check: track 20, trex box not found."},
                                            log_capture::message{3, L"mp4check: track 30, found 2 fragments"},
                                            log_capture::message{3, L"Ignored track text"}));
    EXPECT_THAT(found.asked, ElementsAre(Asked{30, 2, true, true}, Asked{20, 2, false, false}));
    ASSERT_EQ(found.fragments.size(), 2u);
    EXPECT_EQ(std::to_wstring(found.fragments[0].base), At(bytes, "moof"));
    EXPECT_EQ(found.fragments[1].truns.size(), 1u);
    EXPECT_EQ(found.fragments[1].decode_time, std::nullopt);

    found = Check(bytes, {.fragmentDecodeTimes = true});
    ASSERT_EQ(found.fragments.size(), 2u);
    EXPECT_EQ(found.fragments[1].decode_time, 40u);

    // Stray bytes behind the boxes of a level.
    movie.replace = [](std::string_view type, std::size_t, const box_builder& box) {
        if (type != "mvex" && type != "moof") return box;
        const Bytes children(box.bytes().begin() + 8, box.bytes().end());
        return make_box(type, box_builder().add(children).zeros(6));
    };
    EXPECT_THAT(Check(movie.bytes()).asked, ElementsAre(Asked{30, 2, true, true}, Asked{20, 2, true, false}));

    movie.replace = With("traf", {});
    found = Check(movie.bytes());
    EXPECT_EQ(found.hr, S_OK);
    EXPECT_THAT(found.messages,
                testing::Contains(log_capture::message{2, L"mp4check: mp4 is fragmented, but no fragment found."}));
    EXPECT_THAT(found.asked, ElementsAre(Asked{30, 0, true, true}, Asked{20, 0, true, false}));
}

TEST(MovieCheck, KnowsBoxesOfSegmentsWhenAsked) {
    movie_file movie = Movie();
    movie.fragments.samples = 1;
    const box_builder ssix = make_full_box("ssix", 0, 0, box_builder().u32(0));
    movie.replace = [&](std::string_view type, std::size_t, const box_builder& box) {
        if (type != "moof") return box;
        return box_builder().add(make_box("styp")).add(make_box("emsg", box_builder().zeros(20))).add(ssix).add(box);
    };
    const Outcome strict = Check(movie.bytes());
    EXPECT_THAT(strict.asked, ElementsAre(Asked{1, 0, true, false}));
    EXPECT_EQ(strict.messages.front(), (log_capture::message{2, L"Unknown top-level box styp, stop parsing."}));
    EXPECT_THAT(Check(movie.bytes(), {.skipSegmentBoxes = true}).asked, ElementsAre(Asked{1, 2, true, false}));
}

TEST(MovieCheck, VideoAloneShortensTheMovie) {
    const struct {
        std::vector<const char*> handlers;
        std::vector<Answer> answers;
        REFERENCE_TIME duration;
    } kCases[] = {
        {{"soun", "vide"}, {{S_OK, 12}, {S_OK, 10}}, 10},
        {{"vide", "soun"}, {{S_OK, 10}, {S_OK, 12}}, 10},
        {{"vide", "soun"}, {{S_OK, 10}, {S_OK, 8}}, 10},
        {{"soun", "vide"}, {{S_OK, 8}, {S_OK, 10}}, 8},
        {{"soun", "vide"}, {{S_OK, 8}, {E_FAIL, 10}}, 0},
        {{"soun", "vide", "soun"}, {{S_OK, 8}, {QZ_E_TRACK_NOT_USABLE, 10}, {S_OK, 9}}, 9},
        {{"vide", "soun"}, {{E_INVALIDARG, 10}, {S_OK, 12}}, 12},
        {{"text", "soun"}, {{S_OK, 5}}, 5},
        {{}, {}, 0},
    };
    for (const auto& movie : kCases) {
        const Outcome found = Check(Movie(movie.handlers).bytes(), {}, movie.answers);
        EXPECT_EQ(found.hr, S_OK);
        EXPECT_EQ(found.facts.duration, movie.duration) << &movie - kCases;
        EXPECT_EQ(found.asked.size(), movie.answers.size());
    }
    const Outcome refused =
        Check(Movie({"soun", "vide", "soun"}).bytes(), {}, {{S_OK, 1}, {QZ_E_UNSUPPORTED_FORMAT, 1}});
    EXPECT_EQ(refused.hr, QZ_E_UNSUPPORTED_FORMAT);
    EXPECT_EQ(refused.asked.size(), 2u);
}

// The movie is then as long as what is left of it.
TEST(MovieCheck, LeavesATrackOutThatWouldRefuseTheFileWhenAsked) {
    const Outcome found = Check(Movie({"soun", "vide", "soun"}).bytes(), {.skipBrokenParts = true},
                                {{S_OK, 8}, {QZ_E_UNSUPPORTED_FORMAT, 0}, {S_OK, 9}});
    EXPECT_EQ(found.hr, S_OK);
    EXPECT_EQ(found.asked.size(), 3u);
    EXPECT_EQ(found.facts.duration, 8);
    EXPECT_EQ(found.messages.back(), (log_capture::message{2, L"mp4check: track 2 cannot be played, it is left out."}));
}

// A file cut off in its media data is usual; a `moov` that is longer than the file is not.
TEST(MovieCheck, CutFiles) {
    Bytes bytes = Movie().bytes();
    bytes.resize(bytes.size() - 3);
    EXPECT_EQ(Check(bytes).hr, S_OK);
    bytes.resize(bytes.size() - 40);
    EXPECT_THROW(Check(bytes), core::exception);
}

// Walks that began anew for each box would take hours here; so would handing all fragments to every track of one id.
TEST(MovieCheck, ManyBoxesTakeTheirTimeOnce) {
    constexpr std::uint32_t kMany = 50'000;
    box_builder trexes, traks, fragments;
    movie_file one = Movie();
    box_builder trak;
    one.replace = [&](std::string_view type, std::size_t, const box_builder& box) {
        if (type == "trak") trak = box;
        return box;
    };
    one.build();
    for (std::uint32_t i = 0; i < kMany; ++i) {
        trexes.add(make_full_box("trex", 0, 0, box_builder().u32(i).zeros(16)));
        traks.add(i % 10 == 0 ? trak : make_box("trak"));
        const box_builder tfhd = make_full_box("tfhd", 0, 0, box_builder().u32(1));
        fragments.add(make_box("moof", make_box("traf", box_builder().add(tfhd).add(make_box("trun")))));
        fragments.add(make_box("mdat"));
    }
    one.replace = [&](std::string_view type, std::size_t, const box_builder& box) {
        if (type == "trak") return traks;
        return type == "mvhd" ? box_builder().add(box).add(make_box("mvex", trexes)) : box;
    };
    Bytes bytes = one.bytes();
    bytes.insert(bytes.end(), fragments.bytes().begin(), fragments.bytes().end());
    const Outcome found = Check(bytes, {}, {}, 0);
    EXPECT_EQ(found.hr, S_OK);
    ASSERT_EQ(found.asked.size(), kMany / 10);
    EXPECT_EQ(found.asked.front(), (Asked{1, kMany, true, false}));
    EXPECT_LT(
        std::count_if(found.asked.begin(), found.asked.end(), [](const Asked& track) { return track.fragments != 0; }),
        100);
}

}  // namespace Norvane::MediaKit::Filters::details
