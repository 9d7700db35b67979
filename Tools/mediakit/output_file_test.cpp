#include "Tools/mediakit/output_file.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace mediakit_tool {
namespace {

using testing::HasSubstr;
namespace fs = std::filesystem;

class OutputFileTest : public testing::Test {
protected:
    void SetUp() override {
        m_folder = fs::temp_directory_path() /
                   ("mediakit-output-" + std::to_string(testing::UnitTest::GetInstance()->random_seed()) + "-" +
                    testing::UnitTest::GetInstance()->current_test_info()->name() + std::to_string(std::rand()));
        fs::create_directories(m_folder);
        Write("in.h264", "video");
        Write("in.aac", "audio");
    }
    void TearDown() override { fs::remove_all(m_folder); }

    std::string Path(const std::string& name) const { return (m_folder / name).string(); }
    void Write(const std::string& name, const std::string& text) {
        std::ofstream(Path(name), std::ios::binary) << text;
    }
    std::string Objection(const std::string& output, bool force) {
        RecordOptions options;
        options.output = Path(output);
        options.video = Path("in.h264");
        options.audio = {Path("in.aac")};
        options.force = force;
        return OutputObjection(options);
    }

    fs::path m_folder;
};

TEST_F(OutputFileTest, NeverAnInputWhateverItsName) {
    fs::create_hard_link(Path("in.aac"), Path("hard.mp4"));
    fs::create_symlink(Path("in.h264"), Path("soft.mp4"));
    for (const char* output : {"in.h264", "in.aac", "hard.mp4", "soft.mp4", "./in.aac"})
        EXPECT_THAT(Objection(output, true), HasSubstr("is an input as well")) << output;
}

TEST_F(OutputFileTest, AnExistingFileOnlyWithForce) {
    Write("out.mp4", "old");
    EXPECT_THAT(Objection("out.mp4", false), HasSubstr("--force"));
    EXPECT_EQ(Objection("out.mp4", true), "");
    EXPECT_EQ(Objection("new.mp4", false), "");
    EXPECT_THAT(Objection(".", true), HasSubstr("is a folder"));
    EXPECT_THAT(Objection("nowhere/out.mp4", true), HasSubstr("no such folder"));
    EXPECT_THAT(Objection("in.aac/out.mp4", true), HasSubstr("cannot be created"));
}

TEST_F(OutputFileTest, OnlyAnEmptyFileIsRemoved) {
    Write("empty.mp4", "");
    Write("full.mp4", "x");
    RemoveIfEmpty(Path("empty.mp4"));
    RemoveIfEmpty(Path("full.mp4"));
    EXPECT_FALSE(fs::exists(Path("empty.mp4")));
    EXPECT_TRUE(fs::exists(Path("full.mp4")));
}

TEST_F(OutputFileTest, TellsWhyAnOutputCannotBeCreatedAndHarmsNone) {
    fs::create_directory(Path("folder"));
    Write("full.mp4", "x");
    EXPECT_EQ(CreationObjection(Path("folder")), "cannot be created: permission denied");
    EXPECT_EQ(CreationObjection(Path("full.mp4")), "");
    EXPECT_EQ(fs::file_size(Path("full.mp4")), 1u);
    EXPECT_EQ(CreationObjection(Path("new.mp4")), "");
}

TEST_F(OutputFileTest, AFinishedRecordingHasWholeBoxesAndAnIndex) {
    const std::string ftyp(
        "\0\0\0\x0C"
        "ftypmp42",
        12),
        moov("\0\0\0\x08moov", 8);
    const std::string mdat("\0\0\0\x0Amdatab", 10), wide("\0\0\0\x01mdat\0\0\0\0\0\0\0\x12zz", 18);
    const auto finished = [this](const std::string& content) {
        Write("out.mp4", content);
        return IsFinishedRecording(Path("out.mp4"));
    };
    EXPECT_TRUE(finished(ftyp + mdat + moov));
    EXPECT_TRUE(finished(ftyp + wide + moov));
    EXPECT_FALSE(finished(ftyp + mdat));
    EXPECT_FALSE(finished(ftyp + mdat + moov + "abc"));
    EXPECT_FALSE(finished(ftyp + mdat.substr(0, 9)));
    EXPECT_FALSE(finished(ftyp + std::string("\0\0\0\x08mdatab", 10) + moov));
    EXPECT_FALSE(finished(""));
}

}  // namespace
}  // namespace mediakit_tool
