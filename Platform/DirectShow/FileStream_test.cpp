#include "Platform/DirectShow/FileStream.h"

#include "Platform/Com/ComPtr.h"
#include "Platform/Kernel/LastError.h"
#include "Platform/Kernel/Memory.h"
#include "Platform/Kernel/Text.h"
#include "Testing/Kit/failing_new.h"
#include "Testing/Kit/failing_new_operators.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <string_view>

namespace {

constexpr DWORD kSinkMode = STGM_CREATE | STGM_SHARE_DENY_WRITE | STGM_WRITE;
constexpr DWORD kReaderMode = STGM_READ | STGM_SHARE_DENY_NONE;
constexpr HRESULT kSharingViolation = HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION);

class Files : public ::testing::Test {
protected:
    void SetUp() override {
        m_path = std::filesystem::path(::testing::TempDir()) /
                 (std::string("file_stream_") + ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::remove(m_path);
    }
    void TearDown() override { std::filesystem::remove(m_path); }

    ComPtr<IStream> Open(DWORD mode) {
        ComPtr<IStream> stream;
        m_result = SHCreateStreamOnFileW(win32::ConvertFromUtf8(m_path.string()).c_str(), mode, stream.put());
        return stream;
    }
    /// What the system has, past all of this process's gathering.
    std::string OnDisk() const {
        std::ifstream file(m_path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }

    static HRESULT Write(const ComPtr<IStream>& stream, std::string_view text) {
        return stream->Write(text.data(), static_cast<ULONG>(text.size()), nullptr);
    }
    static std::string Read(const ComPtr<IStream>& stream, ULONG count) {
        std::string text(count, '\0');
        ULONG read = 0;
        EXPECT_EQ(stream->Read(text.data(), count, &read), S_OK);
        text.resize(read);
        return text;
    }
    static std::uint64_t Seek(const ComPtr<IStream>& stream, LONGLONG move, DWORD origin = STREAM_SEEK_SET) {
        ULARGE_INTEGER position{~ULONGLONG{0}};
        EXPECT_EQ(stream->Seek({move}, origin, &position), S_OK);
        return position.QuadPart;
    }
    static std::uint64_t Size(const ComPtr<IStream>& stream) {
        STATSTG stat{};
        EXPECT_EQ(stream->Stat(&stat, STATFLAG_NONAME), S_OK);
        EXPECT_EQ(stat.pwcsName, nullptr);
        return stat.cbSize.QuadPart;
    }

    std::filesystem::path m_path;
    HRESULT m_result = S_OK;
};

}  // namespace

TEST_F(Files, WriteSeekAndReadBack) {
    auto stream = Open(kSinkMode);
    ASSERT_TRUE(stream);
    EXPECT_EQ(Write(stream, "abcdef"), S_OK);
    EXPECT_EQ(Seek(stream, -2, STREAM_SEEK_CUR), 4u);
    EXPECT_EQ(Write(stream, "XY"), S_OK);
    EXPECT_EQ(Seek(stream, 2, STREAM_SEEK_END), 8u);
    EXPECT_EQ(Write(stream, "z"), S_OK);
    Seek(stream, 0);
    EXPECT_EQ(Read(stream, 100), std::string("abcdXY\0\0z", 9)) << "a hole reads as zeros, a short read is a success";
    EXPECT_EQ(Size(stream), 9u);

    EXPECT_EQ(stream->Seek({-1}, STREAM_SEEK_SET, nullptr), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(stream->Seek({-100}, STREAM_SEEK_CUR, nullptr), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(stream->Seek({0}, 3, nullptr), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(Seek(stream, 0, STREAM_SEEK_CUR), 9u) << "a refused seek moves nothing";
    ASSERT_EQ(stream->SetSize({3}), S_OK);
    EXPECT_EQ(Size(stream), 3u);
    EXPECT_EQ(stream->LockRegion({0}, {1}, 0), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(stream->UnlockRegion({0}, {1}, 0), STG_E_INVALIDFUNCTION);
}

TEST_F(Files, ReadersShareWithTheWriterAndSeeItGrow) {
    auto writer = Open(kSinkMode);
    auto reader = Open(kReaderMode);
    ASSERT_TRUE(reader);
    EXPECT_EQ(Size(reader), 0u);
    Write(writer, "small");
    EXPECT_EQ(Size(reader), 5u) << "gathered bytes count";
    EXPECT_EQ(Read(reader, 10), "small");
    EXPECT_EQ(Write(reader, "x"), HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED));

    EXPECT_FALSE(Open(kSinkMode));
    EXPECT_EQ(m_result, kSharingViolation);
    EXPECT_EQ(OnDisk(), "small") << "the refused open did not empty the file";
    writer.reset();
    EXPECT_TRUE(Open(kSinkMode)) << "a reader that denies nothing is in nobody's way";
}

TEST_F(Files, GathersSmallWritesAndHandsThemOnInOrder) {
    auto stream = Open(kSinkMode);
    Write(stream, "box");
    EXPECT_EQ(OnDisk(), "");
    EXPECT_EQ(stream->Commit(STGC_DEFAULT), S_OK);
    EXPECT_EQ(OnDisk(), "box");

    Write(stream, "+");
    const std::string large(8192, 'L');
    Write(stream, large);
    EXPECT_EQ(OnDisk(), "box+" + large) << "a sample's worth goes at once, behind what came before";

    Seek(stream, 0);
    Write(stream, "BOX");
    Seek(stream, 3);
    EXPECT_EQ(Read(stream, 2), "+L");
    EXPECT_EQ(OnDisk().substr(0, 4), "BOX+");
    Write(stream, "end");
    stream.reset();
    EXPECT_EQ(OnDisk().substr(5, 3), "end") << "closing hands on the rest";
}

TEST_F(Files, CloneHasItsOwnPositionAndReadsAWritersFile) {
    auto stream = Open(kSinkMode);
    Write(stream, "0123456789");
    Seek(stream, 4);
    ComPtr<IStream> clone;
    ASSERT_EQ(stream->Clone(clone.put()), S_OK);
    EXPECT_EQ(Read(clone, 3), "456");
    EXPECT_EQ(Seek(stream, 0, STREAM_SEEK_CUR), 4u);
    Write(stream, "x");
    Seek(clone, 0);
    EXPECT_EQ(Read(clone, 10), "0123x56789");
    stream.reset();
    EXPECT_FALSE(Open(kSinkMode)) << "the clone keeps the file open, with its sharing";
    EXPECT_EQ(m_result, kSharingViolation);
}

TEST_F(Files, CopyToStopsAtTheEnd) {
    auto stream = Open(kSinkMode);
    const std::string text(200000, 'c');
    Write(stream, "head");
    Write(stream, text);
    const auto copyPath = m_path.string() + ".copy";
    {
        ComPtr<IStream> copy;
        ASSERT_EQ(SHCreateStreamOnFileW(win32::ConvertFromUtf8(copyPath).c_str(), kSinkMode, copy.put()), S_OK);
        Seek(stream, 4);
        ULARGE_INTEGER read{};
        ULARGE_INTEGER written{};
        ASSERT_EQ(stream->CopyTo(copy.get(), {150000}, &read, &written), S_OK);
        EXPECT_EQ(read.QuadPart, 150000u);
        ASSERT_EQ(stream->CopyTo(copy.get(), {~ULONGLONG{0}}, &read, &written), S_OK);
        EXPECT_EQ(written.QuadPart, 50000u);
        Seek(copy, 0);
        EXPECT_EQ(Read(copy, 300000), text);
        EXPECT_EQ(stream->CopyTo(nullptr, {1}, nullptr, nullptr), E_POINTER);
    }
    std::filesystem::remove(copyPath);
}

TEST_F(Files, CloningHandsOnWhatIsGathered) {
    auto stream = Open(kSinkMode);
    Write(stream, "gathered");
    ComPtr<IStream> clone;
    ASSERT_EQ(stream->Clone(clone.put()), S_OK);
    EXPECT_EQ(OnDisk(), "gathered");

    ASSERT_EQ(SHCreateStreamOnFileW(L"/dev/full", kSinkMode, stream.put()), S_OK);
    Write(stream, "x");
    IStream* none = stream.get();
    EXPECT_EQ(stream->Clone(&none), HRESULT_FROM_WIN32(ERROR_DISK_FULL));
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(stream->Commit(STGC_DEFAULT), HRESULT_FROM_WIN32(ERROR_DISK_FULL));
}

TEST_F(Files, WantOfMemoryIsAResult) {
    auto stream = Open(kSinkMode);
    Write(stream, "0123456789");
    const std::wstring path = win32::ConvertFromUtf8(m_path.string());
    const auto copy = [&](IStream** target) {
        *target = nullptr;
        Seek(stream, 0);
        return stream->CopyTo(stream.get(), {5}, nullptr, nullptr);
    };
    const auto open = [&](IStream** target) { return SHCreateStreamOnFileW(path.c_str(), kReaderMode, target); };
    const auto clone = [&](IStream** target) { return stream->Clone(target); };
    const std::function<HRESULT(IStream**)> kOperations[] = {open, clone, copy};
    for (const auto& operation : kOperations) {
        bool failed = true;
        int refusals = 0;
        for (int n = 1; failed; ++n) {
            IStream* made = nullptr;
            HRESULT hr = S_OK;
            {
                mediakit_test::failing_new failure(n);
                hr = operation(&made);
                failed = failure.happened();
            }
            EXPECT_EQ(FAILED(hr), failed) << "allocation " << n;
            if (FAILED(hr)) {
                EXPECT_EQ(made, nullptr);
                EXPECT_TRUE(hr == E_OUTOFMEMORY || hr == HRESULT_FROM_WIN32(ERROR_NOT_ENOUGH_MEMORY)) << hr;
            }
            refusals += hr == E_OUTOFMEMORY ? 1 : 0;
            if (made != nullptr) made->Release();
        }
        EXPECT_GE(refusals, 1);
    }
}

TEST_F(Files, OpensTellWhyTheyFail) {
    EXPECT_FALSE(Open(kReaderMode));
    EXPECT_EQ(m_result, HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    EXPECT_FALSE(Open(STGM_WRITE));
    EXPECT_EQ(m_result, HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)) << "without STGM_CREATE the file must be there";
    ComPtr<IStream> stream;
    EXPECT_EQ(SHCreateStreamOnFileW(L"", kSinkMode, stream.put()), HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND));
    m_path /= "missing";
    EXPECT_FALSE(Open(kSinkMode));
    EXPECT_EQ(m_result, HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND));
}

TEST_F(Files, StatTellsNameModeAndTimes) {
    auto stream = Open(kSinkMode);
    Write(stream, "abc");
    STATSTG stat{};
    ASSERT_EQ(stream->Stat(&stat, STATFLAG_DEFAULT), S_OK);
    EXPECT_EQ(win32::ConvertToUtf8(stat.pwcsName), m_path.string());
    EXPECT_EQ(stat.grfMode, kSinkMode);
    EXPECT_EQ(stat.cbSize.QuadPart, 3u);
    // 2020-01-01 as a count of 100 ns since 1601-01-01.
    EXPECT_GT(FileTimeToUInt64(stat.mtime), 132223104000000000u);
    CoTaskMemFree(stat.pwcsName);
}
