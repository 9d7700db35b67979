#include "Platform/DirectShow/CMediaSample.h"

#include "Platform/DirectShow/IMemAllocator.h"
#include "Testing/Kit/fake_filters.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <limits>
#include <utility>

namespace {

class Sample : public ::testing::Test {
protected:
    static constexpr DWORD kWhole = sizeof(AM_SAMPLE2_PROPERTIES);

    AM_SAMPLE2_PROPERTIES Properties() {
        AM_SAMPLE2_PROPERTIES props{};
        EXPECT_EQ(m_sample.GetProperties(kWhole, reinterpret_cast<BYTE*>(&props)), S_OK);
        return props;
    }
    HRESULT Set(const AM_SAMPLE2_PROPERTIES& props, DWORD size = kWhole) {
        return m_sample.SetProperties(size, reinterpret_cast<const BYTE*>(&props));
    }

    BYTE m_memory[32]{};
    CMediaSample m_sample{"sample", nullptr, nullptr, m_memory, sizeof m_memory};
};

}  // namespace

TEST_F(Sample, TimesAreBothOrStartOnlyOrNone) {
    REFERENCE_TIME start = 100;
    REFERENCE_TIME stop = 250;
    m_sample.SetTime(&start, &stop);
    REFERENCE_TIME s = 0;
    REFERENCE_TIME e = 0;
    EXPECT_EQ(m_sample.GetTime(&s, &e), S_OK);
    EXPECT_EQ(e, 250);
    m_sample.SetTime(&start, nullptr);
    EXPECT_EQ(m_sample.GetTime(&s, &e), VFW_S_NO_STOP_TIME);
    EXPECT_EQ(s, 100);
    EXPECT_EQ(e, 101);
    m_sample.SetTime(nullptr, nullptr);
    EXPECT_EQ(m_sample.GetTime(&s, &e), VFW_E_SAMPLE_TIME_NOT_SET);

    m_sample.SetMediaTime(&start, &stop);
    EXPECT_EQ(m_sample.GetMediaTime(&s, &e), S_OK);
    EXPECT_EQ(s, 100);
    EXPECT_EQ(e, 250);
}

TEST_F(Sample, MediaTimesMayLieAnywhere) {
    constexpr LONGLONG highest = std::numeric_limits<LONGLONG>::max();
    constexpr LONGLONG lowest = std::numeric_limits<LONGLONG>::min();
    for (auto [start, stop] :
         {std::pair{highest, lowest}, std::pair{lowest, lowest + 5}, std::pair{highest - 5, highest}}) {
        SCOPED_TRACE(start);
        LONGLONG s = 0;
        LONGLONG e = 0;
        m_sample.SetMediaTime(&start, &stop);
        EXPECT_EQ(m_sample.GetMediaTime(&s, &e), S_OK);
        EXPECT_EQ(s, start);
        EXPECT_EQ(e, stop);
    }
}

TEST_F(Sample, LengthStaysWithinTheBuffer) {
    EXPECT_EQ(m_sample.SetActualDataLength(33), VFW_E_BUFFER_OVERFLOW);
    EXPECT_EQ(m_sample.SetActualDataLength(31), S_OK);
    EXPECT_EQ(m_sample.GetActualDataLength(), 31);
    AM_SAMPLE2_PROPERTIES props = Properties();
    props.lActual = 33;
    EXPECT_EQ(Set(props), VFW_E_BUFFER_OVERFLOW);
}

TEST_F(Sample, PropertiesAndOperationsTellTheSame) {
    REFERENCE_TIME start = 7;
    REFERENCE_TIME stop = 9;
    m_sample.SetTime(&start, &stop);
    m_sample.SetMediaTime(&start, &stop);
    m_sample.SetSyncPoint(TRUE);
    CMediaType type = mediakit_test::make_type(MEDIATYPE_Video, MEDIASUBTYPE_H264);
    m_sample.SetMediaType(&type);
    AM_SAMPLE2_PROPERTIES props = Properties();
    EXPECT_EQ(props.cbData, kWhole);
    EXPECT_EQ(props.dwSampleFlags,
              AM_SAMPLE_TIMEVALID | AM_SAMPLE_STOPVALID | AM_SAMPLE_SPLICEPOINT | AM_SAMPLE_TYPECHANGED);
    EXPECT_EQ(props.tStop, 9);
    EXPECT_EQ(props.pbBuffer, m_memory);
    ASSERT_NE(props.pMediaType, nullptr);
    EXPECT_EQ(props.pMediaType->subtype, MEDIASUBTYPE_H264);

    // Given back with other times, its own type and no sync point.
    props.tStart = 1;
    props.dwSampleFlags &= ~AM_SAMPLE_SPLICEPOINT;
    ASSERT_EQ(Set(props), S_OK);
    REFERENCE_TIME s = 0;
    REFERENCE_TIME e = 0;
    EXPECT_EQ(m_sample.GetTime(&s, &e), S_OK);
    EXPECT_EQ(s, 1);
    EXPECT_EQ(m_sample.IsSyncPoint(), S_FALSE);
    EXPECT_EQ(m_sample.GetMediaTime(&s, &e), S_OK) << "a record knows no media time and takes none away";
    AM_MEDIA_TYPE* kept = nullptr;
    ASSERT_EQ(m_sample.GetMediaType(&kept), S_OK);
    EXPECT_EQ(kept->subtype, MEDIASUBTYPE_H264);
    DeleteMediaType(kept);
}

TEST_F(Sample, ShortRecordsSetWhatTheyHold) {
    AM_SAMPLE2_PROPERTIES props = Properties();
    props.dwSampleFlags = AM_SAMPLE_PREROLL;
    props.lActual = 3;
    ASSERT_EQ(Set(props, offsetof(AM_SAMPLE2_PROPERTIES, lActual)), S_OK);
    EXPECT_EQ(m_sample.IsPreroll(), S_OK);
    EXPECT_EQ(m_sample.GetActualDataLength(), 32);

    BYTE bytes[sizeof(AM_SAMPLE2_PROPERTIES)];
    std::memset(bytes, 0xEE, sizeof bytes);
    ASSERT_EQ(m_sample.GetProperties(16, bytes), S_OK);
    EXPECT_EQ(bytes[15], 0);
    EXPECT_EQ(bytes[16], 0xEE);
}

TEST_F(Sample, MemoryIsNotExchanged) {
    BYTE other[32]{};
    AM_SAMPLE2_PROPERTIES props = Properties();
    props.pbBuffer = other;
    EXPECT_EQ(Set(props), E_INVALIDARG);
    m_sample.SetPointer(other, 8);
    EXPECT_EQ(m_sample.GetSize(), 8);
    EXPECT_EQ(Properties().pbBuffer, other);
}
