#include "VideoIO/StreamFilters/Container/mp4_writer.h"

#include "VideoIO/StreamFilters/Container/box_test.h"
#include "VideoIO/StreamFilters/Container/memory_stream.h"
#include "VideoIO/StreamFilters/Container/opaque_boxes.h"

#include <gmock/gmock.h>

namespace vio::mp4 {
namespace {

using testing::ElementsAre;

class Writer : public testing::Test {
protected:
    std::shared_ptr<box> append(std::shared_ptr<box> box, mp4::box* parent = nullptr) {
        return writer.insert_after(nullptr, std::move(box), parent);
    }
    std::shared_ptr<free_space_box> free_box(std::uint32_t zeros, box* parent = nullptr) {
        auto free = writer.add_box<free_space_box>(parent);
        free->zero_size = zeros;
        return free;
    }
    std::vector<const box*> order() const {
        std::vector<const box*> all;
        for (const auto& entry : writer.entries) all.push_back(entry.object.get());
        return all;
    }

    mp4_writer writer;
    std::shared_ptr<failing_stream> out = std::make_shared<failing_stream>();
};

TEST_F(Writer, MakesBoxesByCode) {
    const auto moov = writer.add_box(fourcc("moov"), nullptr);
    EXPECT_NE(std::dynamic_pointer_cast<movie_box>(moov), nullptr);
    EXPECT_EQ(writer.add_box(fourcc("tfdt"), nullptr), nullptr);
    EXPECT_EQ(writer.entries.size(), 1u) << "an unknown code appends nothing";
    writer.add_box(fourcc("skip"), nullptr);
    writer.write(out, true);
    EXPECT_EQ(out->content, box_builder().add(make_box("moov")).add(make_box("free")).bytes());
}

TEST_F(Writer, KeepsTheListInTheOrderAskedFor) {
    const auto a = free_box(0);
    const auto c = free_box(0);
    const auto b = writer.insert_before(c.get(), std::make_shared<free_space_box>(), nullptr);
    const auto between = writer.insert_after(a.get(), std::make_shared<free_space_box>(), nullptr);
    const auto last = writer.insert_after(c.get(), std::make_shared<free_space_box>(), nullptr);
    const auto end = writer.insert_before(nullptr, std::make_shared<free_space_box>(), nullptr);
    const free_space_box stranger;
    const auto lost = writer.insert_before(&stranger, std::make_shared<free_space_box>(), nullptr);
    const auto lost2 = writer.insert_after(&stranger, std::make_shared<free_space_box>(), nullptr);
    EXPECT_THAT(order(),
                ElementsAre(a.get(), between.get(), b.get(), c.get(), last.get(), end.get(), lost.get(), lost2.get()));
}

TEST_F(Writer, RemovesABoxWithAllBelowIt) {
    const auto moov = append(std::make_shared<movie_box>());
    const auto trak = append(std::make_shared<track_box>(), moov.get());
    const auto mdia = append(std::make_shared<media_box>(), trak.get());
    append(std::make_shared<free_space_box>(), mdia.get());
    const auto udta = append(std::make_shared<user_data_box>(), moov.get());
    writer.remove_box(trak.get());
    EXPECT_THAT(order(), ElementsAre(moov.get(), udta.get()));
    writer.remove_box(trak.get());
    EXPECT_EQ(writer.entries.size(), 2u);
    writer.clear();
    EXPECT_TRUE(writer.entries.empty());
    EXPECT_EQ(writer.stream, nullptr);
}

TEST_F(Writer, ReplacesABoxUnderTheSameParent) {
    const auto moov = append(std::make_shared<movie_box>());
    auto old = append(std::make_shared<track_box>(), moov.get());
    free_box(2, old.get());
    const auto replacement = writer.replace_box(old.get(), std::make_shared<media_box>());
    old.reset();  // the list must not look at it any more
    writer.write(out, true);
    EXPECT_EQ(out->content, make_box("moov", make_box("mdia", make_box("free", box_builder().zeros(2)))).bytes());
    const free_space_box stranger;
    writer.replace_box(&stranger, std::make_shared<free_space_box>());
    EXPECT_EQ(writer.entries.size(), 3u);
}

TEST_F(Writer, SizesTheTreeFromItsListOfParents) {
    const auto moov = append(std::make_shared<movie_box>());
    const auto trak = append(std::make_shared<track_box>(), moov.get());
    const auto first = free_box(3, trak.get());
    const auto second = free_box(5, moov.get());
    writer.write(out, true);
    EXPECT_EQ(out->content, make_box("moov", box_builder()
                                                 .add(make_box("trak", make_box("free", box_builder().zeros(3))))
                                                 .add(make_box("free", box_builder().zeros(5))))
                                .bytes());
    EXPECT_EQ(moov->offset, 0u);
    EXPECT_EQ(trak->offset, 8u);
    EXPECT_EQ(second->offset, 27u);
    EXPECT_EQ(second->state, box_state::written);
    EXPECT_EQ(writer.stream, out);
    EXPECT_EQ(writer.sizing, 0u);
}

TEST_F(Writer, MeasuresWithoutWriting) {
    const auto moov = append(std::make_shared<movie_box>());
    free_box(3, moov.get());
    for (int pass = 0; pass < 2; ++pass) {
        writer.measure(false);
        EXPECT_EQ(moov->size, 19u);
        EXPECT_EQ(moov->state, 0u);
        EXPECT_EQ(writer.sizing, 0u);
        EXPECT_NE(std::dynamic_pointer_cast<size_byte_stream>(writer.stream), nullptr);
    }
}

TEST_F(Writer, AppendsBehindWhatIsWritten) {
    const auto first = free_box(4);
    writer.write(out, false);
    free_box(0xFFFF0000);
    writer.remove_box(writer.entries.back().object.get());
    const auto second = append(std::make_shared<movie_box>());
    out->position = 999;
    first->zero_size = 100;  // must not be looked at
    const std::uint64_t writes = out->writes;
    writer.write(out, false);
    EXPECT_EQ(out->writes - writes, 2u) << "size and type of the new box";
    EXPECT_EQ(first->size, 12u);
    EXPECT_EQ(second->offset, 12u);
    EXPECT_EQ(out->content, box_builder().add(make_box("free", box_builder().zeros(4))).add(make_box("moov")).bytes());

    out->position = 999;
    writer.write(out, false);
    EXPECT_EQ(out->position, 20u) << "with nothing to write it seeks behind the last box";
    EXPECT_EQ(out->content.size(), 20u);
}

TEST_F(Writer, AWrittenParentDoesNotGrow) {
    const auto moov = append(std::make_shared<movie_box>());
    writer.write(out, false);
    free_box(2, moov.get());
    writer.write(out, false);
    EXPECT_EQ(out->content, box_builder().add(make_box("moov")).add(make_box("free", box_builder().zeros(2))).bytes());
    EXPECT_EQ(moov->size, 8u);
    writer.write(out, true);
    EXPECT_EQ(out->content, make_box("moov", make_box("free", box_builder().zeros(2))).bytes());
}

TEST_F(Writer, StepsOverWhatIsReservedOnTheStream) {
    const auto ftyp = writer.add_box<file_type_box>(nullptr);
    const auto mdat = writer.add_box<media_data_box>(nullptr);
    writer.write(out, false);
    mdat->state = box_state::reserved_on_stream;
    out->seek(16 + 8);
    out->write("sample", 6);
    mdat->data_size = 6;
    const auto moov = append(std::make_shared<movie_box>());
    writer.write(out, false);
    EXPECT_EQ(moov->offset, 30u);

    // In front of the reserved box, all written again.
    writer.remove_box(moov.get());
    writer.insert_after(ftyp.get(), moov, nullptr);
    out->move(16, 24, 14);
    mdat->offset = 24;
    writer.write(out, true);
    writer.write_box(out, mdat.get());
    EXPECT_EQ(out->content, box_builder()
                                .add(make_box("ftyp", box_builder().zeros(8)))
                                .add(make_box("moov"))
                                .add(make_box("mdat", box_builder().text("sample")))
                                .bytes());
    EXPECT_EQ(mdat->state, box_state::reserved_on_stream);
}

TEST_F(Writer, RewritesOneBoxInPlace) {
    free_box(4);
    const auto mfhd = writer.add_box<movie_fragment_header_box>(nullptr);
    writer.write(out, false);
    mfhd->sequence_number = 7;
    writer.write_box(out, mfhd.get());
    EXPECT_EQ(out->content, box_builder()
                                .add(make_box("free", box_builder().zeros(4)))
                                .add(make_full_box("mfhd", 0, 0, box_builder().u32(7)))
                                .bytes());
    EXPECT_EQ(mfhd->offset, 12u);
    writer.write_box(out, nullptr);
    writer.write_box(nullptr, mfhd.get());
    EXPECT_EQ(writer.stream, nullptr);
}

TEST_F(Writer, ABoxOfFourGigabytesGetsALargeHeader) {
    const auto mdat = writer.add_box<media_data_box>(nullptr);
    mdat->size = 0xFFFFFFFF;
    writer.write_box(out, mdat.get());
    EXPECT_EQ(out->content, mediakit_test::make_lying_box(0xFFFFFFFF, "mdat").bytes());
    EXPECT_EQ(mdat->header_size, 8u);
    mdat->size = 0x100000000;
    writer.write_box(out, mdat.get());
    EXPECT_EQ(out->content, mediakit_test::make_lying_large_box(0x100000000, "mdat").bytes());
    EXPECT_EQ(mdat->header_size, 16u);
}

TEST_F(Writer, AnEmptyListSeeksToTheFrontAndWritesNothing) {
    out->position = 5;
    writer.write(out, false);
    EXPECT_EQ(out->position, 0u);
    EXPECT_EQ(out->writes, 0u);
    EXPECT_EQ(writer.sizing, 1u);
    EXPECT_NE(std::dynamic_pointer_cast<size_byte_stream>(writer.stream), nullptr);

    // The flag that stays up does not keep tables from being written.
    const auto stco = std::make_shared<chunk_offset_box>();
    stco->offsets = {1};
    writer.write_box(out, stco.get());
    EXPECT_EQ(out->content, mediakit_test::make_lying_box(0, "stco", box_builder().words({0, 1, 1})).bytes());
}

TEST_F(Writer, ClassesWithoutAVisitWriteNothing) {
    const auto moov = append(std::make_shared<movie_box>());
    append(std::make_shared<wide_placeholder_box>(), moov.get());
    append(std::make_shared<meta_box>(), moov.get());
    append(std::make_shared<box>(fourcc("uuid")), moov.get());
    writer.write(out, false);
    EXPECT_EQ(out->content, make_box("moov").bytes());
    free_box(1);
    writer.write(out, false);
    EXPECT_EQ(out->content, box_builder().add(make_box("moov")).add(make_box("free", box_builder().u8(0))).bytes())
        << "the place behind such a box is known";
}

TEST_F(Writer, ARefusalLeavesTheListAndThrowsBeforeAnythingIsWritten) {
    free_box(1);
    const auto mvhd = writer.add_box<movie_header_box>(nullptr);
    mvhd->version = 9;
    EXPECT_THROW(writer.write(out, false), core::exception);
    EXPECT_EQ(out->writes, 0u);
    EXPECT_EQ(writer.sizing, 1u);
    mvhd->version = 0;
    writer.write(out, false);
    EXPECT_EQ(out->content.size(), 9u + 108u);
}

/// How many of a box's writes may fail, one after the other, without an exception.
std::uint64_t unnoticed_failures(const std::shared_ptr<box>& box) {
    mp4_writer writer;
    for (std::uint64_t failing = 0;; ++failing) {
        const auto out = std::make_shared<failing_stream>();
        writer.write_box(out, box.get());
        const std::uint64_t writes = out->writes;
        if (failing == writes) return writes;
        *out = failing_stream();
        out->failing_write = writes - 1 - failing;
        try {
            writer.write_box(out, box.get());
        } catch (const core::exception&) {
            return failing;
        }
    }
}

TEST(WriteChecks, HeadersAndSomeFieldsGoUnnoticed) {
    const auto mvhd = std::make_shared<movie_header_box>();
    EXPECT_EQ(unnoticed_failures(mvhd), 0u);
    EXPECT_EQ(unnoticed_failures(std::make_shared<movie_box>()), 2u);
    EXPECT_EQ(unnoticed_failures(std::make_shared<data_entry_url_box>()), 3u);
    const auto trun = std::make_shared<track_run_box>();
    trun->flags = 1;
    EXPECT_EQ(unnoticed_failures(trun), 5u);
    const auto stco = std::make_shared<chunk_offset_box>();
    stco->offsets = {1, 2};
    EXPECT_EQ(unnoticed_failures(stco), 1u) << "the entries, not the count";
    const auto stss = std::make_shared<sync_sample_box>();
    stss->sample_numbers = {1, 2};
    EXPECT_EQ(unnoticed_failures(stss), 0u);
    const auto ctts = std::make_shared<composition_offset_box>();
    ctts->entries = {{1, 2}};
    EXPECT_EQ(unnoticed_failures(ctts), 0u);
    const auto text = std::make_shared<string_list_box>();
    text->text = "x";
    EXPECT_EQ(unnoticed_failures(text), 5u);
    const auto esds = std::make_shared<esd_box>();
    esds->data = {1};
    EXPECT_EQ(unnoticed_failures(esds), 4u);
    const auto avcc = std::make_shared<avc_configuration_box>();
    avcc->record = {1};
    EXPECT_EQ(unnoticed_failures(avcc), 0u);
}

TEST(WriterCost, TablesAreOneWriteEachHoweverLong) {
    constexpr std::uint32_t samples = 1'000'000;
    mp4_writer writer;
    const auto moov = writer.add_box<movie_box>(nullptr);
    writer.add_box<sample_size_box>(moov.get())->sample_count = samples;
    std::dynamic_pointer_cast<sample_size_box>(writer.entries.back().object)->entry_sizes.assign(samples, 1000);
    writer.add_box<chunk_large_offset_box>(moov.get())->offsets.assign(samples, 1ull << 33);
    writer.add_box<time_to_sample_box>(moov.get())->entries.assign(samples, {1, 3000});
    writer.add_box<composition_offset_box>(moov.get())->entries.assign(samples, {1, 6000});
    writer.add_box<sample_to_chunk_box>(moov.get())->entries.assign(samples, {1, 1, 1});

    const auto out = std::make_shared<failing_stream>();
    writer.write(out, true);
    EXPECT_EQ(out->content.size(), 8u + 20 + 4 * samples + (16 + 8 * samples) * 3 + 16 + 12 * samples);
    EXPECT_EQ(out->writes, 2u + 6 + 4 * 5);
}

TEST(WriterOnMemory, WritesAFragmentHeadIntoACallersBlock) {
    std::array<std::uint8_t, 64> block{};
    mp4_writer writer;
    const auto moof = writer.add_box<movie_fragment_box>(nullptr);
    writer.add_box<movie_fragment_header_box>(moof.get())->sequence_number = 1;
    writer.write(std::make_shared<memory_stream>(block.data(), block.size()), true);
    const auto built = make_box("moof", make_full_box("mfhd", 0, 0, box_builder().u32(1)));
    EXPECT_EQ(bytes(block.begin(), block.begin() + 24), built.bytes());
}

}  // namespace
}  // namespace vio::mp4
