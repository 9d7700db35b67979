// A folder of its own for each test, and files opened in it.
#pragma once

#include "Platform/Kernel/File.h"
#include "Platform/Kernel/LastError.h"
#include "Platform/Kernel/Text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace file_test {

inline constexpr FileOpenMode kRecorder{FileAccess::Write, FileDeny::Write, FileCreation::CreateAlways};
inline constexpr FileOpenMode kReader{};
inline constexpr FileOpenMode kSharedWriter{FileAccess::ReadWrite, FileDeny::None, FileCreation::OpenAlways};

using FilePtr = std::shared_ptr<File>;

class FileTest : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = testing::TempDir() + "kernel-file-XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        m_folder = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(m_folder); }

    std::wstring Path(const char* name = "clip") const { return win32::ConvertFromUtf8((m_folder / name).native()); }

    FilePtr Open(const FileOpenMode& mode, const char* name = "clip") {
        FilePtr file;
        m_error = File::Open(Path(name).c_str(), mode, &file);
        EXPECT_EQ(file != nullptr, m_error == NO_ERROR);
        return file;
    }
    DWORD OpenError(const FileOpenMode& mode, const char* name = "clip") {
        Open(mode, name);
        return m_error;
    }

    /// What the system has of the file, past the kernel.
    std::string OnDisk() const {
        std::string bytes(1 << 20, '\0');
        const int fd = ::open((m_folder / "clip").c_str(), O_RDONLY | O_CLOEXEC);
        const ssize_t count = ::pread(fd, bytes.data(), bytes.size(), 0);
        ::close(fd);
        bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        return bytes;
    }

    std::filesystem::path m_folder;
    DWORD m_error = NO_ERROR;
};

inline DWORD Put(File& file, std::uint64_t position, const std::string& bytes) {
    return file.Write(position, bytes.data(), bytes.size());
}

inline std::string Get(File& file, std::uint64_t position, std::size_t size) {
    std::string bytes(size, '?');
    std::size_t read = 0;
    EXPECT_EQ(file.Read(position, bytes.data(), size, &read), NO_ERROR);
    bytes.resize(read);
    return bytes;
}

inline std::uint64_t Size(File& file) {
    std::uint64_t size = 0;
    EXPECT_EQ(file.GetSize(&size), NO_ERROR);
    return size;
}

}  // namespace file_test
