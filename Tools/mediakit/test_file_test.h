// A file on disk for a test.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

namespace mediakit_tool {

/// Goes with the object.
class TestFile {
public:
    explicit TestFile(const std::vector<std::uint8_t>& bytes)
        : m_path(std::filesystem::temp_directory_path() / ("mediakit-" + std::to_string(std::random_device()()))) {
        std::ofstream(m_path, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }
    ~TestFile() {
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }
    TestFile(const TestFile&) = delete;
    TestFile& operator=(const TestFile&) = delete;

    std::string Path() const { return m_path.string(); }

private:
    const std::filesystem::path m_path;
};

}  // namespace mediakit_tool
