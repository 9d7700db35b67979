#include "VideoIO/FilterUtil/MediaTypes/MediaTypeDump.h"

#include "VideoIO/FilterUtil/MediaTypes/MediaTypeTestData_test.h"

#include <gtest/gtest.h>

namespace qz_DSFilters {
namespace {

using namespace test;

/// Lines as they are shown here end in a line feed alone.
std::wstring WithReturns(std::wstring_view text) {
    std::wstring result;
    for (const wchar_t c : text) {
        if (c == L'\n') result += L'\r';
        result += c;
    }
    return result;
}

TEST(DumpMediaType, ShowsMPEG2VideoNested) {
    CMediaType type = MPEG2Type();
    type.subtype = MEDIASUBTYPE_AVC1;
    type.bTemporalCompression = TRUE;
    EXPECT_EQ(DumpMediaType(type), WithReturns(LR"(AM_MEDIA_TYPE
         majortype: {73646976-0000-0010-8000-00AA00389B71}
           subtype: MEDIASUBTYPE_AVC1
 bFixedSizeSamples: 1
bTemporalCompress.: 1
       lSampleSize: 1
        formattype: FORMAT_MPEG2_VIDEO
          cbFormat: 132
MPEG2VIDEOINFO (
    VIDEOINFOHEADER2 (
                  rcSource: 10, 20, 650, 500
                  rcTarget: 1, 2, 3, 4
                 dwBitRate: 8000000
            dwBitErrorRate: 5
           AvgTimePerFrame: 00:00:00.033_3667
        BITMAPINFOHEADER (
                        biSize: 40
                       biWidth: 720
                      biHeight: -480
                      biPlanes: 1
                    biBitCount: 12
                 biCompression: YV12
                   biSizeImage: 518400
               biXPelsPerMeter: 11
               biYPelsPerMeter: 12
                     biClrUsed: 13
                biClrImportant: 14
        )
          dwInterlaceFlags: INTERLACED TFF
        dwCopyProtectFlags: 6
        dwPictAspectRatioX: 16
        dwPictAspectRatioY: 9
            dwControlFlags: 7
               dwReserved2: 8
    )
       dwStartTimeCode: 31
      cbSequenceHeader: 0
       bSequenceHeader: [Not shown]
             dwProfile: 100
               dwLevel: 41
               dwFlags: 4
)
)"));
}

TEST(DumpMediaType, ShowsMPEG1VideoBehindAnIndent) {
    CMediaType type = MPEG1Type();
    type.majortype = MEDIATYPE_Stream;
    EXPECT_EQ(DumpMediaType(type, L"> "), WithReturns(LR"(> AM_MEDIA_TYPE
>          majortype: MEDIATYPE_Stream
>            subtype: {00000000-0000-0000-0000-000000000000}
>  bFixedSizeSamples: 1
> bTemporalCompress.: 0
>        lSampleSize: 1
>         formattype: FORMAT_MPEGVideo
>           cbFormat: 96
> MPEG1VIDEOINFO (
>     VIDEOINFOHEADER (
>                   rcSource: 10, 20, 650, 500
>                   rcTarget: 1, 2, 3, 4
>                  dwBitRate: 8000000
>             dwBitErrorRate: 5
>            AvgTimePerFrame: 00:00:00.033_3667
>         BITMAPINFOHEADER (
>                         biSize: 40
>                        biWidth: 720
>                       biHeight: -480
>                       biPlanes: 1
>                     biBitCount: 12
>                  biCompression: YV12
>                    biSizeImage: 518400
>                biXPelsPerMeter: 11
>                biYPelsPerMeter: 12
>                      biClrUsed: 13
>                 biClrImportant: 14
>         )
>     )
>        dwStartTimeCode: 21
>       cbSequenceHeader: 0
>        bSequenceHeader: [Not shown]
> )
)"));
}

TEST(DumpMediaType, ShowsExtensibleAudio) {
    WAVEFORMATEXTENSIBLE wave{};
    wave.Format = {0xFFFE, 6, 48000, 576000, 12, 16, 22};
    wave.Samples.wValidBitsPerSample = 16;
    wave.dwChannelMask = 0x3F;
    wave.SubFormat = MEDIASUBTYPE_PCM;
    CMediaType type = TypeOf(FORMAT_WaveFormatEx, wave);
    type.subtype = MEDIASUBTYPE_PCM;
    EXPECT_EQ(DumpMediaType(type), WithReturns(LR"(AM_MEDIA_TYPE
         majortype: {73646976-0000-0010-8000-00AA00389B71}
           subtype: MEDIASUBTYPE_PCM
 bFixedSizeSamples: 1
bTemporalCompress.: 0
       lSampleSize: 1
        formattype: FORMAT_WaveFormatEx
          cbFormat: 40
WAVEFORMATEX (
            wFormatTag: WAVE_FORMAT_EXTENSIBLE
             nChannels: 6
        nSamplesPerSec: 48000
       nAvgBytesPerSec: 576000
           nBlockAlign: 12
        wBitsPerSample: 16
                cbSize: 22
    WAVEFORMATEXTENSIBLE (
          wSamplesPerBlock: 16
          wValidBitsPerSa.: 16
                 wReserved: 16
             dwChannelMask: Front Left, Front Right, Front Center, Low Frequency, Back Left, Back Right
                 SubFormat: MEDIASUBTYPE_PCM
    )
)
)"));
}

/// The dump behind the common part.
std::wstring BlockText(const CMediaType& type) {
    const std::wstring text = DumpMediaType(type);
    const std::size_t start = text.find(L"cbFormat:");
    return text.substr(text.find(L"\r\n", start) + 2);
}

TEST(DumpMediaType, ShowsMPEGAudio) {
    MPEG1WAVEFORMAT wave{};
    wave.wfx = {0x50, 2, 48000, 16000, 1, 0, 22};
    wave.fwHeadLayer = 1;
    wave.dwHeadBitrate = 2;
    wave.fwHeadMode = 3;
    wave.fwHeadModeExt = 4;
    wave.wHeadEmphasis = 5;
    wave.fwHeadFlags = 6;
    wave.dwPTSLow = 7;
    wave.dwPTSHigh = 8;
    EXPECT_EQ(BlockText(TypeOf(FORMAT_WaveFormatEx, wave)), WithReturns(LR"(WAVEFORMATEX (
            wFormatTag: WAVE_FORMAT_MPEG
             nChannels: 2
        nSamplesPerSec: 48000
       nAvgBytesPerSec: 16000
           nBlockAlign: 1
        wBitsPerSample: 0
                cbSize: 22
    MPEG1WAVEFORMAT (
               fwHeadLayer: 1
             dwHeadBitrate: 2
                fwHeadMode: 3
             fwHeadModeExt: 4
             wHeadEmphasis: 5
               fwHeadFlags: 6
                  dwPTSLow: 7
                 dwPTSHigh: 8
    )
)
)"));
}

TEST(DumpMediaType, ShowsAnalogVideo) {
    EXPECT_EQ(BlockText(AnalogType()), WithReturns(LR"(ANALOGVIDEOINFO (
              rcSource: 1, 2, 3, 4
              rcTarget: 5, 6, 7, 8
         dwActiveWidth: 720
        dwActiveHeight: 576
)
)"));
}

TEST(DumpMediaType, TellsHowFieldsLie) {
    const struct {
        DWORD flags;
        const wchar_t* line;
    } rows[] = {{0, L"  dwInterlaceFlags: PROGRESSIVE\r\n"},
                {4, L"  dwInterlaceFlags: PROGRESSIVE\r\n"},
                {1, L"  dwInterlaceFlags: INTERLACE BFF\r\n"},
                {5, L"  dwInterlaceFlags: INTERLACED TFF\r\n"}};
    for (const auto& row : rows) {
        auto header = FilledHeader2();
        header.dwInterlaceFlags = row.flags;
        EXPECT_NE(DumpMediaType(TypeOf(FORMAT_VideoInfo2, header)).find(row.line), std::wstring::npos) << row.flags;
    }
}

TEST(DumpMediaType, WarnsOfBlocksItCannotTell) {
    const std::wstring warning = L"Warning: Unknown Format Type\r\n";
    EXPECT_EQ(BlockText(UnknownFormatType()), warning);
    EXPECT_EQ(BlockText(DVType(0, 0)), warning);
    EXPECT_EQ(BlockText(CMediaType()), warning);
    for (const CMediaType& type :
         {VideoInfoType(), VideoInfo2Type(), MPEG1Type(), MPEG2Type(), AnalogType(), WaveType(1)}) {
        EXPECT_EQ(BlockText(Shortened(type)), warning) << type.cbFormat;
        EXPECT_EQ(BlockText(WithoutBlock(type)), warning) << type.cbFormat;
    }
    // a tag that promises more than the block has
    for (const WORD tag : {WORD{0x50}, WORD{0xFFFE}}) {
        const std::wstring text = BlockText(WaveType(tag));
        EXPECT_TRUE(text.starts_with(L"WAVEFORMATEX (\r\n"));
        EXPECT_EQ(text.find(L"EXTENSIBLE ("), std::wstring::npos);
        EXPECT_EQ(text.find(L"MPEG1WAVEFORMAT ("), std::wstring::npos);
    }
}

}  // namespace
}  // namespace qz_DSFilters
