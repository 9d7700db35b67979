// Sink and source together: one writes, the other reads while it does.
#include "Platform/DirectShow/IAMAsyncReaderTimestampScaling.h"
#include "Platform/DirectShow/IMediaPosition.h"
#include "Platform/Kernel/Text.h"
#include "Testing/Kit/fake_filters.h"
#include "Testing/Kit/log_capture.h"
#include "VideoIO/StreamFilters/SharedFile/SharedFileSinkFilter.h"
#include "VideoIO/StreamFilters/SharedFile/SharedFileSourceFilter.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

namespace Norvane::MediaKit::Filters {
namespace {

using mediakit_test::fake;
using mediakit_test::fake_output;
using mediakit_test::fake_sink;
using mediakit_test::make_type;

constexpr HRESULT kFileNotFound = HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
constexpr HRESULT kPathNotFound = HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND);

std::vector<BYTE> Bytes(const std::string& text) { return {text.begin(), text.end()}; }

/// An output pin that says how its times tell byte positions, as a multiplexer's does, and can be sought.
class ScalingOutput : public fake_output, public IAMAsyncReaderTimestampScaling {
public:
    using fake_output::fake_output;
    DECLARE_IUNKNOWN
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override {
        if (riid == IID_IAMAsyncReaderTimestampScaling) return GetInterface<IAMAsyncReaderTimestampScaling>(this, ppv);
        return fake_output::NonDelegatingQueryInterface(riid, ppv);
    }
    HRESULT GetTimestampMode(BOOL* raw) override {
        *raw = mode;
        return S_OK;
    }
    HRESULT SetTimestampMode(BOOL) override { return E_NOTIMPL; }
    BOOL mode = FALSE;
};

class SharedFile : public ::testing::Test {
protected:
    void SetUp() override {
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        m_path = std::filesystem::path(::testing::TempDir()) / (std::string("shared_file_") + test->name());
        std::filesystem::remove(m_path);
        m_source->types = {make_type(MEDIATYPE_Stream, GUID_NULL)};
    }
    void TearDown() override {
        StopSink();
        m_source->Disconnect();
        m_sink->GetPin(0)->Disconnect();
        std::filesystem::remove(m_path);
    }

    std::wstring Name() const { return win32::ConvertFromUtf8(m_path.string()); }
    void StartSink() {
        ASSERT_EQ(m_sink->SetFileName(Name().c_str(), nullptr), S_OK);
        if (!m_source->IsConnected()) {
            ASSERT_EQ(m_source->Connect(m_sink->GetPin(0), nullptr), S_OK);
        }
        ASSERT_EQ(m_sink->Run(0), S_OK);
        ASSERT_EQ(m_source.filter->Run(0), S_OK);
    }
    void StopSink() {
        m_source.filter->Stop();
        m_sink->Stop();
    }
    HRESULT Send(const std::string& text, REFERENCE_TIME time) { return m_source->send(Bytes(text), time, time + 1); }
    ComPtr<IStream> SinkStream() { return ComPtr<IPin>(m_sink->GetPin(0)).query<IStream>(); }
    std::string OnDisk() const {
        std::ifstream file(m_path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }

    ComPtr<IAsyncReader> Reader() { return ComPtr<IPin>(m_reader->GetPin(0)).query<IAsyncReader>(); }
    /// Up to the first byte that the read left as it was.
    std::string ReadAt(LONGLONG position, LONG length) {
        std::vector<BYTE> buffer(static_cast<std::size_t>(length), BYTE{'.'});
        EXPECT_EQ(Reader()->SyncRead(position, length, buffer.data()), S_OK);
        return {buffer.begin(), buffer.end()};
    }

    std::filesystem::path m_path;
    fake<fake_output> m_source{L"out"};
    ComPtr<SharedFileSinkFilter> m_sink{new SharedFileSinkFilter(nullptr, nullptr)};
    ComPtr<SharedFileSourceFilter> m_reader{new SharedFileSourceFilter(nullptr, nullptr)};
};

}  // namespace

TEST_F(SharedFile, SamplesLandAtTheirPositions) {
    StartSink();
    EXPECT_EQ(Send("later", 10), S_OK);
    EXPECT_EQ(Send("first", 0), S_OK);
    EXPECT_EQ(OnDisk(), std::string("first\0\0\0\0\0later", 15)) << "at once, and with zeros in the hole";
    EXPECT_EQ(Send("L", 10), S_OK);
    EXPECT_EQ(OnDisk().substr(10), "Later");
    EXPECT_EQ(Send("x", -1), STG_E_INVALIDFUNCTION);
}

TEST_F(SharedFile, ScaledPositionsOfAPeerThatSaysSo) {
    fake<ScalingOutput> mux(L"Output");
    mux->types = m_source->types;
    m_sink->SetFileName(Name().c_str(), nullptr);
    ASSERT_EQ(mux->Connect(m_sink->GetPin(0), nullptr), S_OK);
    m_sink->Pause();
    mux.filter->Pause();
    EXPECT_EQ(mux->send(Bytes("ab"), 3 * 10'000'000, 5 * 10'000'000), S_OK);
    EXPECT_EQ(ComPtr<IPin>(m_sink->GetPin(0)).query<IStream>()->Commit(STGC_DEFAULT), S_OK);
    EXPECT_EQ(OnDisk(), std::string("\0\0\0ab", 5)) << "when the multiplexer is done with a run of samples";
    mux.filter->Stop();
    m_sink->Stop();
    mux->Disconnect();
    m_sink->GetPin(0)->Disconnect();

    // The same pin with raw positions: asked again at each connection.
    mux->mode = TRUE;
    ASSERT_EQ(mux->Connect(m_sink->GetPin(0), nullptr), S_OK);
    m_sink->Pause();
    mux.filter->Pause();
    EXPECT_EQ(mux->send(Bytes("c"), 1, 2), S_OK);
    EXPECT_EQ(OnDisk(), std::string("\0c\0ab", 5));
    mux.filter->Stop();
    m_sink->Stop();
    mux->Disconnect();
    m_sink->GetPin(0)->Disconnect();
}

TEST_F(SharedFile, SinkReportsItsFirstFailure) {
    const auto failures = m_sink.query<IFailureInformation>();
    ASSERT_TRUE(failures);
    FilterFailure failure;
    m_sink->SetFileName((Name() + L"/none/file").c_str(), nullptr);
    ASSERT_EQ(m_source->Connect(m_sink->GetPin(0), nullptr), S_OK);
    EXPECT_TRUE(FAILED(m_sink->Pause()));
    EXPECT_EQ(failures->GetFirstFailure(&failure), S_OK);
    EXPECT_EQ(failure.result, kPathNotFound);
    EXPECT_EQ(failure.text, L"cannot create the file");
    m_sink->Stop();

    m_sink->SetFileName(L"/dev/full", nullptr);
    EXPECT_EQ(failures->GetFirstFailure(&failure), S_FALSE);
    ASSERT_EQ(m_sink->Pause(), S_OK);
    ASSERT_EQ(m_source.filter->Pause(), S_OK);
    EXPECT_EQ(Send("lost", 7), HRESULT_FROM_WIN32(ERROR_DISK_FULL));
    EXPECT_TRUE(FAILED(Send("again", 20)));
    EXPECT_EQ(failures->GetFirstFailure(&failure), S_OK);
    EXPECT_EQ(failure.result, HRESULT_FROM_WIN32(ERROR_DISK_FULL));
    EXPECT_GE(failure.position, 7u);
    EXPECT_LT(failure.position, 20u);
}

TEST_F(SharedFile, SinkOffersLargeBuffersAndKeepsThem) {
    const ComPtr<IMemInputPin> pin = ComPtr<IPin>(m_sink->GetPin(0)).query<IMemInputPin>();
    ComPtr<IMemAllocator> allocator, again;
    ASSERT_EQ(pin->GetAllocator(allocator.put()), S_OK);
    ASSERT_EQ(pin->GetAllocator(again.put()), S_OK);
    EXPECT_EQ(allocator, again);
    ALLOCATOR_PROPERTIES request{200, 4096, 1, 0};
    ALLOCATOR_PROPERTIES actual{};
    ASSERT_EQ(allocator->SetProperties(&request, &actual), S_OK);
    EXPECT_EQ(actual.cBuffers, 200);
    EXPECT_GE(actual.cbBuffer, 128 * 1024);
    request.cbBuffer = 1 << 20;
    ASSERT_EQ(allocator->SetProperties(&request, &actual), S_OK);
    EXPECT_EQ(actual.cbBuffer, 1 << 20) << "what is asked for beyond that is given";
}

TEST_F(SharedFile, ASecondRunGoesOnInTheSameFile) {
    StartSink();
    Send("0123", 0);
    StopSink();
    STATSTG stat{};
    EXPECT_EQ(SinkStream()->Stat(&stat, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(stat.cbSize.QuadPart, 4u) << "the file stays open over the stop";
    StartSink();
    Send("x", 1);
    EXPECT_EQ(OnDisk(), "0x23");
}

TEST_F(SharedFile, BoxesGoThroughTheStreamOfThePin) {
    EXPECT_EQ(SinkStream()->Write("x", 1, nullptr), E_UNEXPECTED) << "no file is open yet";
    StartSink();
    const auto stream = SinkStream();
    EXPECT_EQ(stream->Write("ftyp", 4, nullptr), S_OK);
    Send("data", 4);
    EXPECT_EQ(OnDisk(), "ftypdata") << "what was gathered goes before the sample";
    ULARGE_INTEGER position{};
    EXPECT_EQ(stream->Seek({-2}, STREAM_SEEK_END, &position), S_OK);
    EXPECT_EQ(position.QuadPart, 6u);
    ComPtr<IStream> clone;
    ASSERT_EQ(stream->Clone(clone.put()), S_OK);
    char two[2]{};
    EXPECT_EQ(clone->Read(two, 2, nullptr), S_OK);
    EXPECT_EQ(std::string(two, 2), "ta");
    mediakit_test::log_capture log;
    EXPECT_EQ(stream->Seek({-100}, STREAM_SEEK_SET, nullptr), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(log.count(1, L"QZCheckHRESULT"), 1u);
    EXPECT_EQ(stream.query<ISequentialStream>().get(), stream.get());
}

TEST_F(SharedFile, SinkWithoutAFileNameDoesNotStart) {
    ASSERT_EQ(m_source->Connect(m_sink->GetPin(0), nullptr), S_OK);
    EXPECT_EQ(m_sink->Pause(), kPathNotFound);
    EXPECT_TRUE(m_sink->IsStopped());
}

TEST_F(SharedFile, SinkSettings) {
    EXPECT_EQ(m_sink->SetMode(0), E_NOTIMPL);
    EXPECT_EQ(m_sink->SetMode(AM_FILE_OVERWRITE), S_OK);
    DWORD mode = 0;
    EXPECT_EQ(m_sink->GetMode(&mode), S_OK);
    EXPECT_EQ(mode, AM_FILE_OVERWRITE);
    m_sink->SetFileName(L"name", nullptr);
    wchar_t* name = nullptr;
    EXPECT_EQ(m_sink->GetCurFile(&name, nullptr), E_NOTIMPL);
    EXPECT_EQ(m_sink->GetPin(5), m_sink->GetPin(0));
    EXPECT_STREQ(m_sink->GetPin(0)->Name(), L"input");
    EXPECT_EQ(m_sink->IsDirty(), E_NOTIMPL);

    const ComPtr<IUnknown> sink(static_cast<IBaseFilter*>(m_sink.get()));
    EXPECT_EQ(sink.query<IFileSinkFilter>().get(), sink.query<IFileSinkFilter2>().get());
    EXPECT_EQ(sink.query<IPersist>().get(), sink.query<IPersistStream>().get());
    CLSID clsid{};
    EXPECT_EQ(sink.query<IPersistStream>()->GetClassID(&clsid), S_OK);
    EXPECT_EQ(clsid, make_guid("6BD7E381-B5A0-45E7-B44B-568ED706DFA4"));
    EXPECT_EQ(sink.query<IAMFilterMiscFlags>()->GetMiscFlags(), 0u);
}

TEST_F(SharedFile, SeekingTheSinkIsSeekingItsPeer) {
    const ComPtr<IUnknown> sink(static_cast<IBaseFilter*>(m_sink.get()));
    const auto seeking = sink.query<IMediaSeeking>();
    ASSERT_TRUE(seeking);
    EXPECT_TRUE(sink.query<IMediaPosition>());
    EXPECT_EQ(seeking.query<IUnknown>().get(), sink.query<IUnknown>().get()) << "one object to the outside";
    LONGLONG stop = 1;
    EXPECT_EQ(seeking->SetPositions(nullptr, 0, &stop, AM_SEEKING_AbsolutePositioning), E_NOTIMPL);
}

TEST_F(SharedFile, SourceFollowsTheGrowingFile) {
    EXPECT_EQ(m_reader->Load(Name().c_str(), nullptr), kFileNotFound);
    StartSink();
    // The name stayed with the failed load: the file is opened by it now.
    LONGLONG total = -1;
    LONGLONG available = -1;
    EXPECT_EQ(Reader()->Length(&total, &available), S_OK);
    EXPECT_EQ(total, 0);
    Send("0123456789", 0);
    EXPECT_EQ(Reader()->Length(&total, &available), S_OK);
    EXPECT_EQ(total, 10);
    EXPECT_EQ(available, 10);
    SinkStream()->Write("ab", 2, nullptr);
    EXPECT_EQ(ReadAt(8, 4), "89ab") << "gathered bytes are seen within the process";

    EXPECT_EQ(ReadAt(10, 4), "ab..") << "a short read is a success";
    EXPECT_EQ(ReadAt(100, 3), "...");
    EXPECT_EQ(Reader()->SyncRead(-1, 1, nullptr), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(Reader()->SyncRead(0, -1, nullptr), E_INVALIDARG);
}

TEST_F(SharedFile, ThreadsReadWithoutDisturbingEachOther) {
    StartSink();
    std::string content;
    for (int i = 0; i < 64; ++i) content += std::string(16, static_cast<char>('A' + i % 26));
    Send(content, 0);
    ASSERT_EQ(m_reader->Load(Name().c_str(), nullptr), S_OK);
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 200; ++i) {
                const int block = (t * 7 + i * 3) % 64;
                EXPECT_EQ(ReadAt(block * 16, 16), content.substr(static_cast<std::size_t>(block) * 16, 16));
            }
        });
    }
    // The writer goes on behind what is read.
    for (int i = 0; i < 50; ++i) Send("more", 1024 + i * 4);
    for (std::thread& thread : threads) thread.join();
}

TEST_F(SharedFile, SourceLoadsNameAndTypeApart) {
    const CMediaType type = make_type(MEDIATYPE_Stream, MEDIASUBTYPE_QTMovie);
    EXPECT_EQ(m_reader->Load(nullptr, &type), S_OK);
    CMediaType offered;
    EXPECT_EQ(m_reader->GetPin(0)->GetMediaType(0, &offered), S_OK);
    EXPECT_EQ(offered, type);
    EXPECT_EQ(m_reader->GetPin(0)->GetMediaType(1, &offered), VFW_S_NO_MORE_ITEMS);
    EXPECT_EQ(m_reader->GetPin(0)->GetMediaType(-1, &offered), E_INVALIDARG);
    EXPECT_EQ(m_reader->GetPin(0)->GetMediaType(0, nullptr), E_POINTER);
    EXPECT_EQ(Reader()->SyncRead(0, 1, nullptr), kPathNotFound) << "there is no name yet";

    std::ofstream(m_path) << "old";
    const auto other = m_path.string() + ".2";
    std::ofstream(other) << "new";
    EXPECT_EQ(m_reader->Load(Name().c_str(), nullptr), S_OK);
    EXPECT_EQ(ReadAt(0, 3), "old");
    EXPECT_EQ(m_reader->Load(win32::ConvertFromUtf8(other).c_str(), nullptr), S_OK);
    EXPECT_EQ(ReadAt(0, 3), "new");
    m_reader->GetPin(0)->GetMediaType(0, &offered);
    EXPECT_EQ(offered, type) << "a load without a type keeps the one before";
    wchar_t* name = const_cast<wchar_t*>(L"x");
    EXPECT_EQ(m_reader->GetCurFile(&name, nullptr), S_OK);
    EXPECT_EQ(name, nullptr);
    std::filesystem::remove(other);
}

TEST_F(SharedFile, SourceKeepsItsFirstFailure) {
    const auto failures = ComPtr<IUnknown>(static_cast<IBaseFilter*>(m_reader.get())).query<IFailureInformation>();
    ASSERT_TRUE(failures);
    EXPECT_EQ(failures->GetFirstFailure(nullptr), E_POINTER);
    FilterFailure failure{E_FAIL, L"x", 1};
    const auto expect = [&](HRESULT result, const wchar_t* text, std::uint64_t position) {
        EXPECT_EQ(failures->GetFirstFailure(&failure), FAILED(result) ? S_OK : S_FALSE);
        EXPECT_EQ(failure.result, result);
        EXPECT_EQ(failure.text, text);
        EXPECT_EQ(failure.position, position);
    };
    expect(S_OK, L"", 0);
    EXPECT_EQ(m_reader->Load(Name().c_str(), nullptr), kFileNotFound);
    expect(kFileNotFound, L"cannot open the file", 0);

    std::ofstream(m_path) << "content";
    const CMediaType type = make_type(MEDIATYPE_Stream, GUID_NULL);
    EXPECT_EQ(m_reader->Load(nullptr, &type), S_OK);
    EXPECT_EQ(ReadAt(5, 4), "nt..");
    expect(kFileNotFound, L"cannot open the file", 0);
    EXPECT_EQ(m_reader->Load(Name().c_str(), nullptr), S_OK);
    EXPECT_EQ(ReadAt(5, 4), "nt..") << "a short read is no failure";
    EXPECT_EQ(Reader()->SyncRead(0, -1, nullptr), E_INVALIDARG) << "nor is a request that makes no sense";
    EXPECT_EQ(Reader()->SyncRead(-1, 1, nullptr), STG_E_INVALIDFUNCTION);
    expect(S_OK, L"", 0);
    // The system refuses to read into memory that is not there.
    const HRESULT refused = Reader()->SyncRead(3, 2, nullptr);
    EXPECT_TRUE(FAILED(refused));
    EXPECT_TRUE(FAILED(Reader()->SyncRead(4, 2, nullptr)));
    expect(refused, L"cannot read from the file", 3);
}

TEST_F(SharedFile, SourceConnectsAndStreamsNothing) {
    fake_sink demux(L"Input");
    ASSERT_EQ(m_reader->GetPin(0)->Connect(demux.pin, nullptr), S_OK);
    EXPECT_NE(demux->allocator(), nullptr) << "an allocator is agreed, and never used";
    EXPECT_EQ(m_reader->Run(0), S_OK);
    EXPECT_EQ(m_reader->Stop(), S_OK);
    m_reader->GetPin(0)->Disconnect();

    const auto reader = Reader();
    IMemAllocator* allocator = demux->allocator();
    EXPECT_EQ(reader->RequestAllocator(nullptr, nullptr, &allocator), S_OK);
    EXPECT_EQ(allocator, nullptr);
    EXPECT_EQ(reader->Request(nullptr, 0), E_NOTIMPL);
    EXPECT_EQ(reader->WaitForNext(0, nullptr, nullptr), E_NOTIMPL);
    EXPECT_EQ(reader->SyncReadAligned(nullptr), E_NOTIMPL);
    EXPECT_EQ(reader->BeginFlush(), S_OK);
    EXPECT_EQ(reader->EndFlush(), S_OK);
    const auto scaling = reader.query<IAMAsyncReaderTimestampScaling>();
    BOOL raw = FALSE;
    EXPECT_EQ(scaling->GetTimestampMode(&raw), S_OK);
    EXPECT_EQ(raw, TRUE);
    scaling->SetTimestampMode(FALSE);
    scaling->GetTimestampMode(&raw);
    EXPECT_EQ(raw, FALSE);
}

}  // namespace Norvane::MediaKit::Filters
