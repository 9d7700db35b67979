#include "VideoIO/StreamFilters/Container/user_data_boxes.h"

#include "VideoIO/StreamFilters/Container/box_test.h"

namespace vio::mp4 {
namespace {

TEST(StringList, IsLengthLanguageAndTextUnderAnItemsOwnCode) {
    mp4_writer writer;
    const auto udta = writer.add_box<user_data_box>(nullptr);
    const auto item = writer.add_box<string_list_box>(udta.get());
    item->type = 0xA9737772;
    item->text = "Rec";
    const auto out = std::make_shared<failing_stream>();
    writer.write(out, true);
    EXPECT_EQ(out->content,
              make_box("udta", make_box("\xA9swr", box_builder().u16(3).u16(0x15C7).text("Rec"))).bytes());
}

TEST(StringList, LengthWrapsAtSixteenBitsAndEmptyTextIsAHeader) {
    EXPECT_EQ(written(string_list_box()), make_box("@inf").bytes());
    string_list_box box;
    box.text = std::string(65537, 'x');
    EXPECT_EQ(written(box), make_box("@inf", box_builder().u16(1).u16(0x15C7).text(box.text)).bytes());
}

}  // namespace
}  // namespace vio::mp4
