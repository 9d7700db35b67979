#include "Platform/Kernel/File.h"

#include "Platform/Kernel/LastError.h"
#include "Platform/Kernel/Text.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr FileOpenMode kRecorder{FileAccess::Write, FileDeny::Write, FileCreation::CreateAlways};
constexpr FileOpenMode kReader{};
constexpr FileOpenMode kSharedWriter{FileAccess::ReadWrite, FileDeny::None, FileCreation::OpenAlways};

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

DWORD Put(File& file, std::uint64_t position, const std::string& bytes) {
    return file.Write(position, bytes.data(), bytes.size());
}

std::string Get(File& file, std::uint64_t position, std::size_t size) {
    std::string bytes(size, '?');
    std::size_t read = 0;
    EXPECT_EQ(file.Read(position, bytes.data(), size, &read), NO_ERROR);
    bytes.resize(read);
    return bytes;
}

std::uint64_t Size(File& file) {
    std::uint64_t size = 0;
    EXPECT_EQ(file.GetSize(&size), NO_ERROR);
    return size;
}

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

/// Every pair of opens against the rule; the same table judges two opens here and one in each of two processes.
struct SharingCase {
    FileOpenMode first;
    FileOpenMode second;
    bool allowed;
};
constexpr auto kOpen = FileCreation::OpenAlways;
constexpr SharingCase kSharing[] = {
    {{FileAccess::Write, FileDeny::Write, kOpen}, {FileAccess::Write, FileDeny::Write, kOpen}, false},
    {{FileAccess::Write, FileDeny::Write, kOpen}, {FileAccess::Write, FileDeny::None, kOpen}, false},
    {{FileAccess::Write, FileDeny::None, kOpen}, {FileAccess::Write, FileDeny::Write, kOpen}, false},
    {{FileAccess::Write, FileDeny::None, kOpen}, {FileAccess::ReadWrite, FileDeny::None, kOpen}, true},
    {{FileAccess::Write, FileDeny::Write, kOpen}, {FileAccess::Read, FileDeny::None, kOpen}, true},
    {{FileAccess::Read, FileDeny::None, kOpen}, {FileAccess::Write, FileDeny::Write, kOpen}, true},
    {{FileAccess::Read, FileDeny::Write, kOpen}, {FileAccess::Write, FileDeny::None, kOpen}, false},
    {{FileAccess::Write, FileDeny::None, kOpen}, {FileAccess::Read, FileDeny::Write, kOpen}, false},
    {{FileAccess::Read, FileDeny::Write, kOpen}, {FileAccess::Read, FileDeny::Write, kOpen}, true},
    {{FileAccess::Write, FileDeny::ReadAndWrite, kOpen}, {FileAccess::Read, FileDeny::None, kOpen}, false},
    {{FileAccess::Read, FileDeny::None, kOpen}, {FileAccess::Write, FileDeny::Read, kOpen}, false},
    {{FileAccess::Write, FileDeny::Read, kOpen}, {FileAccess::Write, FileDeny::Read, kOpen}, true},
};

TEST_F(FileTest, SharingHoldsWithinTheProcessWhateverNameTheFileHas) {
    Open(kRecorder);
    std::filesystem::create_hard_link(m_folder / "clip", m_folder / "other name");
    for (const SharingCase& c : kSharing) {
        SCOPED_TRACE(&c - kSharing);
        const FilePtr first = Open(c.first);
        EXPECT_EQ(OpenError(c.second, "other name"), c.allowed ? NO_ERROR : ERROR_SHARING_VIOLATION);
    }
    EXPECT_EQ(OpenError(kRecorder), NO_ERROR) << "nothing is left behind";
}

TEST_F(FileTest, ARefusedWriterDoesNotEmptyTheFile) {
    const FilePtr recording = Open(kRecorder);
    EXPECT_EQ(Put(*recording, 0, std::string(5000, 'r')), NO_ERROR);
    EXPECT_EQ(OpenError(kRecorder), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(Size(*recording), 5000u);
}

/// A process that opens the file as it is told, until the test ends it.
class OtherProcess {
public:
    explicit OtherProcess(const std::wstring& path) {
        EXPECT_EQ(pipe2(m_commands, O_CLOEXEC), 0);
        EXPECT_EQ(pipe2(m_answers, O_CLOEXEC), 0);
        m_pid = fork();
        if (m_pid == 0) Serve(path);
    }
    ~OtherProcess() {
        ::close(m_commands[1]);
        int status = 0;
        waitpid(m_pid, &status, 0);
        for (const int fd : {m_commands[0], m_answers[0], m_answers[1]}) ::close(fd);
    }
    /// Lets go of the file that it has and opens it anew.
    DWORD Open(const FileOpenMode& mode) {
        DWORD answer = 4711;
        EXPECT_EQ(::write(m_commands[1], &mode, sizeof mode), static_cast<ssize_t>(sizeof mode));
        EXPECT_EQ(::read(m_answers[0], &answer, sizeof answer), static_cast<ssize_t>(sizeof answer));
        return answer;
    }
    void Close() { EXPECT_EQ(Open(kNoOpen), ERROR_INVALID_PARAMETER); }
    void Kill() { ::kill(m_pid, SIGKILL); }

private:
    static constexpr FileOpenMode kNoOpen{static_cast<FileAccess>(99)};

    [[noreturn]] void Serve(const std::wstring& path) {
        ::close(m_commands[1]);
        FileOpenMode mode;
        FilePtr file;
        while (::read(m_commands[0], &mode, sizeof mode) == static_cast<ssize_t>(sizeof mode)) {
            file.reset();
            const bool open = mode.access != kNoOpen.access;
            const DWORD error = File::Open(open ? path.c_str() : nullptr, mode, &file);
            if (::write(m_answers[1], &error, sizeof error) < 0) break;
        }
        _exit(0);
    }

    int m_commands[2] = {};
    int m_answers[2] = {};
    pid_t m_pid = -1;
};

TEST_F(FileTest, SharingHoldsAcrossProcesses) {
    Open(kRecorder);
    OtherProcess other(Path());
    for (const SharingCase& c : kSharing) {
        SCOPED_TRACE(&c - kSharing);
        other.Close();
        const FilePtr first = Open(c.first);
        ASSERT_NE(first, nullptr);
        EXPECT_EQ(other.Open(c.second), c.allowed ? NO_ERROR : ERROR_SHARING_VIOLATION);
    }
}

TEST_F(FileTest, AProcessThatDiesLetsGoOfItsFile) {
    OtherProcess other(Path());
    ASSERT_EQ(other.Open(kRecorder), NO_ERROR);
    EXPECT_EQ(OpenError(kRecorder), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(OpenError(kReader), NO_ERROR);
    other.Kill();
    for (int i = 0; i < 500 && OpenError(kRecorder) != NO_ERROR; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(m_error, NO_ERROR);
}

TEST_F(FileTest, SmallWritesAreGatheredUntilSomebodyLooks) {
    const FilePtr writer = Open(kRecorder);
    const FilePtr reader = Open(kReader);
    std::string expected;
    for (int i = 0; i < 100; ++i) {
        const std::string bytes(static_cast<std::size_t>(i), static_cast<char>('a' + i % 26));
        EXPECT_EQ(Put(*writer, expected.size(), bytes), NO_ERROR);
        expected += bytes;
    }
    EXPECT_EQ(OnDisk(), "") << "nothing has asked for it";
    EXPECT_EQ(Get(*reader, 4, 10), expected.substr(4, 10)) << "another stream of the process sees it";
    EXPECT_EQ(OnDisk(), expected);

    EXPECT_EQ(Put(*writer, expected.size(), "tail"), NO_ERROR);
    EXPECT_EQ(Size(*reader), expected.size() + 4);
    EXPECT_EQ(OnDisk(), expected + "tail") << "a size query hands on too";
}

TEST_F(FileTest, GatheredBytesReachTheSystemBeforeAnythingElse) {
    const std::string large(File::kGatherLimit, 'L');
    FilePtr writer = Open(kRecorder);
    Put(*writer, 0, "head");
    EXPECT_EQ(Put(*writer, 4, large), NO_ERROR);
    EXPECT_EQ(OnDisk(), "head" + large) << "a large write goes at once and takes them along";
    Put(*writer, 4 + large.size(), "next");
    EXPECT_EQ(Put(*writer, 0, "HEAD"), NO_ERROR);
    EXPECT_EQ(OnDisk(), "head" + large + "next") << "a write elsewhere";
    Put(*writer, 8000, large);
    EXPECT_EQ(OnDisk().substr(0, 4), "HEAD") << "a large write elsewhere";
    Put(*writer, 0, "flushed");
    EXPECT_EQ(writer->Flush(), NO_ERROR);
    EXPECT_EQ(OnDisk().substr(0, 7), "flushed");
    Put(*writer, 0, "cut");
    EXPECT_EQ(writer->SetSize(5), NO_ERROR);
    EXPECT_EQ(OnDisk(), "cutsh");
    Put(*writer, 5, "closed");
    writer.reset();
    EXPECT_EQ(OnDisk(), "cutshclosed");
}

TEST_F(FileTest, TheGatherBufferIsHandedOnWhenFull) {
    const FilePtr writer = Open(kRecorder);
    const std::string piece(4000, 'p');
    for (std::uint64_t i = 0; i < 17; ++i) Put(*writer, i * piece.size(), piece);
    EXPECT_EQ(OnDisk().size(), 16 * piece.size());
    EXPECT_EQ(Size(*writer), 17 * piece.size());
}

TEST_F(FileTest, TwoWritersOfOneFileKeepTheirOrder) {
    FilePtr first = Open(kSharedWriter);
    const FilePtr second = Open(kSharedWriter);
    Put(*first, 0, "aaaa");
    Put(*second, 4, "bbbb");
    Put(*first, 2, "cc");
    Put(*second, 4, "dd");
    first.reset();
    EXPECT_EQ(OnDisk(), "aaccddbb") << "what went through the closed writer is there, whoever gathered it";
    second->Flush();
    EXPECT_EQ(OnDisk(), "aaccddbb");
}

TEST_F(FileTest, AFullDiskFailsTheOperationThatFoundOutAndTheNextFlush) {
    FilePtr full;
    ASSERT_EQ(File::Open(L"/dev/full", {FileAccess::Write, FileDeny::Write, FileCreation::CreateAlways}, &full),
              NO_ERROR);
    std::size_t written = 1;
    const std::string large(5000, 'x');
    EXPECT_EQ(full->Write(0, large.data(), large.size(), &written), ERROR_DISK_FULL);
    EXPECT_EQ(written, 0u);
    EXPECT_EQ(GetLastError(), ERROR_DISK_FULL);
    EXPECT_EQ(full->Flush(), NO_ERROR) << "the write itself said so";

    EXPECT_EQ(Put(*full, 0, "gathered"), NO_ERROR);
    std::uint64_t size = 0;
    EXPECT_EQ(full->GetSize(&size), ERROR_DISK_FULL);
    EXPECT_EQ(full->GetSize(&size), NO_ERROR) << "a look does not try again";
    EXPECT_EQ(Put(*full, 100, "elsewhere"), ERROR_DISK_FULL);
    EXPECT_EQ(full->Flush(), ERROR_DISK_FULL);
}

/// Lets no file grow beyond a size.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t size) : m_handler(signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{size, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &m_before);
        signal(SIGXFSZ, m_handler);
    }

private:
    rlimit m_before{};
    void (*m_handler)(int);
};

TEST_F(FileTest, BytesThatCouldNotBeHandedOnFollowWhenThereIsRoom) {
    const FilePtr writer = Open(kRecorder);
    const FilePtr reader = Open(kReader);
    Put(*writer, 0, "0123");
    Put(*writer, 4, "456789");
    {
        FileSizeLimit limit(6);
        std::uint64_t size = 0;
        EXPECT_EQ(reader->GetSize(&size), ERROR_FILE_TOO_LARGE) << "a short write and then the error";
        EXPECT_EQ(Get(*reader, 0, 100), "012345") << "what is there can be read";
        EXPECT_EQ(Put(*writer, 10, std::string(5000, 'x')), ERROR_FILE_TOO_LARGE);
    }
    EXPECT_EQ(writer->Flush(), ERROR_FILE_TOO_LARGE) << "it succeeds, and tells of the failure before";
    EXPECT_EQ(OnDisk(), "0123456789");
    EXPECT_EQ(writer->Flush(), NO_ERROR);
}

TEST_F(FileTest, ALargeWriteThatFailsHalfwaySaysHowMuchItWrote) {
    const FilePtr writer = Open(kRecorder);
    Put(*writer, 0, "head");
    const std::string large(5000, 'x');
    std::size_t written = 0;
    {
        FileSizeLimit limit(1004);
        EXPECT_EQ(writer->Write(4, large.data(), large.size(), &written), ERROR_FILE_TOO_LARGE);
    }
    EXPECT_EQ(written, 1000u);
    EXPECT_EQ(writer->Flush(), NO_ERROR);
}

TEST_F(FileTest, AReaderFollowsAWriterOnAnotherThread) {
    constexpr std::size_t kTotal = 400'000;
    const FilePtr writer = Open(kRecorder);
    std::atomic<std::size_t> announced{0};
    std::jthread writing([&] {
        for (std::size_t done = 0; done < kTotal;) {
            const std::size_t size = std::min<std::size_t>(1 + done % 6000, kTotal - done);
            std::string bytes(size, '\0');
            for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((done + i) % 251);
            ASSERT_EQ(Put(*writer, done, bytes), NO_ERROR);
            done += size;
            announced.store(done);
        }
    });
    const FilePtr reader = Open(kReader);
    for (std::size_t checked = 0; checked < kTotal;) {
        const std::size_t available = announced.load();
        const std::string bytes = Get(*reader, checked, available - checked);
        ASSERT_EQ(bytes.size(), available - checked);
        for (const char c : bytes) ASSERT_EQ(static_cast<unsigned char>(c), checked++ % 251);
    }
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
