// Who may open a file beside whom, in one process and in two.
#include "Platform/Kernel/FileFixture_test.h"

#include <chrono>
#include <thread>

#include <signal.h>
#include <sys/wait.h>

namespace file_test {
namespace {

using FileSharingTest = FileTest;

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

TEST_F(FileSharingTest, SharingHoldsWithinTheProcessWhateverNameTheFileHas) {
    Open(kRecorder);
    std::filesystem::create_hard_link(m_folder / "clip", m_folder / "other name");
    for (const SharingCase& c : kSharing) {
        SCOPED_TRACE(&c - kSharing);
        const FilePtr first = Open(c.first);
        EXPECT_EQ(OpenError(c.second, "other name"), c.allowed ? NO_ERROR : ERROR_SHARING_VIOLATION);
    }
    EXPECT_EQ(OpenError(kRecorder), NO_ERROR) << "nothing is left behind";
}

TEST_F(FileSharingTest, ARefusedWriterDoesNotEmptyTheFile) {
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

TEST_F(FileSharingTest, SharingHoldsAcrossProcesses) {
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

TEST_F(FileSharingTest, AProcessThatDiesLetsGoOfItsFile) {
    OtherProcess other(Path());
    ASSERT_EQ(other.Open(kRecorder), NO_ERROR);
    EXPECT_EQ(OpenError(kRecorder), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(OpenError(kReader), NO_ERROR);
    other.Kill();
    for (int i = 0; i < 500 && OpenError(kRecorder) != NO_ERROR; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(m_error, NO_ERROR);
}

}  // namespace
}  // namespace file_test
