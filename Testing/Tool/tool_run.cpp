#include "Testing/Tool/tool_run.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace mediakit_test {

namespace fs = std::filesystem;

WorkFolder::WorkFolder() {
    // Tests run as processes of their own at the same time: the clock and the object's place tell them apart.
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(test->test_suite_name()) + "." + test->name();
    for (char& c : name)
        if (c == '/') c = '-';
    m_path = fs::temp_directory_path() / ("mediakit-" + name + "-" + std::to_string(now));
    fs::create_directories(m_path);
}

WorkFolder::~WorkFolder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

RunResult WorkFolder::Run(const std::string& command) const {
    Write(".command", "cd '" + m_path.string() + "'\n" + command + "\n");
    const std::string line = "sh '" + Path(".command") + "' >'" + Path(".out") + "' 2>'" + Path(".err") + "'";
    const int status = std::system(line.c_str());
    RunResult result;
    result.status = status >> 8 & 0xFF;  // where the system keeps the exit status
    if ((status & 0x7F) != 0) result.status = 128 + (status & 0x7F);
    result.out = Read(".out");
    result.err = Read(".err");
    return result;
}

std::string WorkFolder::Ffmpeg(const std::string& arguments, Warnings warnings) const {
    const RunResult result = Run(FFMPEG_PROGRAM " -hide_banner -nostdin -y -v warning " + arguments);
    EXPECT_EQ(result.status, 0) << arguments << "\n" << result.err;
    if (warnings == Warnings::Fail) {
        EXPECT_EQ(result.err, "") << arguments;
    }
    return result.out;
}

nlohmann::json WorkFolder::Probe(const std::string& file, const std::string& arguments, Warnings warnings) const {
    const RunResult result = Run(FFPROBE_PROGRAM " -v warning -of json " + arguments + " " + file);
    EXPECT_EQ(result.status, 0) << result.err;
    if (warnings == Warnings::Fail) {
        EXPECT_EQ(result.err, "") << file;
    }
    return nlohmann::json::parse(result.out, nullptr, false);
}

std::string WorkFolder::Read(const std::string& name) const {
    std::ifstream file(m_path / name, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

void WorkFolder::Write(const std::string& name, const std::string& bytes) const {
    std::ofstream(m_path / name, std::ios::binary) << bytes;
}

}  // namespace mediakit_test
