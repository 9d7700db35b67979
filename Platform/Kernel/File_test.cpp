#include "Platform/Kernel/File.h"

#include "Platform/Kernel/FileFixture_test.h"

#include <sys/stat.h>

namespace file_test {
namespace {

TEST_F(FileTest, ReadsAndWritesAtPositionsWithZerosInGaps) {
    const FilePtr file = Open(kRecorder);
    EXPECT_EQ(Put(*file, 10, "later"), NO_ERROR);
    EXPECT_EQ(Put(*file, 0, "early"), NO_ERROR);
    EXPECT_EQ(Get(*file, 0, 100), std::string("early\0\0\0\0\0later", 15));
    EXPECT_EQ(Get(*file, 15, 10), "");
    EXPECT_EQ(Get(*file, 1000, 10), "") << "behind the end there is nothing, and that is no error";
    EXPECT_EQ(file->SetSize(3), NO_ERROR);
    EXPECT_EQ(Get(*file, 0, 100), "ear");
    EXPECT_EQ(Put(*file, UINT64_MAX - 2, "far"), ERROR_FILE_TOO_LARGE);
    std::size_t read = 1;
    EXPECT_EQ(file->Read(UINT64_MAX, &read, 1, &read), ERROR_INVALID_PARAMETER);
}

TEST_F(FileTest, OpeningCreatesKeepsOrEmptiesAsAsked) {
    EXPECT_EQ(OpenError(kReader), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(OpenError(kReader, "no folder/clip"), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(OpenError(kRecorder, "no folder/clip"), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(OpenError(kReader, "."), ERROR_ACCESS_DENIED);
    EXPECT_EQ(OpenError(kRecorder, ""), ERROR_ACCESS_DENIED);
    FilePtr none;
    EXPECT_EQ(File::Open(nullptr, kReader, &none), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(File::Open(L"", kReader, &none), ERROR_PATH_NOT_FOUND);
    const wchar_t noText[] = {static_cast<wchar_t>(0xDC00), 0};
    EXPECT_EQ(File::Open(noText, kReader, &none), ERROR_INVALID_NAME);
    ASSERT_EQ(mkfifo((m_folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(OpenError(kReader, "pipe"), ERROR_NOT_SUPPORTED);

    EXPECT_EQ(Put(*Open(kRecorder), 0, "content"), NO_ERROR);
    EXPECT_EQ(Size(*Open(kSharedWriter)), 7u);
    EXPECT_EQ(OpenError({FileAccess::Write, FileDeny::None, FileCreation::CreateNew}), ERROR_FILE_EXISTS);
    EXPECT_EQ(Size(*Open(kRecorder)), 0u);
    const FilePtr reader = Open(kReader);
    EXPECT_EQ(Put(*reader, 0, "x"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(reader->SetSize(5), ERROR_ACCESS_DENIED);
    EXPECT_NE(Open(kRecorder, "\xC3\xA9t\xC3\xA9"), nullptr);
    EXPECT_TRUE(std::filesystem::exists(m_folder / "\xC3\xA9t\xC3\xA9"));
}

TEST_F(FileTest, PathsThatLeadToOneFileAreTheSame) {
    Open(kRecorder);
    Open(kRecorder, "second");
    std::filesystem::create_symlink("clip", m_folder / "link");
    EXPECT_TRUE(IsSameFile(m_folder / "clip", m_folder / "link"));
    EXPECT_FALSE(IsSameFile(m_folder / "clip", m_folder / "second"));
    EXPECT_FALSE(IsSameFile(m_folder / "none", m_folder / "none"));
    Put(*Open(kRecorder), 0, "12345");
    FileInfo info;
    EXPECT_EQ(QueryFileInfo(m_folder / "link", &info), NO_ERROR);
    EXPECT_TRUE(info.is_regular && !info.is_directory);
    EXPECT_EQ(info.size, 5u);
    EXPECT_EQ(QueryFileInfo(m_folder, &info), NO_ERROR);
    EXPECT_TRUE(info.is_directory && !info.is_regular);
    EXPECT_EQ(QueryFileInfo(m_folder / "none", &info), ERROR_FILE_NOT_FOUND);
}

}  // namespace
}  // namespace file_test
