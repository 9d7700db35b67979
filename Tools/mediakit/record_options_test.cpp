#include "Tools/mediakit/record_options.h"

#include <CLI/CLI.hpp>
#include <gtest/gtest.h>

namespace mediakit_tool {
namespace {

/// Empty when the command line is good.
std::string Complaint(std::vector<std::string> arguments, RecordOptions* options) {
    CLI::App program("", "mediakit");
    program.require_subcommand(1);
    AddRecordVerb(program, *options);
    std::reverse(arguments.begin(), arguments.end());
    try {
        program.parse(arguments);
    } catch (const CLI::ParseError& error) {
        return error.what();
    }
    return {};
}

TEST(RecordOptions, ReadsEverything) {
    RecordOptions options;
    EXPECT_EQ(Complaint({"record",      "-o", "o.mp4",      "--video",    "-",           "--audio",  "a",
                         "--audio",     "b",  "--fps",      "30000/1001", "--faststart", "--rotate", "270",
                         "--title",     "t",  "--software", "s",          "--progress",  "never",    "-q",
                         "--log-level", "3",  "--json",     "--force"},
                        &options),
              "");
    const auto inputs = options.Inputs();
    ASSERT_EQ(inputs.size(), 3u);
    EXPECT_EQ(inputs[0].path, "-");
    EXPECT_EQ(inputs[0].kind, InputOption::Kind::Video);
    EXPECT_EQ(inputs[2].path, "b");
    EXPECT_EQ(options.rate, (FrameRate{30000, 1001}));
    EXPECT_EQ(options.rotate, 270);
    EXPECT_EQ(options.title, "t");
    EXPECT_EQ(options.software, "s");
    EXPECT_EQ(options.progress, ProgressMode::Never);
    EXPECT_EQ(options.logLevel, 3);
    EXPECT_TRUE(options.faststart && options.quiet && options.json && options.force);
}

TEST(RecordOptions, RefusesWhatMakesNoSense) {
    const std::vector<std::vector<std::string>> wrong = {
        {},
        {"record"},
        {"play"},
        {"record", "-o", "o.mp4"},
        {"record", "--video", "v"},
        {"record", "-o", "-", "--video", "v"},
        {"record", "-o", "o.mp4", "--video", "-", "--audio", "-"},
        {"record", "-o", "o.mp4", "--audio", "-", "--audio", "-"},
        {"record", "-o", "o.mp4", "--video", "v", "--fps", "23.976"},
        {"record", "-o", "o.mp4", "--video", "v", "--rotate", "45"},
        {"record", "-o", "o.mp4", "--audio", "a", "--rotate", "90"},
        {"record", "-o", "o.mp4", "--audio", "a", "--fps", "25"},
        {"record", "-o", "o.mp4", "--video", "v", "--log-level", "6"},
        {"record", "-o", "o.mp4", "--video", "v", "--progress", "maybe"},
        {"record", "-o", "o.mp4", "--video", "v", "stray"},
    };
    for (const auto& arguments : wrong) {
        RecordOptions options;
        EXPECT_NE(Complaint(arguments, &options), "") << testing::PrintToString(arguments);
    }
}

}  // namespace
}  // namespace mediakit_tool
