#include "Logging/qz_log.h"

#include "Logging/Checks.h"
#include "Logging/LogSink.h"
#include "Platform/Kernel/Thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace qz_log {
namespace {

struct Report {
    int level;
    std::string path;
    int line;
    std::string thread;
    std::wstring message;
};

class LogTest : public testing::Test {
protected:
    void SetUp() override {
        set_sink([this](const record& r) {
            std::lock_guard lock(m_mutex);
            EXPECT_EQ(r.category, 0u);
            m_reports.push_back(
                {r.level, std::string(r.path), r.line, std::string(r.thread_name), std::wstring(r.message)});
        });
    }
    void TearDown() override {
        set_sink({});
        set_report_level(default_report_level);
    }

    std::wstring LastMessage() const { return m_reports.empty() ? L"" : m_reports.back().message; }

    std::mutex m_mutex;
    std::vector<Report> m_reports;
    int m_evaluations = 0;
};

struct Checks {
    int& evaluations;

    HRESULT Count(HRESULT hr) const {
        ++evaluations;
        return hr;
    }
    HRESULT CheckResult(HRESULT hr) const {
        QZCheckHRESULT(Count(hr));
        return S_FALSE;
    }
    HRESULT LogResult(HRESULT hr) const {
        QZLogHRESULT(Count(hr));
        return S_FALSE;
    }
    HRESULT CheckCondition(const void* pMediaType, int iPosition) const {
        QZCheckCondition(pMediaType != 0, E_POINTER);
        QZCheckCondition(iPosition >= 0 && Count(0) == 0, Count(E_INVALIDARG));
        return S_FALSE;
    }
    HRESULT CheckLastError(bool good) const {
        SetLastError(ERROR_DISK_FULL);
        CheckLastErrorCondition(good);
        return S_FALSE;
    }
};

TEST_F(LogTest, CheckFormsReportOnceAndReturnWhatTheyShould) {
    const Checks checks{m_evaluations};
    EXPECT_EQ(checks.CheckResult(E_FAIL), E_FAIL);
    EXPECT_EQ(m_evaluations, 1);
    ASSERT_EQ(m_reports.size(), 1u);
    EXPECT_EQ(m_reports[0].level, 1);
    EXPECT_EQ(m_reports[0].path, "Logging/qz_log_test.cpp");
    EXPECT_GT(m_reports[0].line, 0);
    EXPECT_EQ(LastMessage(), L"QZCheckHRESULT: 0x80004005");

    EXPECT_EQ(checks.LogResult(make_result(0x80040227)), S_FALSE);
    EXPECT_EQ(m_evaluations, 2);
    EXPECT_EQ(LastMessage(), L"QZLogHRESULT: 0x80040227");

    int type = 0;
    EXPECT_EQ(checks.CheckCondition(nullptr, 0), E_POINTER);
    EXPECT_EQ(LastMessage(), L"QZCheckCondition: pMediaType != 0");
    EXPECT_EQ(checks.CheckCondition(&type, -1), E_INVALIDARG);
    EXPECT_EQ(LastMessage(), L"QZCheckCondition: iPosition >= 0 && Count(0) == 0");
    EXPECT_EQ(m_evaluations, 3) << "the code, and nothing else";

    EXPECT_EQ(checks.CheckLastError(false), make_result(0x80070070));
    EXPECT_EQ(LastMessage(), L"CheckLastErrorCondition: good (system error 112)");
    EXPECT_EQ(m_reports.size(), 5u);

    EXPECT_EQ(checks.CheckResult(S_FALSE), S_FALSE);
    EXPECT_EQ(checks.LogResult(S_OK), S_FALSE);
    EXPECT_EQ(checks.CheckCondition(&type, 0), S_FALSE);
    EXPECT_EQ(checks.CheckLastError(true), S_FALSE);
    EXPECT_EQ(m_reports.size(), 5u) << "what holds is not reported";
}

TEST_F(LogTest, AQuietLogChangesNoResult) {
    set_report_level(0);
    const Checks checks{m_evaluations};
    EXPECT_EQ(checks.CheckResult(E_FAIL), E_FAIL);
    EXPECT_EQ(checks.LogResult(E_FAIL), S_FALSE);
    EXPECT_EQ(checks.CheckCondition(nullptr, 0), E_POINTER);
    EXPECT_EQ(checks.CheckLastError(false), make_result(0x80070070));
    EXPECT_TRUE(m_reports.empty());
}

TEST_F(LogTest, MessagesAreBuiltOnlyForTheLevelsWanted) {
    set_report_level(3);
    const auto argument = [this] { return ++m_evaluations; };
    QZReport(5, L"Trace %d", argument());
    EXPECT_EQ(m_evaluations, 0);
    EXPECT_FALSE(_reportW0(0, 5, "a.cpp", 1, L"below"));
    QZReport(3, L"Ignored track %s, %S %d", L"Video", "second", argument());
    EXPECT_EQ(LastMessage(), L"Ignored track Video, second 1");
    QZReport(2, L"100% plain");
    EXPECT_EQ(LastMessage(), L"100% plain") << "a text alone is no format";
    EXPECT_EQ(m_reports.size(), 2u);
    EXPECT_EQ(get_report_level(0), 3);
}

TEST_F(LogTest, ReportsCarryTheNameOfTheirThreadUntilItIsReset) {
    const auto report = [] { _reportW0(0, 1, "a.cpp", 7, L"m"); };
    std::thread([&] {
        set_thread_name(GetCurrentThreadId(), "Demux-Video 0");
        report();
        set_thread_name(GetCurrentThreadId(), "renamed");
        report();
        reset_thread_name(GetCurrentThreadId());
        report();
    }).join();
    report();
    ASSERT_EQ(m_reports.size(), 4u);
    EXPECT_EQ(m_reports[0].thread, "Demux-Video 0");
    EXPECT_EQ(m_reports[1].thread, "renamed");
    EXPECT_EQ(m_reports[2].thread, "");
    EXPECT_EQ(m_reports[3].thread, "");
    EXPECT_EQ(m_reports[0].line, 7);
}

TEST_F(LogTest, ASinkMayThrowReportAndBeReplaced) {
    set_sink([](const record&) { throw std::runtime_error("full"); });
    EXPECT_FALSE(_reportW(0, 1, "a.cpp", 1, L"%d", 1));
    int depth = 0;
    set_sink([&](const record&) {
        if (++depth < 3) _reportW0(0, 1, "a.cpp", 1, L"again");
        set_sink({});
        set_report_level(0);
    });
    EXPECT_TRUE(_reportW0(0, 1, "a.cpp", 1, L"first"));
    EXPECT_EQ(depth, 3);
}

TEST_F(LogTest, TheDefaultSinkWritesOneLineWhateverTheTextHolds) {
    set_sink({});
    testing::internal::CaptureStderr();
    set_thread_name(GetCurrentThreadId(), "main");
    _reportW(0, 2, "VideoIO/x.cpp", 12, L"Odd name %s", L"a\nerror [main] b\xE4");
    reset_thread_name(GetCurrentThreadId());
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "warning [main] VideoIO/x.cpp:12: Odd name a error [main] b\xC3\xA4\n");
}

TEST_F(LogTest, ThreadsReportNameAndReplaceSinksAtOnce) {
    std::vector<std::jthread> threads;
    std::atomic<int> seen{0};
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&seen, t] {
            for (int i = 0; i < 500; ++i) {
                set_thread_name(GetCurrentThreadId(), "worker");
                if (t == 0) set_sink([&seen](const record&) { ++seen; });
                if (t == 1) set_report_level(1 + i % 3);
                _reportW(0, 1, "a.cpp", i, L"%d", i);
                reset_thread_name(GetCurrentThreadId());
            }
        });
    }
    threads.clear();
    EXPECT_EQ(static_cast<std::size_t>(seen) + m_reports.size(), 2000u);
}

}  // namespace
}  // namespace qz_log
