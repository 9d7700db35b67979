#include "VideoIO/FilterUtil/MediaTypes/MediaTypeNames.h"

#include "Platform/DirectShow/IAMFilterMiscFlags.h"
#include "Platform/DirectShow/IBaseFilter.h"
#include "Platform/DirectShow/IFileSinkFilter.h"
#include "Platform/DirectShow/IFileSinkFilter2.h"
#include "Platform/DirectShow/IFileSourceFilter.h"
#include "Platform/DirectShow/IMediaFilter.h"
#include "Platform/DirectShow/IMediaPosition.h"
#include "Platform/DirectShow/IMediaSeeking.h"
#include "Platform/DirectShow/IMemInputPin.h"
#include "Platform/DirectShow/IPersist.h"
#include "Platform/DirectShow/IPersistStream.h"
#include "Platform/DirectShow/IPin.h"
#include "Platform/DirectShow/IQualityControl.h"
#include "Platform/DirectShow/IReferenceClock.h"
#include "Platform/DirectShow/Uuids.h"
#include "Platform/DirectShow/WaveFormatTags.h"

#include <cwchar>
#include <iterator>

namespace qz_DSFilters {

namespace {

struct NamedGuid {
    GUID guid;
    const wchar_t* name;
};

struct NamedTag {
    WORD tag;
    const wchar_t* name;
};

#define QZ_NAMED(guid) \
    { guid, L"" #guid }

constexpr NamedGuid Interfaces[] = {
    QZ_NAMED(IID_IUnknown),          QZ_NAMED(IID_IBaseFilter),           QZ_NAMED(IID_IReferenceClock),
    QZ_NAMED(IID_IMediaFilter),      QZ_NAMED(IID_IFileSinkFilter),       QZ_NAMED(IID_IFileSinkFilter2),
    QZ_NAMED(IID_IMediaSeeking),     QZ_NAMED(IID_IMediaPosition),        QZ_NAMED(IID_IAMFilterMiscFlags),
    QZ_NAMED(IID_IBasicVideo),       QZ_NAMED(IID_IBasicAudio),           QZ_NAMED(IID_IVideoWindow),
    QZ_NAMED(IID_IPersist),          QZ_NAMED(IID_IPersistStream),        QZ_NAMED(IID_IPersistPropertyBag),
    QZ_NAMED(IID_IFileSourceFilter), QZ_NAMED(IID_IAMOpenProgress),       QZ_NAMED(IID_IAMDeviceRemoval),
    QZ_NAMED(IID_IKsPropertySet),    QZ_NAMED(IID_ISpecifyPropertyPages), QZ_NAMED(IID_IPin),
    QZ_NAMED(IID_IMemInputPin),      QZ_NAMED(IID_IQualityControl),
};

constexpr NamedGuid MajorTypes[] = {
    QZ_NAMED(MEDIATYPE_Stream),      QZ_NAMED(MEDIATYPE_AnalogVideo),
    QZ_NAMED(MEDIATYPE_VBI),         QZ_NAMED(MEDIATYPE_DVD_ENCRYPTED_PACK),
    QZ_NAMED(MEDIATYPE_Interleaved),
};

constexpr NamedGuid Subtypes[] = {
    QZ_NAMED(MEDIASUBTYPE_Avi),
    QZ_NAMED(MEDIASUBTYPE_ASF),
    QZ_NAMED(MEDIASUBTYPE_ARGB32),
    QZ_NAMED(MEDIASUBTYPE_RGB32),
    QZ_NAMED(MEDIASUBTYPE_RGB24),
    QZ_NAMED(MEDIASUBTYPE_RGB555),
    QZ_NAMED(MEDIASUBTYPE_RGB565),
    QZ_NAMED(MEDIASUBTYPE_RGB8),
    QZ_NAMED(MEDIASUBTYPE_RGB4),
    QZ_NAMED(MEDIASUBTYPE_RGB1),
    QZ_NAMED(MEDIASUBTYPE_YUY2),
    QZ_NAMED(MEDIASUBTYPE_YVYU),
    QZ_NAMED(MEDIASUBTYPE_UYVY),
    QZ_NAMED(MEDIASUBTYPE_IYUV),
    QZ_NAMED(MEDIASUBTYPE_I420),
    QZ_NAMED(MEDIASUBTYPE_NV12),
    QZ_NAMED(MEDIASUBTYPE_YV12),
    QZ_NAMED(MEDIASUBTYPE_Y411),
    QZ_NAMED(MEDIASUBTYPE_Y211),
    QZ_NAMED(MEDIASUBTYPE_YVU9),
    QZ_NAMED(MEDIASUBTYPE_IF09),
    QZ_NAMED(MEDIASUBTYPE_CLJR),
    QZ_NAMED(MEDIASUBTYPE_CPLA),
    QZ_NAMED(MEDIASUBTYPE_BYRG),
    QZ_NAMED(MEDIASUBTYPE_BYGB),
    QZ_NAMED(MEDIASUBTYPE_BYGR),
    QZ_NAMED(MEDIASUBTYPE_BYBG),
    QZ_NAMED(MEDIASUBTYPE_Y800),
    QZ_NAMED(MEDIASUBTYPE_MJPG),
    QZ_NAMED(MEDIASUBTYPE_dvsd),
    QZ_NAMED(MEDIASUBTYPE_dvsl),
    QZ_NAMED(MEDIASUBTYPE_dvhd),
    QZ_NAMED(MEDIASUBTYPE_DVSD),
    QZ_NAMED(MEDIASUBTYPE_divx),
    QZ_NAMED(MEDIASUBTYPE_DIVX),
    QZ_NAMED(MEDIASUBTYPE_DIV3),
    QZ_NAMED(MEDIASUBTYPE_DIV4),
    QZ_NAMED(MEDIASUBTYPE_DIV5),
    QZ_NAMED(MEDIASUBTYPE_XVID),
    QZ_NAMED(MEDIASUBTYPE_DX50),
    QZ_NAMED(MEDIASUBTYPE_MP4V),
    QZ_NAMED(MEDIASUBTYPE_MPG4),
    QZ_NAMED(MEDIASUBTYPE_MPEG1System),
    QZ_NAMED(MEDIASUBTYPE_MPEG1Payload),
    QZ_NAMED(MEDIASUBTYPE_MPEG1AudioPayload),
    QZ_NAMED(MEDIASUBTYPE_MPEG2_PROGRAM),
    QZ_NAMED(MEDIASUBTYPE_MPEG2_VIDEO),
    QZ_NAMED(MEDIASUBTYPE_MPEG2_AUDIO),
    QZ_NAMED(MEDIASUBTYPE_MPEG1Video),
    QZ_NAMED(MEDIASUBTYPE_MPEG1VideoCD),
    QZ_NAMED(MEDIASUBTYPE_MPEG2_TRANSPORT_STRIDE),
    QZ_NAMED(MEDIASUBTYPE_MPEG2_TRANSPORT),
    QZ_NAMED(MEDIASUBTYPE_PCM),
    QZ_NAMED(MEDIASUBTYPE_MP3),
    QZ_NAMED(MEDIASUBTYPE_H264),
    QZ_NAMED(MEDIASUBTYPE_H265),
    QZ_NAMED(MEDIASUBTYPE_h265),
    QZ_NAMED(MEDIASUBTYPE_HVC1),
    QZ_NAMED(MEDIASUBTYPE_AVC1),
    QZ_NAMED(MEDIASUBTYPE_X264),
    QZ_NAMED(MEDIASUBTYPE_x264),
    QZ_NAMED(MEDIASUBTYPE_QTMovie),
    QZ_NAMED(MEDIASUBTYPE_DVD_LPCM_AUDIO),
    QZ_NAMED(MEDIASUBTYPE_AVI_AC3),
    QZ_NAMED(MEDIASUBTYPE_RAW_AAC1),
    QZ_NAMED(MEDIASUBTYPE_MPEG_ADTS_AAC),
    QZ_NAMED(MEDIASUBTYPE_MPEG_RAW_AAC),
    QZ_NAMED(MEDIASUBTYPE_AAC_MPEG2),
    QZ_NAMED(MEDIASUBTYPE_AAC_MPEG4),
    QZ_NAMED(MEDIASUBTYPE_MP4A),
    QZ_NAMED(MEDIASUBTYPE_AAC_SONY),
    QZ_NAMED(MEDIASUBTYPE_MPEG_HEAAC),
    QZ_NAMED(MEDIASUBTYPE_MP42),
    QZ_NAMED(MEDIASUBTYPE_MP43),
    QZ_NAMED(MEDIASUBTYPE_MP4S),
    QZ_NAMED(MEDIASUBTYPE_M4S2),
    QZ_NAMED(MEDIASUBTYPE_None),
};

constexpr NamedGuid FormatTypes[] = {
    QZ_NAMED(FORMAT_VideoInfo),    QZ_NAMED(FORMAT_VideoInfo2),  QZ_NAMED(FORMAT_DvInfo),
    QZ_NAMED(FORMAT_MPEGVideo),    QZ_NAMED(FORMAT_MPEG2_VIDEO), QZ_NAMED(FORMAT_AnalogVideo),
    QZ_NAMED(FORMAT_WaveFormatEx), QZ_NAMED(FORMAT_None),
};

#undef QZ_NAMED

#define QZ_NAMED_TAG(name, value) {name, L"" #name},
constexpr NamedTag WaveFormatTags[] = {QZ_WAVE_FORMAT_TAGS(QZ_NAMED_TAG)};
#undef QZ_NAMED_TAG

// By bit of dwChannelMask.
constexpr const wchar_t* Channels[] = {
    L"Front Left",    L"Front Right",          L"Front Center",          L"Low Frequency",    L"Back Left",
    L"Back Right",    L"Front Left Of Center", L"Front Right Of Center", L"Back Center",      L"Side Left",
    L"Side Right",    L"Top Center",           L"Top Front Left",        L"Top Front Center", L"Top Front Right",
    L"Top Back Left", L"Top Back Center",      L"Top Back Right",
};

template <std::size_t Count>
std::wstring NameOf(const NamedGuid (&table)[Count], const GUID& guid) {
    for (const NamedGuid& row : table)
        if (row.guid == guid) return row.name;
    return StringFromGUID(guid);
}

/// In ASCII, whatever the locale.
bool IsAlphanumeric(char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

}  // namespace

std::wstring GetInterfaceName(REFIID iid) { return NameOf(Interfaces, iid); }

std::wstring GetMajorTypeName(const GUID& majortype) { return NameOf(MajorTypes, majortype); }

std::wstring GetSubtypeName(const GUID& subtype) { return NameOf(Subtypes, subtype); }

std::wstring GetFormatTypeName(const GUID& formattype) { return NameOf(FormatTypes, formattype); }

std::wstring GetWaveFormatTagName(WORD formatTag) {
    for (const NamedTag& row : WaveFormatTags)
        if (row.tag == formatTag) return row.name;
    return std::to_wstring(formatTag);
}

std::wstring GetChannelNames(DWORD channelMask) {
    std::wstring names;
    for (std::size_t bit = 0; bit < std::size(Channels); ++bit) {
        if ((channelMask >> bit & 1) == 0) continue;
        if (!names.empty()) names += L", ";
        names += Channels[bit];
    }
    return names;
}

std::wstring GetFourCCName(DWORD code) {
    std::wstring text;
    for (int shift = 0; shift < 32; shift += 8) {
        const char c = static_cast<char>(code >> shift & 0xFF);
        if (!IsAlphanumeric(c)) {
            wchar_t hex[16];
            std::swprintf(hex, std::size(hex), L"0x%08X", code);
            return hex;
        }
        text += static_cast<wchar_t>(c);
    }
    return text;
}

}  // namespace qz_DSFilters
