// Whole small files: written, read back, cut off at every byte and damaged in every byte.
#include "VideoIO/StreamFilters/Container/mp4_parser.h"

#include "Testing/Kit/log_capture.h"
#include "VideoIO/StreamFilters/Container/box_test.h"
#include "VideoIO/StreamFilters/Container/memory_stream.h"

#include <functional>

namespace vio::mp4 {
namespace {

/// A file of two tracks, one fragment and one of each kind of table.
class small_file {
public:
    small_file() {
        auto ftyp = writer.add_box<file_type_box>(nullptr);
        ftyp->compatible_brands = {fourcc("isom")};
        auto mdat = writer.add_box<media_data_box>(nullptr);
        mdat->data_size = 12;
        auto moov = writer.add_box<movie_box>(nullptr);
        writer.add_box<movie_header_box>(moov.get())->timescale = 1000;
        add_track(*moov, 1, video_entry());
        add_track(*moov, 2, audio_entry());
        auto mvex = writer.add_box<movie_extends_box>(moov.get());
        writer.add_box<movie_extends_header_box>(mvex.get())->fragment_duration = 5;
        writer.add_box<track_extends_box>(mvex.get())->track_ID = 1;
        add_fragment();
        writer.write(out, true);
    }

    const bytes& content() const { return out->content; }

private:
    using entry_maker = std::function<void(box&)>;

    entry_maker video_entry() {
        return [this](box& stsd) {
            auto entry = writer.add_box<hevc_sample_entry>(&stsd);
            entry->width = 64;
            writer.add_box<hevc_configuration_box>(entry.get())->record = {1, 2, 3};
        };
    }
    entry_maker audio_entry() {
        return [this](box& stsd) {
            auto entry = writer.add_box<mp4_audio_sample_entry>(&stsd);
            entry->out_channelcount = 2;
            writer.add_box<esd_box>(entry.get())->data = {3, 1, 0};
        };
    }

    void add_track(box& moov, std::uint32_t id, const entry_maker& add_entry) {
        auto trak = writer.add_box<track_box>(&moov);
        writer.add_box<track_header_box>(trak.get())->track_ID = id;
        auto edts = writer.add_box<edit_box>(trak.get());
        writer.add_box<edit_list_box>(edts.get())->entries = {{100, 0, 1, 0}};
        auto mdia = writer.add_box<media_box>(trak.get());
        writer.add_box<media_header_box>(mdia.get())->timescale = 90000;
        writer.add_box<handler_box>(mdia.get())->name = L"h";
        auto minf = writer.add_box<media_information_box>(mdia.get());
        writer.add_box<video_media_header_box>(minf.get());
        auto dinf = writer.add_box<data_information_box>(minf.get());
        auto dref = writer.add_box<data_reference_box>(dinf.get());
        dref->entry_count = 1;
        writer.add_box<data_entry_url_box>(dref.get())->flags = 1;
        add_tables(*minf, add_entry);
    }

    void add_tables(box& minf, const entry_maker& add_entry) {
        auto stbl = writer.add_box<sample_table_box>(&minf);
        auto stsd = writer.add_box<sample_description_box>(stbl.get());
        stsd->entries.resize(1);
        add_entry(*stsd);
        writer.add_box<time_to_sample_box>(stbl.get())->entries = {{3, 3000}};
        writer.add_box<composition_offset_box>(stbl.get())->entries = {{3, 0}};
        writer.add_box<sample_to_chunk_box>(stbl.get())->entries = {{1, 3, 1}};
        auto stsz = writer.add_box<sample_size_box>(stbl.get());
        stsz->sample_count = 3;
        stsz->entry_sizes = {4, 4, 4};
        writer.add_box<chunk_offset_box>(stbl.get())->offsets = {28};
        writer.add_box<sync_sample_box>(stbl.get())->sample_numbers = {1};
    }

    void add_fragment() {
        auto moof = writer.add_box<movie_fragment_box>(nullptr);
        writer.add_box<movie_fragment_header_box>(moof.get())->sequence_number = 1;
        auto traf = writer.add_box<track_fragment_box>(moof.get());
        writer.add_box<track_fragment_header_box>(traf.get())->track_ID = 1;
        auto trun = writer.add_box<track_run_box>(traf.get());
        trun->flags = 0x301;
        trun->sample_count = 2;
        trun->sample_duration = {1, 2};
        trun->sample_size = {3, 4};
    }

    mp4_writer writer;
    std::shared_ptr<failing_stream> out = std::make_shared<failing_stream>();
};

/// Asks for every box of the tree, the way a reader of the file does.
void walk(mp4_parser_base& parser, const box& parent, int depth, std::size_t& met) {
    static const std::uint32_t containers[] = {fourcc("moov"), fourcc("trak"), fourcc("edts"), fourcc("mdia"),
                                               fourcc("minf"), fourcc("dinf"), fourcc("stbl"), fourcc("mvex"),
                                               fourcc("moof"), fourcc("traf"), fourcc("hvc1"), fourcc("mp4a")};
    if (depth > 8) return;
    for (const std::uint32_t type : containers)
        for (std::uint32_t index = 0; index < 100; ++index) {
            const auto child = parser.find_child(parent, false, index, type);
            if (child == nullptr) break;
            ++met;
            walk(parser, *child, depth + 1, met);
        }
}

/// Reads the whole tree from a block of exactly the given bytes. Answers the number of containers met.
std::size_t read_all(const bytes& content) {
    const std::unique_ptr<std::uint8_t[]> block(new std::uint8_t[content.size()]);
    std::copy(content.begin(), content.end(), block.get());
    memory_stream stream(block.get(), static_cast<std::uint32_t>(content.size()));
    mp4_parser parser(stream);
    std::size_t met = 0;
    try {
        parser.parse();
        box file;
        file.header_size = 0;
        file.size = content.size();
        walk(parser, file, 0, met);
    } catch (const std::exception&) {
        // A damaged file may be refused.
    }
    return met;
}

TEST(SmallFile, IsReadBackWhole) {
    // moov; twice trak, edts, mdia, minf, dinf, stbl; mvex; moof; traf. Entries stand behind a full box,
    // stsd, and are not children to be asked for.
    EXPECT_EQ(read_all(small_file().content()), 1u + 2 * 6 + 1 + 2);

    failing_stream stream(small_file().content());
    mp4_parser parser(stream);
    ASSERT_TRUE(parser.parse());
    std::uint64_t at = 0;
    const auto moov = parser.find_box(fourcc("moov"), 0, at, stream.size(), true);
    ASSERT_NE(moov, nullptr);
    const auto trak = parser.find_child<track_box>(*moov, 1);
    EXPECT_EQ(parser.find_child<track_header_box>(*trak)->track_ID, 2u);
    const auto minf = parser.find_child<media_information_box>(*parser.find_child<media_box>(*trak));
    const auto stbl = parser.find_child<sample_table_box>(*minf);
    EXPECT_EQ(parser.find_child<sample_size_box>(*stbl)->entry_sizes.size(), 3u);
    const auto stsd = parser.find_child<sample_description_box>(*stbl);
    ASSERT_EQ(stsd->entries.size(), 1u);
    EXPECT_EQ(parser.find_child<esd_box>(*stsd->entries[0])->data.size(), 3u);
}

TEST(SmallFile, SurvivesBeingCutOffAtEveryByte) {
    const mediakit_test::log_capture quiet(0);
    const bytes whole = small_file().content();
    const std::size_t all = read_all(whole);
    std::size_t most = 0;
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const std::size_t met = read_all(bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
        EXPECT_LE(met, all) << length;
        most = std::max(most, met);
    }
    EXPECT_EQ(most, all - 2) << "without its last fragment the rest is read";
}

TEST(SmallFile, SurvivesDamageInEveryByte) {
    const mediakit_test::log_capture quiet(0);
    const bytes whole = small_file().content();
    std::size_t unharmed = 0;
    for (std::size_t at = 0; at < whole.size(); ++at)
        for (const std::uint8_t value : {0x00, 0x01, 0x7F, 0x80, 0xFF}) {
            bytes damaged = whole;
            damaged[at] = value;
            unharmed += read_all(damaged) == read_all(whole);
        }
    EXPECT_GT(unharmed, whole.size()) << "most bytes are fields, not structure";
}

TEST(SmallFile, AFailingStreamEndsTheReading) {
    const mediakit_test::log_capture quiet(0);
    const bytes whole = small_file().content();
    for (std::uint64_t failing = 0; failing < 200; ++failing) {
        failing_stream stream(whole);
        stream.failing_read = failing;
        mp4_parser parser(stream);
        try {
            // Four headers, and one read for the fields of ftyp.
            EXPECT_EQ(parser.parse(), failing >= 5) << failing;
            std::size_t met = 0;
            for (const auto& [offset, found] : std::map(parser.boxes)) walk(parser, *found, 0, met);
        } catch (const core::exception&) {
        }
        EXPECT_LE(stream.reads, failing + 200) << "it does not read on and on";
    }
}

}  // namespace
}  // namespace vio::mp4
