#include "Platform/DirectShow/MediaType.h"

#include "Platform/DirectShow/WaveFormatTags.h"
#include "Platform/Kernel/Memory.h"
#include "Testing/Kit/fake_filters.h"

#include <gtest/gtest.h>

#include <cstring>
#include <utility>

namespace {

using mediakit_test::make_type;

CMediaType TypeWithFormat(const char* format) {
    CMediaType type = make_type(MEDIATYPE_Audio, MEDIASUBTYPE_PCM, FORMAT_WaveFormatEx);
    EXPECT_TRUE(type.SetFormat(reinterpret_cast<const BYTE*>(format), static_cast<ULONG>(std::strlen(format))));
    return type;
}

std::string FormatOf(const AM_MEDIA_TYPE& type) {
    return type.pbFormat ? std::string(reinterpret_cast<const char*>(type.pbFormat), type.cbFormat) : std::string();
}

/// Counts who holds it.
class Counted : public CUnknown, public IUnknown {
public:
    DECLARE_IUNKNOWN
    LONG count() const { return m_cRef; }
};

}  // namespace

TEST(MediaType, CopiesOwnTheirFormat) {
    CMediaType original = TypeWithFormat("abcd");
    CMediaType copy(original);
    EXPECT_EQ(copy, original);
    ASSERT_NE(copy.Format(), original.Format());
    copy.Format()[0] = 'x';
    EXPECT_EQ(FormatOf(original), "abcd");
    EXPECT_NE(copy, original);

    const CMediaType& itself = copy;
    copy = itself;
    EXPECT_EQ(FormatOf(copy), "xbcd");
    const CMediaType moved(std::move(copy));
    EXPECT_EQ(FormatOf(moved), "xbcd");
    EXPECT_EQ(FormatOf(copy), "");
    EXPECT_FALSE(copy.IsValid());

    AM_MEDIA_TYPE* const crossing = CreateMediaType(&original);
    original.ResetFormatBuffer();
    EXPECT_EQ(FormatOf(*crossing), "abcd");
    DeleteMediaType(crossing);
    DeleteMediaType(nullptr);
}

TEST(MediaType, CountsItsObject) {
    Counted object;
    object.AddRef();
    {
        CMediaType type = TypeWithFormat("a");
        type.pUnk = &object;
        object.AddRef();
        const CMediaType copy(type);
        EXPECT_EQ(object.count(), 3);
        type = make_type(MEDIATYPE_Video, MEDIASUBTYPE_H264);
        EXPECT_EQ(object.count(), 2);
    }
    EXPECT_EQ(object.count(), 1);
}

TEST(MediaType, GrowsAndShrinksItsFormat) {
    CMediaType type = TypeWithFormat("abcd");
    ASSERT_NE(type.ReallocFormatBuffer(6), nullptr);
    EXPECT_EQ(FormatOf(type).substr(0, 4), "abcd");
    ASSERT_NE(type.ReallocFormatBuffer(2), nullptr);
    EXPECT_EQ(FormatOf(type), "ab");
    // From inside its own block.
    ASSERT_TRUE(type.SetFormat(type.Format() + 1, 1));
    EXPECT_EQ(FormatOf(type), "b");
    ASSERT_TRUE(type.SetFormat(nullptr, 0));
    EXPECT_EQ(type.FormatLength(), 0u);
}

TEST(MediaType, ComparesAndMatches) {
    const CMediaType whole = TypeWithFormat("abcd");
    EXPECT_FALSE(whole.IsPartiallySpecified());
    EXPECT_NE(whole, TypeWithFormat("abce"));
    EXPECT_NE(whole, TypeWithFormat("abc"));

    CMediaType partial;
    EXPECT_TRUE(partial.IsPartiallySpecified());
    EXPECT_TRUE(whole.MatchesPartial(&partial));
    partial.SetType(&MEDIATYPE_Audio);
    EXPECT_TRUE(whole.MatchesPartial(&partial));
    partial.SetSubtype(&MEDIASUBTYPE_H264);
    EXPECT_FALSE(whole.MatchesPartial(&partial));
    partial.SetSubtype(&MEDIASUBTYPE_PCM);
    partial.SetFormatType(&FORMAT_WaveFormatEx);
    EXPECT_FALSE(whole.MatchesPartial(&partial)) << "a format type without its block is another format";
    partial = TypeWithFormat("abcd");
    EXPECT_TRUE(whole.MatchesPartial(&partial));
    partial.SetType(&MEDIATYPE_Video);
    EXPECT_FALSE(whole.MatchesPartial(&partial));
}

TEST(MediaType, SampleSizeIsThatOfFixedSamples) {
    CMediaType type;
    EXPECT_EQ(type.GetSampleSize(), 1u);
    type.SetSampleSize(0);
    EXPECT_FALSE(type.IsFixedSize());
    EXPECT_EQ(type.GetSampleSize(), 0u);
    type.SetSampleSize(7);
    EXPECT_EQ(type.GetSampleSize(), 7u);
}

TEST(MediaType, IdentifiersHoldTheirCodes) {
    EXPECT_EQ(subtype_of(WAVE_FORMAT_MPEG_ADTS_AAC), MEDIASUBTYPE_MPEG_ADTS_AAC);
    EXPECT_EQ(subtype_of(0x34363248), MEDIASUBTYPE_H264);
    EXPECT_EQ(subtype_of(0x31435641), MEDIASUBTYPE_AVC1);
    EXPECT_EQ(std::memcmp(&QZ_MEDIASUBTYPE_HDYC, "HDYC", 4), 0);
    EXPECT_EQ(std::memcmp(&QZ_MEDIASUBTYPE_SAMR, "samr", 4), 0);
}
