#include "Tools/mediakit/sample_list.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <functional>
#include <limits>
#include <sstream>

namespace mediakit_tool {
namespace {

/// What is written into a file.
std::string Written(const std::function<void(TextOutput&)>& write) {
    std::FILE* const file = std::tmpfile();
    {
        TextOutput output(file);
        write(output);
        EXPECT_TRUE(output.Flush());
    }
    std::string text(static_cast<std::size_t>(std::ftell(file)), '\0');
    std::rewind(file);
    EXPECT_EQ(std::fread(text.data(), 1, text.size(), file), text.size());
    std::fclose(file);
    return text;
}

TEST(TextOutput, WritesNumbersAndTimes) {
    EXPECT_EQ(Written([](TextOutput& out) {
                  out.Number(-5, 4);
                  out.Number(123456, 4);
                  out.Seconds(0, 10);
                  out.Seconds(-400'001, 11);
                  out.Seconds(std::numeric_limits<std::int64_t>::min(), 0);
                  out.Hexadecimal(0x00ABCDEF);
              }),
              "  -5123456 0.0000000 -0.0400001-922337203685.477580800abcdef");
}

TEST(TextOutput, HandsOnWhatIsLargerThanItsBuffer) {
    const std::string text(200'001, 'x');
    EXPECT_EQ(Written([&](TextOutput& out) {
                  out.Text("-");
                  out.Text(text);
                  out.Text("-");
              }),
              "-" + text + "-");
}

TEST(TextOutput, RemembersThatItCouldNotWrite) {
    std::FILE* const file = std::fopen("/dev/full", "w");
    if (file == nullptr) GTEST_SKIP() << "there is no full device here";
    {
        TextOutput output(file);
        output.Text(std::string(100'000, 'x'));
        EXPECT_FALSE(output.Flush());
        EXPECT_TRUE(output.Failed());
    }
    std::fclose(file);
}

class SampleListTest : public testing::Test {
protected:
    SampleListTest() {
        m_stream.name = "Output_0";
        m_stream.track.trackId = 7;
        m_stream.track.sampleEntry = 0x61766331;
        m_stream.type.SetType(&MEDIATYPE_Video);
        m_stream.type.SetSubtype(&MEDIASUBTYPE_AVC1);
    }
    std::string List(std::unique_ptr<SampleList> (*make)(TextOutput&), const std::vector<SampleRow>& rows,
                     const std::string& error) {
        return Written([&](TextOutput& output) {
            const auto list = make(output);
            list->Begin("a \"b\"\xFF.mp4");
            for (int pin = 0; pin < 2; ++pin) {
                list->BeginPin(m_stream);
                for (const SampleRow& row : rows) list->Add(row);
                list->EndPin();
            }
            list->End(error);
        });
    }
    Stream m_stream;
    const std::vector<SampleRow> m_rows = {
        {.index = 0, .dts = 20, .start = -400'000, .stop = 1, .size = 9, .sync = true, .crc32 = 0xCBF43926},
        {.index = 1, .preroll = true, .discontinuity = true}};
};

TEST_F(SampleListTest, IsOneJsonObjectWithAllThatIsKnown) {
    const auto json = nlohmann::json::parse(List(MakeJsonSampleList, m_rows, ""));
    EXPECT_EQ(json["file"], "a \"b\"\xEF\xBF\xBD.mp4");
    EXPECT_FALSE(json.contains("error"));
    ASSERT_EQ(json["pins"].size(), 2u);
    const auto expected = nlohmann::json::parse(R"({"pin": "Output_0", "track_id": 7, "entry": "avc1", "major": "vids",
        "subtype": "AVC1", "samples": [
        {"dts": 20, "start": -400000, "stop": 1, "size": 9, "sync": true, "preroll": false, "discontinuity": false,
         "crc32": 3421780262},
        {"dts": 0, "start": 0, "stop": 0, "size": 0, "sync": false, "preroll": true, "discontinuity": true}]})");
    EXPECT_EQ(json["pins"][0], expected);
    EXPECT_EQ(json["pins"][1], expected);
    EXPECT_EQ(nlohmann::json::parse(List(MakeJsonSampleList, {}, "why"))["error"], "why");
}

TEST_F(SampleListTest, IsALineASampleAsText) {
    std::istringstream lines(List(MakeTextSampleList, m_rows, ""));
    std::string title, heads, first, second;
    std::getline(lines, title) && std::getline(lines, heads) && std::getline(lines, first) &&
        std::getline(lines, second);
    EXPECT_EQ(first, "       0       0.0000020      -0.0400000       0.0000001         9  S--    cbf43926");
    EXPECT_EQ(second, "       1       0.0000000       0.0000000       0.0000000         0  -PD");
    // Each column ends where its head does.
    EXPECT_EQ(heads.find("stop") + 4, first.find("0.0000001") + 9);
    EXPECT_EQ(heads.find("size") + 4, first.find("9  S") + 1);
    EXPECT_EQ(heads.find("crc32"), first.find("cbf43926"));
}

TEST(TypeText, TellsFourCharactersOrTheWholeIdentifier) {
    EXPECT_EQ(TypeText(MEDIATYPE_Audio), "auds");
    EXPECT_EQ(TypeText(MEDIASUBTYPE_PCM), "00000001-0000-0010-8000-00AA00389B71");
    EXPECT_EQ(TypeText(MEDIASUBTYPE_DOLBY_AC3), "E06D802C-DB46-11CF-B4D1-00805F6CBBEA");
}

}  // namespace
}  // namespace mediakit_tool
