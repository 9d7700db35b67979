// Cancellable input and the console.
#include "Platform/Kernel/Console.h"
#include "Platform/Kernel/CriticalSection.h"
#include "Platform/Kernel/Event.h"
#include "Platform/Kernel/LastError.h"
#include "Platform/Kernel/SequentialReader.h"
#include "Platform/Kernel/Thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

class SequentialReaderTest : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = testing::TempDir() + "kernel-input-XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        m_folder = pattern;
        ASSERT_EQ(mkfifo(Pipe().c_str(), 0600), 0);
    }
    void TearDown() override { std::filesystem::remove_all(m_folder); }
    std::string Pipe() const { return m_folder / "pipe"; }

    std::string ReadSome(DWORD* error = nullptr) {
        char buffer[8];
        std::size_t read = 99;
        const DWORD result = m_reader.Read(buffer, sizeof buffer, &read);
        if (error)
            *error = result;
        else
            EXPECT_EQ(result, NO_ERROR);
        return {buffer, read};
    }

    std::filesystem::path m_folder;
    SequentialReader m_reader;
};

TEST_F(SequentialReaderTest, ReadsAFileToItsEnd) {
    std::ofstream(m_folder / "file") << "twelve bytes";
    ASSERT_EQ(m_reader.Open(m_folder / "file"), NO_ERROR);
    EXPECT_EQ(ReadSome(), "twelve b");
    EXPECT_EQ(ReadSome(), "ytes");
    EXPECT_EQ(ReadSome(), "");
    EXPECT_EQ(m_reader.Open(m_folder / "none"), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(m_reader.Open(m_folder), ERROR_ACCESS_DENIED);
}

TEST_F(SequentialReaderTest, WaitsForAPipesWriterItsBytesAndItsEnd) {
    ASSERT_EQ(m_reader.Open(Pipe()), NO_ERROR);
    std::thread writer([this] {
        std::this_thread::sleep_for(30ms);
        const int fd = ::open(Pipe().c_str(), O_WRONLY | O_CLOEXEC);
        EXPECT_EQ(::write(fd, "abc", 3), 3);
        std::this_thread::sleep_for(30ms);
        EXPECT_EQ(::write(fd, "def", 3), 3);
        ::close(fd);
    });
    EXPECT_EQ(ReadSome(), "abc");
    EXPECT_EQ(ReadSome(), "def");
    EXPECT_EQ(ReadSome(), "");
    writer.join();
}

TEST_F(SequentialReaderTest, CancelEndsABlockedReadAndAllThatFollow) {
    for (const bool withWriter : {false, true}) {
        const int fd = withWriter ? ::open(Pipe().c_str(), O_RDWR | O_CLOEXEC) : -1;
        ASSERT_EQ(m_reader.Open(Pipe()), NO_ERROR);
        const auto start = std::chrono::steady_clock::now();
        std::thread canceller([this] {
            std::this_thread::sleep_for(30ms);
            m_reader.Cancel();
        });
        DWORD error = NO_ERROR;
        EXPECT_EQ(ReadSome(&error), "");
        EXPECT_EQ(error, ERROR_OPERATION_ABORTED);
        EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
        ReadSome(&error);
        EXPECT_EQ(error, ERROR_OPERATION_ABORTED);
        canceller.join();
        if (fd >= 0) ::close(fd);
    }
}

CCritSec g_lock("test");
CAMEvent g_called;
std::atomic<DWORD> g_event{99};
std::atomic<DWORD> g_thread{0};
std::atomic<int> g_earlierCalls{0};

BOOL OnControl(DWORD event) {
    CAutoLock lock(&g_lock);  // on an ordinary thread this waits for whom the signal interrupted
    g_event = event;
    g_thread = GetCurrentThreadId();
    g_called.Set();
    return TRUE;
}

BOOL Earlier(DWORD) {
    ++g_earlierCalls;
    return FALSE;
}

BOOL PassOn(DWORD) { return FALSE; }

TEST(ConsoleTest, HandlersRunOnAnOrdinaryThreadLastAddedFirst) {
    ASSERT_TRUE(SetConsoleCtrlHandler(Earlier, TRUE));
    ASSERT_TRUE(SetConsoleCtrlHandler(OnControl, TRUE));
    ASSERT_TRUE(SetConsoleCtrlHandler(PassOn, TRUE));
    const struct {
        int signal;
        DWORD event;
    } cases[] = {{SIGINT, CTRL_C_EVENT}, {SIGTERM, CTRL_CLOSE_EVENT}, {SIGQUIT, CTRL_BREAK_EVENT}};
    for (const auto& c : cases) {
        {
            CAutoLock lock(&g_lock);
            raise(c.signal);
        }
        ASSERT_TRUE(g_called.Wait(10'000));
        EXPECT_EQ(g_event, c.event);
        EXPECT_NE(g_thread, GetCurrentThreadId());
    }
    EXPECT_EQ(g_earlierCalls, 0) << "an event that is dealt with goes no further";
    EXPECT_TRUE(SetConsoleCtrlHandler(PassOn, FALSE));
    EXPECT_FALSE(SetConsoleCtrlHandler(PassOn, FALSE));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_TRUE(SetConsoleCtrlHandler(OnControl, FALSE));
    EXPECT_TRUE(SetConsoleCtrlHandler(Earlier, FALSE));
}

TEST(ConsoleTest, AnEventThatNobodyTakesEndsTheProcessByItsSignal) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto interrupt = [] {
        SetConsoleCtrlHandler(PassOn, TRUE);
        raise(SIGTERM);
        std::this_thread::sleep_for(20s);
    };
    EXPECT_EXIT(interrupt(), testing::KilledBySignal(SIGTERM), "");
}

TEST(ConsoleTest, SaysWhatTheProcessUsed) {
    const ProcessUsage before = QueryProcessUsage();
    volatile std::uint64_t sum = 0;
    const auto start = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() - start < 60ms) sum = sum + 1;
    const ProcessUsage after = QueryProcessUsage();
    EXPECT_GT(after.user_time + after.kernel_time, before.user_time + before.kernel_time);
    EXPECT_GT(after.peak_memory, 1u << 20);
}

TEST(ConsoleTest, APipeIsNoTerminal) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    const int saved = dup(STDIN_FILENO);
    dup2(ends[0], STDIN_FILENO);
    EXPECT_FALSE(IsTerminal(StandardStream::Input));
    EXPECT_EQ(TerminalWidth(StandardStream::Input, 77), 77);
    SequentialReader reader;
    ASSERT_EQ(reader.OpenStandardInput(), NO_ERROR);
    ASSERT_EQ(::write(ends[1], "in", 2), 2);
    char bytes[4];
    std::size_t read = 0;
    EXPECT_EQ(reader.Read(bytes, sizeof bytes, &read), NO_ERROR);
    EXPECT_EQ(read, 2u);
    dup2(saved, STDIN_FILENO);
    for (const int fd : {ends[0], ends[1], saved}) ::close(fd);
}

}  // namespace
