// What becomes of small writes.
#include "Platform/Kernel/FileFixture_test.h"

#include <atomic>
#include <thread>

#include <signal.h>
#include <sys/resource.h>

namespace file_test {
namespace {

using FileGatherTest = FileTest;

TEST_F(FileGatherTest, SmallWritesAreGatheredUntilSomebodyLooks) {
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

TEST_F(FileGatherTest, GatheredBytesReachTheSystemBeforeAnythingElse) {
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

TEST_F(FileGatherTest, TheGatherBufferIsHandedOnWhenFull) {
    const FilePtr writer = Open(kRecorder);
    const std::string piece(4000, 'p');
    for (std::uint64_t i = 0; i < 17; ++i) Put(*writer, i * piece.size(), piece);
    EXPECT_EQ(OnDisk().size(), 16 * piece.size());
    EXPECT_EQ(Size(*writer), 17 * piece.size());
}

TEST_F(FileGatherTest, TwoWritersOfOneFileKeepTheirOrder) {
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

TEST_F(FileGatherTest, AnEmptyingOpenDropsWhatAnotherWriterHasGathered) {
    const FilePtr writer = Open(kSharedWriter);
    Put(*writer, 0, "gathered");
    const FilePtr emptied = Open({FileAccess::ReadWrite, FileDeny::None, FileCreation::CreateAlways});
    EXPECT_EQ(Size(*emptied), 0u);
    EXPECT_EQ(writer->Flush(), NO_ERROR);
    EXPECT_EQ(OnDisk(), "") << "it does not come after";
}

TEST_F(FileGatherTest, AFullDiskFailsTheOperationThatFoundOutAndTheNextFlush) {
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

TEST_F(FileGatherTest, BytesThatCouldNotBeHandedOnFollowWhenThereIsRoom) {
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

TEST_F(FileGatherTest, ALargeWriteThatFailsHalfwaySaysHowMuchItWrote) {
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

TEST_F(FileGatherTest, AReaderFollowsAWriterOnAnotherThread) {
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

}  // namespace
}  // namespace file_test
